#include "platform/linux/files.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/linux/descriptor.h"

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

EntryType TypeOf(unsigned char type) {
    switch (type) {
    case DT_DIR:
        return EntryType::Folder;
    case DT_REG:
        return EntryType::Regular;
    case DT_LNK:
        return EntryType::Link;
    case DT_UNKNOWN:
        return EntryType::Unknown;
    default:
        return EntryType::Other;
    }
}

FileStatus StatusOf(struct stat const& info) {
    return FileStatus{KindOf(info.st_mode), static_cast<std::int64_t>(info.st_size),
                      static_cast<std::int64_t>(info.st_mtim.tv_sec) * 1000000 +
                          info.st_mtim.tv_nsec / 1000,
                      (info.st_mode & (S_IXUSR | S_IXGRP | S_IXOTH)) != 0};
}

bool IsDotOrDotDot(char const* name) {
    return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
}

// Every entry of an open, readable folder from its current position on.
std::vector<FolderEntry> ReadListing(int listing) {
    std::vector<FolderEntry> entries;
    alignas(dirent64) char buffer[16384];
    for (;;) {
        ssize_t const got = getdents64(listing, buffer, sizeof buffer);
        if (got <= 0) {
            return entries;
        }
        for (ssize_t at = 0; at < got;) {
            auto const* entry = reinterpret_cast<dirent64 const*>(buffer + at);
            at += entry->d_reclen;
            if (!IsDotOrDotDot(entry->d_name)) {
                entries.push_back({entry->d_name, TypeOf(entry->d_type)});
            }
        }
    }
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
    return StatusOf(info);
}

std::optional<FileStatus> StatAt(int folder, char const* name) {
    struct stat info {};
    if (fstatat(folder, name, &info, 0) != 0) {
        return std::nullopt;
    }
    return StatusOf(info);
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

std::optional<std::string> ReadBounded(int fd, std::size_t limit) {
    constexpr std::size_t kFirstBlock = 4096;
    std::string bytes(std::min(limit + 1, kFirstBlock), '\0');
    std::size_t length = 0;
    for (;;) {
        std::size_t const asked = bytes.size() - length;
        ssize_t const got = read(fd, bytes.data() + length, asked);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            return std::nullopt;
        }
        length += static_cast<std::size_t>(got);
        if (length > limit) {
            return std::nullopt;
        }
        if (static_cast<std::size_t>(got) < asked) {
            bytes.resize(length);
            return bytes;
        }
        bytes.resize(std::min(limit + 1, bytes.size() * 2));
    }
}

std::optional<std::string> ReadSmallFile(int folder, char const* name, std::size_t limit) {
    struct stat info {};
    if (fstatat(folder, name, &info, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISREG(info.st_mode) ||
        (info.st_mode & (S_IRUSR | S_IRGRP | S_IROTH)) == 0 ||
        static_cast<std::uint64_t>(info.st_size) > limit) {
        return std::nullopt;
    }
    Descriptor file(openat(folder, name, O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC));
    return file.valid() ? ReadBounded(file.get(), limit) : std::nullopt;
}

std::vector<FolderEntry> ListFolder(int folder, char const* name) {
    Descriptor listing(openat(folder, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!listing.valid()) {
        return {};
    }
    return ReadListing(listing.get());
}

std::vector<FolderEntry> ListOpenFolder(int folder) {
    // Only a folder that could not be opened for reading is held by an O_PATH
    // descriptor, which cannot seek.
    if (lseek(folder, 0, SEEK_SET) != 0) {
        return {};
    }
    return ReadListing(folder);
}

std::string CurrentFolder() {
    std::unique_ptr<char, decltype(&std::free)> path(getcwd(nullptr, 0), &std::free);
    if (!path) {
        throw StatFailed(".", errno);
    }
    return path.get();
}

} // namespace platform
