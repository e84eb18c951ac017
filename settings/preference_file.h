// The file operations under the preference domains: whole-file reads,
// atomic replacement, an advisory lock, and keeping an unreadable file aside.
#pragma once

#include <sys/types.h>

#include <ctime>
#include <filesystem>
#include <optional>
#include <string>

#include "util/exception.h"

// A file operation failed; the message names the file and the reason.
class PreferenceFileError : public ExceptionPL {
public:
    using ExceptionPL::ExceptionPL;
};

// Which version of a file is on disk. Every write makes a new inode, so two
// equal identities mean the same content.
struct FileIdentity {
    bool exists = false;
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = 0;
    std::timespec modified{};
    friend bool operator==(FileIdentity const& a, FileIdentity const& b);
};

FileIdentity IdentityOf(std::filesystem::path const& file);

// The whole content, or nothing when the file does not exist.
std::optional<std::string> ReadFileIfPresent(std::filesystem::path const& file);

// Replaces file with bytes so that readers see the old or the new content and
// never a part: temporary file in the same folder, fsync, rename, fsync of the
// folder. Creates the folder when missing. Keeps the old file's permissions;
// a new file is readable by its owner only.
void WriteFileAtomically(std::filesystem::path const& file, std::string const& bytes);

// Removes temporary files that a writer killed before its rename left behind.
// Call only while holding the file's lock, when no other writer can be active.
void RemoveStaleTemporaries(std::filesystem::path const& file);

// Hard-links file to the first free name "<file>.unreadable.<n>" and returns
// that name. The original stays in place until it is replaced.
std::filesystem::path KeepAside(std::filesystem::path const& file);

// An exclusive advisory lock on "<file>.lock", held for the object's life.
class FileLock {
public:
    explicit FileLock(std::filesystem::path const& file);
    FileLock(FileLock const&) = delete;
    FileLock& operator=(FileLock const&) = delete;
    ~FileLock();

private:
    int descriptor_;
};
