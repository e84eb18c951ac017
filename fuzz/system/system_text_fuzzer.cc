// Feeds arbitrary bytes to every reader of the system's text and record
// files (/proc/<pid>/stat, loadavg, os-release, cpuinfo, meminfo, desktop
// entries and Exec lines, utmp records, Kerberos and Samba configuration)
// and to the directory search filter builder; each must answer or decline,
// never read out of bounds or overflow.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "fuzz/require.h"
#include "platform/linux/console_user.h"
#include "platform/linux/directory.h"
#include "platform/linux/processes.h"
#include "platform/linux/system_info.h"
#include "platform/linux/xdg.h"
#include "text/message_maker.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string_view const text(reinterpret_cast<char const*>(data), size);

    kinfo_proc record{};
    // The name must stay terminated.
    Require(!platform::ParseProcessStat(text, record) ||
            std::memchr(record.kp_proc.p_comm, '\0', sizeof record.kp_proc.p_comm) != nullptr);
    platform::IsProcessId(text);
    platform::ParseSchedulingEntities(text);

    platform::ParseOsRelease(text);
    platform::OsReleaseValue(text, "NAME");
    platform::ParseCpuInfo(text);
    platform::ParseCpuInfoSpeed(text);
    platform::ParseMemTotal(text);

    try {
        platform::ExecProgram(platform::ReadDesktopEntry(text).exec);
        platform::IniSection(text, "Default Applications");
    } catch (MessageTooLong const&) {
        // an overlong line is declined
    }
    platform::ExecProgram(text);
    platform::ConsoleUserOfUtmp(ConstData(data, data + size));

    platform::ConfigValue(text, "libdefaults", "default_realm");
    platform::ConfigValue(text, "global", "realm");
    std::string const filter = platform::ComputerFilter(text);
    // Escaping leaves no character that could end or widen the filter.
    std::string_view const value(filter.data() + 40, filter.size() - 42);
    Require(value.find_first_of("()*") == std::string_view::npos);
    platform::ComputerAccountName(text);
    return 0;
}
