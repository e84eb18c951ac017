// Any bytes as a preference file: parsing must fail cleanly or give a tree;
// every key of a dictionary is converted as a store would; what converts is
// written back and must read back the same.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "settings/property_list.h"
#include "settings/setting_store.h"

namespace {

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
    try {
        AutoCFPropertyList root = ParsePropertyList(bytes);
        ConvertEachKey(root.Get());
    } catch (PropertyListParseError const&) {
        // not a property list: the domain starts empty and keeps the file aside
    }
    return 0;
}
