// Any bytes short enough to be a file name convert back to the same bytes.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "evaluator/errors.h"
#include "fuzz/require.h"
#include "inspectors/usage/file_name.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string_view const bytes(reinterpret_cast<char const*>(data), size);
    try {
        Require(Utf8Of(ExactFileName(ConstData(bytes))) == bytes);
    } catch (NoSuchObject const&) {
        Require(size > FileName::cMaxUnits / 2); // no text this short needs more than 255 units
    }
    return 0;
}
