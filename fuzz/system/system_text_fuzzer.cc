// Feeds arbitrary bytes to every reader of the system's text files; each
// must answer or decline, never read out of bounds or overflow.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "platform/linux/processes.h"
#include "platform/linux/system_info.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string_view const text(reinterpret_cast<char const*>(data), size);

    kinfo_proc record{};
    if (platform::ParseProcessStat(text, record) &&
        std::memchr(record.kp_proc.p_comm, '\0', sizeof record.kp_proc.p_comm) == nullptr) {
        __builtin_trap(); // the name must stay terminated
    }
    platform::IsProcessId(text);
    platform::ParseSchedulingEntities(text);

    platform::ParseOsRelease(text);
    platform::OsReleaseValue(text, "NAME");
    platform::ParseCpuInfo(text);
    platform::ParseCpuInfoSpeed(text);
    platform::ParseMemTotal(text);
    return 0;
}
