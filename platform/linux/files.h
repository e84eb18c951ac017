// The file-system calls behind the file, folder and bundle types: status of a
// path, the names in a folder, and the current folder.
#pragma once

#include <cstddef>
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
    bool executable = false;               // someone may execute it
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

// The status of `name` in a folder (a descriptor, or AT_FDCWD), following
// links; none when it cannot be had for any reason, for searches where what
// cannot be examined is not found.
std::optional<FileStatus> StatAt(int folder, char const* name);

// The names in a folder, without "." and "..", sorted bytewise.
std::vector<std::string> FolderEntries(std::string const& path);

// Reads an open file to its end when it holds at most `limit` bytes; none
// when it holds more or a read fails. A read that returns less than asked
// is taken as the end, as it is for regular files and sysfs attributes.
// Never reads more than limit + 1 bytes.
std::optional<std::string> ReadBounded(int fd, std::size_t limit);

// The bytes of a readable regular file (`name` relative to the folder
// descriptor, or AT_FDCWD; a final link is not followed) when it holds at
// most `limit` bytes; none for a larger, unreadable or non-regular file, by
// its reported size or by what reading yields. Never blocks.
std::optional<std::string> ReadSmallFile(int folder, char const* name, std::size_t limit);

enum class EntryType : std::uint8_t { Folder, Regular, Link, Other, Unknown };

struct FolderEntry {
    std::string name;
    EntryType type; // as the listing says; Unknown where the file system does not
};

// The entries of the folder `name` (relative to the folder descriptor, which
// may be an O_PATH one with name ".", or AT_FDCWD) without "." and "..", in
// the order the file system gives; empty when it cannot be listed. One
// listing call per block of entries and no status call.
std::vector<FolderEntry> ListFolder(int folder, char const* name);

// The same for the folder the descriptor holds, read from its start through
// that descriptor (its position moves); empty when it is not open for reading.
std::vector<FolderEntry> ListOpenFolder(int folder);

// The absolute path of the current working folder.
std::string CurrentFolder();

} // namespace platform
