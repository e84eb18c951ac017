#include "inspectors/files/files.h"

#include <algorithm>
#include <string_view>
#include <type_traits>

#include "evaluator/errors.h"
#include "framework/memory.h"
#include "framework/prop.h"

namespace {

using MacintoshPlatform::FileItem;
using MacintoshPlatform::FileLocation;

std::string_view View(inspector_string const& text) {
    return AsConstData(text).view();
}

// A path that cannot name anything (empty, or with a NUL byte) has no object.
FileLocation LocationOfPath(std::string_view path) {
    if (path.empty() || path.find('\0') != std::string_view::npos) {
        throw NoSuchObject();
    }
    return MacintoshPlatform::MakeFileLocation(path);
}

FileLocation LocationInFolder(folder const& parent, inspector_string const& name) {
    std::string_view relative = View(name);
    if (relative.empty()) {
        throw NoSuchObject();
    }
    return LocationOfPath(std::string(View(parent.path)) + "/" + std::string(relative));
}

template <class Entry> constexpr bool WantsFolders() {
    return std::is_same_v<Entry, folder>;
}

// The object at `location` if it is of the wanted kind, else NoSuchObject.
template <class Entry> Entry EntryAt(FileLocation location) {
    FileItem item(std::move(location));
    if (item.IsDirectory() != WantsFolders<Entry>()) {
        throw NoSuchObject();
    }
    return Entry(item);
}

} // namespace

file FileByPath(inspector_string const& path) {
    return EntryAt<file>(LocationOfPath(View(path)));
}

folder FolderByPath(inspector_string const& path) {
    return EntryAt<folder>(LocationOfPath(View(path)));
}

file FileOfFolder(inspector_string const& name, Of, folder const& parent) {
    return EntryAt<file>(LocationInFolder(parent, name));
}

folder FolderOfFolder(inspector_string const& name, Of, folder const& parent) {
    return EntryAt<folder>(LocationInFolder(parent, name));
}

inspector_string NameOfObject(Of, filesystem_object const& object) {
    std::string_view path = View(object.path);
    std::size_t start = path.size() == 1 ? 0 : path.rfind('/') + 1;
    return {object.path.pointer + start, static_cast<std::uint32_t>(path.size() - start)};
}

integer SizeOfFile(Of, file const& object) {
    return object.size;
}

moment ModificationTimeOfObject(Of, filesystem_object const& object) {
    return moment{object.modifiedMicroseconds};
}

folder ParentFolderOfObject(Of, filesystem_object const& object) {
    FileLocation location = LocationOf(object);
    if (location.IsRoot()) {
        throw NoSuchObject();
    }
    return EntryAt<folder>(location.Parent());
}

template <class Entry> Entry FolderEntryIterator<Entry>::First(Of, folder const& parent) {
    names_ = platform::FolderEntries(LocationOf(parent).POSIXPath());
    next_ = 0;
    return Next(Of(), parent);
}

template <class Entry> Entry FolderEntryIterator<Entry>::Next(Of, folder const& parent) {
    FileLocation const folderLocation = LocationOf(parent);
    while (next_ < names_.size()) {
        FileLocation location = folderLocation.Child(names_[next_++]);
        auto status = platform::StatPath(location.POSIXPath());
        bool isFolder = status && status->kind == platform::FileKind::Directory;
        if (status && isFolder == WantsFolders<Entry>()) {
            return Entry(FileItem(std::move(location), *status));
        }
    }
    throw NoSuchObject();
}

template class FolderEntryIterator<file>;
template class FolderEntryIterator<folder>;

inspector_string ValueOfDictionary(inspector_string const& key, Of, dictionary const& table) {
    dictionary_entry const* end = table.entries + table.count;
    dictionary_entry const* entry =
        std::find_if(table.entries, end, [&](dictionary_entry const& candidate) {
            return View(candidate.key) == View(key);
        });
    if (entry == end || !entry->hasValue) {
        throw NoSuchObject();
    }
    return entry->value;
}

inspector_string DictionaryKeyIterator::First(Of, dictionary const& table) {
    next_ = 0;
    return Next(Of(), table);
}

inspector_string DictionaryKeyIterator::Next(Of, dictionary const& table) {
    if (next_ >= table.count) {
        throw NoSuchObject();
    }
    return table.entries[next_++].key;
}

file_signature AsFileSignature(inspector_string const& text) {
    if (text.length != 4) {
        throw NoSuchObject();
    }
    std::uint32_t code = 0;
    for (std::uint32_t i = 0; i < 4; ++i) {
        code = code << 8 | text.pointer[i];
    }
    return {code};
}

inspector_string AsString(file_signature const& signature) {
    unsigned char bytes[4];
    for (int i = 0; i < 4; ++i) {
        bytes[i] = static_cast<unsigned char>(signature.code >> (24 - 8 * i));
    }
    return CopyToInspectorString(ConstData(bytes, sizeof bytes));
}

namespace {

Type<filesystem_object> filesystemObjectType;
DerivedType<file, filesystem_object> fileType;
DerivedType<folder, filesystem_object> folderType;
Type<dictionary> dictionaryType;
Type<file_signature> fileSignatureType;

Prop fileByPath("file", "files", FileByPath, nullptr);
Prop folderByPath("folder", "folders", FolderByPath, nullptr);
Prop fileOfFolder("file", "files", FileOfFolder, nullptr);
Prop folderOfFolder("folder", "folders", FolderOfFolder, nullptr);
Prop filesOfFolder("file", "files", &FolderEntryIterator<file>::First,
                   &FolderEntryIterator<file>::Next, nullptr);
Prop foldersOfFolder("folder", "folders", &FolderEntryIterator<folder>::First,
                     &FolderEntryIterator<folder>::Next, nullptr);
Prop nameOfObject("name", "names", NameOfObject, nullptr);
Prop sizeOfFile("size", "sizes", SizeOfFile, nullptr);
Prop modificationTimeOfObject("modification time", "modification times", ModificationTimeOfObject,
                              nullptr);
Prop parentFolderOfObject("parent folder", "parent folders", ParentFolderOfObject, nullptr);
Prop valueOfDictionary("value", "values", ValueOfDictionary, nullptr);
Prop keysOfDictionary("key", "keys", &DictionaryKeyIterator::First, &DictionaryKeyIterator::Next,
                      nullptr);
Cast<inspector_string, file_signature> stringAsFileSignature("file signature", AsFileSignature,
                                                             nullptr);
Cast<file_signature, inspector_string> fileSignatureAsString("string", AsString, nullptr);

} // namespace
