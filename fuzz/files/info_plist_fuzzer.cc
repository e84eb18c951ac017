// Info.plist reading: any bytes give a dictionary or none, never a crash,
// and the version values found in it pack and parse without faults.
#include <cstddef>
#include <cstdint>

#include "evaluator/errors.h"
#include "files/dictionary.h"
#include "files/mac_version.h"
#include "fuzz/require.h"

namespace {

void CheckVersionText(std::string const& text) {
    std::uint32_t number = VersionNumberFromString(text);
    Require(number == 0 || MacVersion(number).Components().size() >= 3);
    try {
        Require(!TextToVersion(text).Components().empty());
    } catch (NoSuchObject const&) {
        // Text without a leading number has no version.
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    auto dictionary = ParsePropertyListDictionary(ConstData(data, size));
    if (!dictionary) {
        return 0;
    }
    std::string const* previous = nullptr;
    for (auto const& [key, value] : dictionary->Entries()) {
        Require(!previous || *previous < key); // keys are unique and in order
        previous = &key;
        if (value.kind == DictionaryValue::Kind::String) {
            CheckVersionText(value.text);
        }
    }
    return 0;
}
