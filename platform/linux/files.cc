#include "platform/linux/files.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {

namespace {

std::string Reason(std::string const& what, std::string const& path, int error) {
    return what + " " + path + ": " + std::strerror(error);
}

FileKind KindOf(mode_t mode) {
    if (S_ISREG(mode)) {
        return FileKind::Regular;
    }
    if (S_ISDIR(mode)) {
        return FileKind::Directory;
    }
    return FileKind::Other;
}

struct DirCloser {
    void operator()(DIR* dir) const { closedir(dir); }
};
using AutoDIR = std::unique_ptr<DIR, DirCloser>;

bool IsDotOrDotDot(char const* name) {
    return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
}

} // namespace

StatFailed::StatFailed(std::string const& path, int error)
    : ExceptionPL(Reason("cannot get the status of", path, error)), errno_(error) {}

OpenDirFailed::OpenDirFailed(std::string const& path, int error)
    : ExceptionPL(Reason("cannot list the folder", path, error)), errno_(error) {}

std::optional<FileStatus> StatPath(std::string const& path) {
    struct stat info {};
    if (stat(path.c_str(), &info) != 0) {
        int error = errno;
        if (error == ENOENT || error == ENOTDIR) {
            return std::nullopt;
        }
        throw StatFailed(path, error);
    }
    return FileStatus{KindOf(info.st_mode), static_cast<std::int64_t>(info.st_size),
                      static_cast<std::int64_t>(info.st_mtim.tv_sec) * 1000000 +
                          info.st_mtim.tv_nsec / 1000};
}

std::vector<std::string> FolderEntries(std::string const& path) {
    AutoDIR dir(opendir(path.c_str()));
    if (!dir) {
        throw OpenDirFailed(path, errno);
    }
    std::vector<std::string> names;
    for (;;) {
        errno = 0;
        dirent const* entry = readdir(dir.get());
        if (!entry) {
            if (errno != 0) {
                throw OpenDirFailed(path, errno);
            }
            break;
        }
        if (!IsDotOrDotDot(entry->d_name)) {
            names.emplace_back(entry->d_name);
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string CurrentFolder() {
    std::unique_ptr<char, decltype(&std::free)> path(getcwd(nullptr, 0), &std::free);
    if (!path) {
        throw StatFailed(".", errno);
    }
    return path.get();
}

} // namespace platform
