// The file-system calls behind the file, folder and bundle types: status of a
// path, the names in a folder, and the current folder.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "util/exception.h"

namespace platform {

enum class FileKind : std::uint8_t { Regular, Directory, Other };

// What stat(2) tells about a path, following symbolic links.
struct FileStatus {
    FileKind kind = FileKind::Other;
    std::int64_t size = 0;
    std::int64_t modifiedMicroseconds = 0; // since 1970-01-01 UTC
};

// stat failed for a reason other than the path not existing
// (permission denied, a loop of links, ...).
class StatFailed : public ExceptionPL {
public:
    StatFailed(std::string const& path, int error);
    int Errno() const { return errno_; }

private:
    int errno_;
};

// A folder could not be opened or read.
class OpenDirFailed : public ExceptionPL {
public:
    OpenDirFailed(std::string const& path, int error);
    int Errno() const { return errno_; }

private:
    int errno_;
};

// The status of `path`, or none when nothing exists there (ENOENT, ENOTDIR,
// a dangling link). Other failures raise StatFailed.
std::optional<FileStatus> StatPath(std::string const& path);

// The names in a folder, without "." and "..", sorted bytewise.
std::vector<std::string> FolderEntries(std::string const& path);

// The absolute path of the current working folder.
std::string CurrentFolder();

} // namespace platform
