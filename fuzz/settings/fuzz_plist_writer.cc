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

// Entries in the same order, with equal keys and values (keys may repeat).
bool SameDictionary(plist_t a, plist_t b) {
    if (plist_dict_get_size(a) != plist_dict_get_size(b)) {
        return false;
    }
    plist_dict_iter rawA = nullptr;
    plist_dict_iter rawB = nullptr;
    plist_dict_new_iter(a, &rawA);
    plist_dict_new_iter(b, &rawB);
    std::unique_ptr<void, void (*)(void*)> iteratorA(rawA, std::free);
    std::unique_ptr<void, void (*)(void*)> iteratorB(rawB, std::free);
    for (std::uint32_t i = 0; i < plist_dict_get_size(a); ++i) {
        char* keyA = nullptr;
        char* keyB = nullptr;
        plist_t valueA = nullptr;
        plist_t valueB = nullptr;
        plist_dict_next_item(a, rawA, &keyA, &valueA);
        plist_dict_next_item(b, rawB, &keyB, &valueB);
        std::unique_ptr<char, void (*)(void*)> ownedA(keyA, std::free);
        std::unique_ptr<char, void (*)(void*)> ownedB(keyB, std::free);
        if (std::string(keyA) != keyB || !SameTree(valueA, valueB)) {
            return false;
        }
    }
    return true;
}

// Dates as libplist hands them out: it keeps 32-bit seconds, so a date
// read from XML outside that span has no exact value to write.
bool SameDate(plist_t a, plist_t b) {
    std::int32_t seconds[2] = {};
    std::int32_t microseconds[2] = {};
    plist_get_date_val(a, &seconds[0], &microseconds[0]);
    plist_get_date_val(b, &seconds[1], &microseconds[1]);
    return seconds[0] == seconds[1] && microseconds[0] == microseconds[1];
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
    case PLIST_DATE:
        return SameDate(a, b);
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
