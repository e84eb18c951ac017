// Feeds arbitrary bytes to the readers of desktop entries and utmp records;
// each must answer or decline, never read out of bounds.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "platform/linux/console_user.h"
#include "platform/linux/xdg.h"
#include "text/message_maker.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string_view const text(reinterpret_cast<char const*>(data), size);
    try {
        platform::ExecProgram(platform::ReadDesktopEntry(text).exec);
        platform::IniSection(text, "Default Applications");
    } catch (MessageTooLong const&) {
        // an overlong line is declined
    }
    platform::ExecProgram(text);
    platform::ConsoleUserOfUtmp(ConstData(data, data + size));
    return 0;
}
