// Any bytes as a preference file: parsing must fail cleanly or give a tree;
// every key of a dictionary is converted as a store would; what converts is
// written back and must read back the same. The whole tree, written by our
// binary writer, must read back equal node for node.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>

#include "settings/property_list.h"
#include "settings/setting_store.h"

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

bool AllNamesAreText(CFPreferenceSectionMap const& sections) {
    for (auto const& [section, settings] : sections) {
        if (!IsPropertyListText(section)) {
            return false;
        }
        for (auto const& [name, setting] : settings) {
            if (!IsPropertyListText(name)) {
                return false;
            }
        }
    }
    return true;
}

void CheckRoundTrip(CFPreferenceSectionMap const& sections) {
    if (!AllNamesAreText(sections)) {
        return; // such names are left out of the file on purpose
    }
    std::string bytes = SerializeBinaryPropertyList(MakeCFDictionary(sections).Get());
    AutoCFPropertyList back = ParsePropertyList(bytes);
    if (ConvertCFPropertyList<CFPreferenceSectionMap>(back.Get()) != sections) {
        std::abort();
    }
}

void ConvertEachKey(plist_t root) {
    if (plist_get_node_type(root) != PLIST_DICT) {
        return;
    }
    plist_dict_iter iterator = nullptr;
    plist_dict_new_iter(root, &iterator);
    for (;;) {
        char* key = nullptr;
        plist_t value = nullptr;
        plist_dict_next_item(root, iterator, &key, &value);
        if (key == nullptr) {
            break;
        }
        std::free(key);
        try {
            CheckRoundTrip(ConvertCFPropertyList<CFPreferenceSectionMap>(value));
        } catch (ConvertCFPropertyListError const&) {
            // a value of the wrong shape: the store starts empty
        }
    }
    std::free(iterator);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    std::string bytes(reinterpret_cast<char const*>(data), size);
    AutoCFPropertyList root;
    try {
        root = ParsePropertyList(bytes);
    } catch (PropertyListParseError const&) {
        return 0; // not a property list: the domain starts empty and keeps the file aside
    }
    ConvertEachKey(root.Get());
    // What we write must read back; kinds left to libplist's writer give nothing.
    std::optional<std::string> written = WriteBinaryPropertyList(root.Get());
    if (written && !SameTree(root.Get(), ParsePropertyList(*written).Get())) {
        std::abort();
    }
    return 0;
}
