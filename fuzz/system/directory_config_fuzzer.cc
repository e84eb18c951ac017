// Feeds arbitrary bytes to the readers of the directory settings (Kerberos
// and Samba configuration files) and to the search filter builder; each must
// answer or decline, never read out of bounds.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "platform/linux/directory.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string_view const text(reinterpret_cast<char const*>(data), size);
    platform::ConfigValue(text, "libdefaults", "default_realm");
    platform::ConfigValue(text, "global", "realm");

    std::string const filter = platform::ComputerFilter(text);
    // Escaping leaves no character that could end or widen the filter.
    std::string_view const value(filter.data() + 40, filter.size() - 42);
    if (value.find_first_of("()*") != std::string_view::npos) {
        __builtin_trap();
    }
    platform::ComputerAccountName(text);
    return 0;
}
