// File-system locations and items: where a file or folder is, and what it was
// when it was looked at.
#pragma once

#include <string>
#include <string_view>

#include "platform/linux/files.h"
#include "url/url.h"

namespace MacintoshPlatform {

// A name that cannot be one component of a path (empty, ".", "..", or with a
// '/' or NUL in it), or a path with a NUL byte.
class BadFileName : public ExceptionPL {
public:
    explicit BadFileName(std::string_view name);
};

// An absolute path in normal form: components joined by single '/', no "."
// or ".." components (resolved lexically, never above the root) and no
// trailing '/'. A relative path is taken relative to the current folder.
class FileLocation {
public:
    explicit FileLocation(std::string_view path);

    std::string const& POSIXPath() const { return path_; }
    bool IsRoot() const { return path_.size() == 1; }
    // The last component; the root is named "/".
    std::string_view Name() const;
    // The folder holding this location; the root is its own parent.
    FileLocation Parent() const;
    // The location of `name` inside this folder; raises BadFileName.
    FileLocation Child(std::string_view name) const;

    friend bool operator==(FileLocation const&, FileLocation const&) = default;

private:
    struct Normal {};
    FileLocation(Normal, std::string path) : path_(std::move(path)) {}

    std::string path_;
};

FileLocation MakeFileLocation(std::string_view path);
// The location a "file:" URL names (see ResolveFileURL).
FileLocation MakeFileLocation(URL const& url);

// A location with the status read from the file system when it was made: a
// file-system object knows whether it is a folder, its size and modification
// time, and its URL.
class FileItem {
public:
    // Reads the status now; raises NoSuchObject when nothing exists there and
    // platform::StatFailed when the status cannot be read.
    explicit FileItem(FileLocation location);
    FileItem(FileLocation location, platform::FileStatus status)
        : location_(std::move(location)), status_(status) {}

    FileLocation const& Location() const { return location_; }
    platform::FileStatus const& Status() const { return status_; }
    bool IsDirectory() const { return status_.kind == platform::FileKind::Directory; }
    // "file:///..."; a folder's URL ends with '/'.
    URL GetURL() const;

private:
    FileLocation location_;
    platform::FileStatus status_;
};

} // namespace MacintoshPlatform
