// Any bytes as a preference file: parsing must fail cleanly or give a tree;
// each store's key of the top dictionary is converted as the store would; what converts is
// written back and must read back the same. The whole tree, written by our
// binary writer and read back, must be written to the same bytes again (that
// the writer leaves nothing out is checked on a tree of every kind by the
// property-list tests).
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "fuzz/require.h"
#include "settings/agent_settings.h"
#include "settings/property_list.h"
#include "settings/setting_store.h"

namespace {

bool AllNamesAreText(CFPreferenceSectionMap const& sections) {
    auto const named = [](auto const& entry) { return IsPropertyListText(entry.first); };
    return std::ranges::all_of(sections, [&](auto const& section) {
        return named(section) && std::ranges::all_of(section.second, named);
    });
}

void CheckRoundTrip(CFPreferenceSectionMap const& sections) {
    if (!AllNamesAreText(sections)) {
        return; // such names are left out of the file on purpose
    }
    std::string bytes = SerializeBinaryPropertyList(MakeCFDictionary(sections).Get());
    AutoCFPropertyList back = ParsePropertyList(bytes);
    Require(ConvertCFPropertyList<CFPreferenceSectionMap>(back.Get()) == sections);
}

// Each store reads its own key of the top dictionary.
void ConvertEachStore(plist_t root) {
    if (plist_get_node_type(root) != PLIST_DICT) {
        return;
    }
    for (char const* key : {kSettingsPreferenceKey, kSitesPreferenceKey, kOptionsPreferenceKey,
                            kServerPreferenceKey}) {
        try {
            CheckRoundTrip(
                ConvertCFPropertyList<CFPreferenceSectionMap>(plist_dict_get_item(root, key)));
        } catch (ConvertCFPropertyListError const&) {
            // absent, or a value of the wrong shape: the store starts empty
        }
    }
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
    ConvertEachStore(root.Get());
    // What we write must read back; kinds left to libplist's writer give nothing.
    std::optional<std::string> written = WriteBinaryPropertyList(root.Get());
    Require(!written || WriteBinaryPropertyList(ParsePropertyList(*written).Get()) == written);
    return 0;
}
