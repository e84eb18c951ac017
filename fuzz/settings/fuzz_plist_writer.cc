// Any tree read from the bytes is written by our binary writer and read
// back by libplist: the two trees must be equal, node for node.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>

#include "settings/property_list.h"

namespace {

bool SameTree(plist_t a, plist_t b);

bool SameDictionary(plist_t a, plist_t b) {
    if (plist_dict_get_size(a) != plist_dict_get_size(b)) {
        return false;
    }
    plist_dict_iter rawIterator = nullptr;
    plist_dict_new_iter(a, &rawIterator);
    std::unique_ptr<void, void (*)(void*)> iterator(rawIterator, std::free);
    for (std::uint32_t i = 0; i < plist_dict_get_size(a); ++i) {
        char* rawKey = nullptr;
        plist_t value = nullptr;
        plist_dict_next_item(a, rawIterator, &rawKey, &value);
        std::unique_ptr<char, void (*)(void*)> key(rawKey, std::free);
        if (!SameTree(value, plist_dict_get_item(b, rawKey))) {
            return false;
        }
    }
    return true;
}

bool SameTree(plist_t a, plist_t b) {
    if (b == nullptr || plist_get_node_type(a) != plist_get_node_type(b)) {
        return false;
    }
    switch (plist_get_node_type(a)) {
    case PLIST_DICT:
        return SameDictionary(a, b);
    case PLIST_ARRAY:
        for (std::uint32_t i = 0; i < plist_array_get_size(a); ++i) {
            if (!SameTree(plist_array_get_item(a, i), plist_array_get_item(b, i))) {
                return false;
            }
        }
        return plist_array_get_size(a) == plist_array_get_size(b);
    default:
        return plist_compare_node_value(a, b) != 0;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    std::string bytes(reinterpret_cast<char const*>(data), size);
    AutoCFPropertyList tree;
    try {
        tree = ParsePropertyList(bytes);
    } catch (PropertyListParseError const&) {
        return 0;
    }
    std::optional<std::string> written = WriteBinaryPropertyList(tree.Get());
    if (!written) {
        return 0; // a kind left to libplist's own writer
    }
    try {
        AutoCFPropertyList back = ParsePropertyList(*written);
        if (!SameTree(tree.Get(), back.Get())) {
            std::abort();
        }
    } catch (PropertyListParseError const&) {
        std::abort(); // what we write must always read back
    }
    return 0;
}
