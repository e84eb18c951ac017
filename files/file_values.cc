#include "files/file_values.h"

#include <algorithm>

#include "evaluator/registration.h"
#include "framework/memory.h"

namespace {

template <class T> T* AllocateArray(std::size_t count) {
    return static_cast<T*>(Allocate_Inspector_Memory(std::max<std::size_t>(count, 1) * sizeof(T)));
}

} // namespace

filesystem_object::filesystem_object(MacintoshPlatform::FileItem const& item)
    : path(CopyToInspectorString(ConstData(item.Location().POSIXPath()))), size(item.Status().size),
      modifiedMicroseconds(item.Status().modifiedMicroseconds), kind(item.Status().kind) {}

bool IsDirectory(filesystem_object const& object) {
    return object.kind == platform::FileKind::Directory;
}

MacintoshPlatform::FileLocation LocationOf(filesystem_object const& object) {
    return MacintoshPlatform::MakeFileLocation(AsConstData(object.path).view());
}

MacintoshPlatform::FileItem ItemOf(filesystem_object const& object) {
    return MacintoshPlatform::FileItem(LocationOf(object),
                                       {object.kind, object.size, object.modifiedMicroseconds});
}

dictionary::dictionary(OSXDictionary const& source)
    : entries(nullptr), count(static_cast<std::uint32_t>(source.Entries().size())) {
    auto* copies = AllocateArray<dictionary_entry>(count);
    std::size_t at = 0;
    for (auto const& [key, value] : source.Entries()) {
        bool hasValue = value.kind != DictionaryValue::Kind::Other;
        copies[at++] = {CopyToInspectorString(ConstData(key)),
                        hasValue ? CopyToInspectorString(ConstData(value.text))
                                 : inspector_string{nullptr, 0},
                        hasValue};
    }
    entries = copies;
}

version MakeVersion(MacVersion const& source) {
    auto const& components = source.Components();
    auto* copies = AllocateArray<std::uint64_t>(components.size());
    std::copy(components.begin(), components.end(), copies);
    return {copies, static_cast<std::uint32_t>(components.size())};
}
