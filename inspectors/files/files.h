// Files, folders and dictionaries as the query language sees them: looking
// up a file or folder by path or by name in a folder, the names, sizes,
// modification times and parents of file-system objects, the files and
// folders in a folder, and the values and keys of a dictionary. Every lookup
// reads the file system when it is made; a path where nothing exists has no
// object, while a path that cannot be examined (permission denied) is an
// error that says so.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "files/file_values.h"
#include "framework/registration.h"

file FileByPath(inspector_string const& path);
folder FolderByPath(inspector_string const& path);
file FileOfFolder(inspector_string const& name, Of, folder const& parent);
folder FolderOfFolder(inspector_string const& name, Of, folder const& parent);

inspector_string NameOfObject(Of, filesystem_object const& object);
integer SizeOfFile(Of, file const& object);
moment ModificationTimeOfObject(Of, filesystem_object const& object);
folder ParentFolderOfObject(Of, filesystem_object const& object);

// The files (everything but folders) or the folders in a folder, in bytewise
// order of their names. Entries that vanish while the folder is walked are
// skipped.
template <class Entry> class FolderEntryIterator {
public:
    Entry First(Of, folder const& parent);
    Entry Next(Of, folder const& parent);

private:
    std::vector<std::string> names_;
    std::size_t next_ = 0;
};

inspector_string ValueOfDictionary(inspector_string const& key, Of, dictionary const& table);

class DictionaryKeyIterator {
public:
    inspector_string First(Of, dictionary const& table);
    inspector_string Next(Of, dictionary const& table);

private:
    std::uint32_t next_ = 0;
};

// Exactly four bytes; anything else has no signature.
file_signature AsFileSignature(inspector_string const& text);
inspector_string AsString(file_signature const& signature);
