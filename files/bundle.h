// Bundles: folders whose Contents/Info.plist describes them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "files/dictionary.h"
#include "files/file_location.h"

// A property-list file larger than its reader accepts.
class InfoPlistTooLarge : public ExceptionPL {
public:
    InfoPlistTooLarge(std::string const& path, std::size_t limit);
};

// Reads the property-list file at `path` whole (it must be a regular file of
// at most `limit` bytes). A missing file, or one that is no property list
// or whose top level is no dictionary, gives an empty dictionary; read
// errors (permission, a FIFO, a file that changes while read) pass out.
OSXDictionary ReadPropertyListFile(std::string const& path, std::size_t limit);

class Bundle {
public:
    static constexpr std::size_t cMaxInfoPlistSize = 4 * 1024 * 1024;

    // Reads the folder's Contents/Info.plist now.
    explicit Bundle(MacintoshPlatform::FileLocation const& folder);

    // The packed version number: CFBundleVersion packed when it is text (0
    // when it does not fit the packed form), its low 32 bits when it is an
    // integer, otherwise 0.
    std::uint32_t VersionNumber() const;
    // A String value of the info dictionary.
    std::optional<std::string> InfoString(std::string_view key) const {
        return info_.FindString(key);
    }
    OSXDictionary const& Info() const { return info_; }

private:
    OSXDictionary info_;
};

Bundle MakeBundle(MacintoshPlatform::FileLocation const& folder);
// The bundle of the folder a "file:" URL names.
Bundle MakeBundle(URL const& url);
