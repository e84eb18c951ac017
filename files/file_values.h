// The values of the file-system types as the evaluator holds them. Each is a
// plain record whose bytes point into evaluation memory, so a value can be
// copied freely and needs no destruction.
#pragma once

#include <cstdint>

#include "evaluator/values.h"
#include "files/dictionary.h"
#include "files/file_location.h"
#include "files/mac_version.h"

// A file, folder or other object of the file system, as it was when looked at.
struct filesystem_object {
    static char const* TypeName() { return "filesystem object"; }

    // Copies the item's path into evaluation memory.
    explicit filesystem_object(MacintoshPlatform::FileItem const& item);

    inspector_string path; // absolute, normal form
    std::int64_t size;
    std::int64_t modifiedMicroseconds; // since 1970-01-01 UTC
    platform::FileKind kind;
};

// Anything that is not a folder.
struct file : filesystem_object {
    static char const* TypeName() { return "file"; }
    using filesystem_object::filesystem_object;
};

struct folder : filesystem_object {
    static char const* TypeName() { return "folder"; }
    using filesystem_object::filesystem_object;
};

static_assert(sizeof(file) == sizeof(filesystem_object) &&
                  sizeof(folder) == sizeof(filesystem_object),
              "derived file-system values keep their base's layout");

bool IsDirectory(filesystem_object const& object);
MacintoshPlatform::FileLocation LocationOf(filesystem_object const& object);
// The item again, with the status the value was made with.
MacintoshPlatform::FileItem ItemOf(filesystem_object const& object);

struct dictionary_entry {
    inspector_string key;
    inspector_string value;
    bool hasValue; // false for values without a text form
};

// A dictionary's keys in bytewise order with the text of their values.
struct dictionary {
    static char const* TypeName() { return "dictionary"; }

    // Copies the entries into evaluation memory.
    explicit dictionary(OSXDictionary const& source);

    dictionary_entry const* entries;
    std::uint32_t count;
};

// A four-character code naming a kind of file or an application; the first
// character is in the high byte.
struct file_signature {
    static char const* TypeName() { return "file signature"; }
    std::uint32_t code;
};

// The version's components in evaluation memory, as the evaluator's "version".
version MakeVersion(MacVersion const& source);
