// Any text parses to some site type, and that type's string form parses back
// to an equal type.
#include <cstddef>
#include <cstdint>
#include <string>

#include "fuzz/require.h"
#include "inspectors/sites/site_type.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string const text(reinterpret_cast<char const*>(data), size);
    SiteType const parsed(text.c_str());
    SiteType const again(parsed.AsString().str().c_str());
    // A NUL inside a tag or name cuts the text short, as the agent's own
    // C-string form would.
    Require(parsed.AsString().str().find('\0') != std::string::npos || again == parsed);
    return 0;
}
