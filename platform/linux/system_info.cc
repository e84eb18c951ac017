#include "platform/linux/system_info.h"

#include "platform/linux/descriptor.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <climits>
#include <ctime>
#include <fcntl.h>
#include <sys/utsname.h>
#include <unistd.h>

namespace platform {
namespace {

constexpr char kOsReleasePath[] = "/etc/os-release";
constexpr char kOsReleaseFallbackPath[] = "/usr/lib/os-release";
constexpr char kCpuInfoPath[] = "/proc/cpuinfo";
constexpr char kMemInfoPath[] = "/proc/meminfo";
constexpr char kMaxFrequencyPath[] = "/sys/devices/system/cpu/cpu0/cpufreq/cpuinfo_max_freq";

} // namespace

std::string_view Trim(std::string_view text) {
    constexpr std::string_view kSpace = " \t\r";
    std::size_t const begin = text.find_first_not_of(kSpace);
    if (begin == std::string_view::npos) {
        return {};
    }
    return text.substr(begin, text.find_last_not_of(kSpace) - begin + 1);
}

std::optional<std::string> ReadWholeFile(char const* path) {
    Descriptor file(::open(path, O_RDONLY | O_CLOEXEC));
    if (file.get() < 0) {
        return std::nullopt;
    }
    std::string text;
    std::array<char, 4096> chunk;
    for (;;) {
        ssize_t const count = ::read(file.get(), chunk.data(), chunk.size());
        if (count == 0) {
            return text;
        }
        if (count < 0) {
            if (errno == EINTR) {
                continue;
            }
            return std::nullopt;
        }
        text.append(chunk.data(), static_cast<std::size_t>(count));
    }
}

namespace {

// Calls visit(line) for each line until it returns false.
template <class Visit> void ForEachLine(std::string_view text, Visit visit) {
    while (!text.empty()) {
        std::size_t const end = text.find('\n');
        std::string_view const line = text.substr(0, end);
        if (!visit(line) || end == std::string_view::npos) {
            return;
        }
        text.remove_prefix(end + 1);
    }
}

// The value of "key : value" in the first processor's block of cpuinfo.
std::optional<std::string_view> CpuInfoValue(std::string_view text, std::string_view key) {
    std::optional<std::string_view> found;
    ForEachLine(text, [&](std::string_view line) {
        if (Trim(line).empty()) {
            return false; // end of the first processor's block
        }
        std::size_t const colon = line.find(':');
        if (colon != std::string_view::npos && Trim(line.substr(0, colon)) == key) {
            found = Trim(line.substr(colon + 1));
            return false;
        }
        return true;
    });
    return found;
}

std::optional<unsigned> Decimal(std::optional<std::string_view> text) {
    unsigned value = 0;
    if (!text || text->empty()) {
        return std::nullopt;
    }
    auto const [end, error] = std::from_chars(text->data(), text->data() + text->size(), value);
    if (error != std::errc() || end != text->data() + text->size()) {
        return std::nullopt;
    }
    return value;
}

// "2445.428" (or "1250.000000MHz") megahertz in hertz: whole megahertz and
// up to six fraction digits; nullopt for anything else or an overflow.
std::optional<std::uint64_t> MegahertzText(std::string_view text) {
    std::uint64_t hertz = 0;
    std::size_t i = 0;
    for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
        if (hertz > (UINT64_MAX - 9) / 10) {
            return std::nullopt;
        }
        hertz = hertz * 10 + static_cast<std::uint64_t>(text[i] - '0');
    }
    if (i == 0 || hertz > UINT64_MAX / 1000000) {
        return std::nullopt;
    }
    hertz *= 1000000;
    if (i < text.size() && text[i] == '.') {
        std::uint64_t scale = 100000;
        for (++i; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i, scale /= 10) {
            hertz += static_cast<std::uint64_t>(text[i] - '0') * scale;
        }
    }
    return hertz;
}

// The response code of an x86 processor that the name table knows, by the
// family and model numbers of cpuinfo.
std::uint32_t X86ResponseCode(std::optional<unsigned> family, std::optional<unsigned> model) {
    if (family == 4u) {
        return FourCharCode("i486");
    }
    if (family == 5u) {
        return FourCharCode("i586");
    }
    if (family == 6u && model == 1u) {
        return FourCharCode("i5pr");
    }
    if (family == 6u && (model == 3u || model == 5u)) {
        return FourCharCode("i5ii");
    }
    return 0;
}

// The response code of a PowerPC processor by the name the kernel gives it
// in the "cpu" line ("7447A, altivec supported").
std::uint32_t PowerPCResponseCode(std::string_view cpu) {
    struct Entry {
        std::string_view name;
        std::uint32_t code;
    };
    static constexpr Entry kTable[] = {
        {"601", 257},      {"603", 259},  {"604", 260},   {"603e", 262},   {"603ev", 263},
        {"740/750", 264},  {"750", 264},  {"604e", 265},  {"604r", 266},   {"604ev", 266},
        {"7400", 268},     {"7410", 268}, {"7450", 272},  {"7455", 273},   {"7447/7457", 274},
        {"7447A", 274},    {"7448", 274}, {"750FX", 288}, {"PPC970", 313}, {"PPC970FX", 316},
        {"PPC970MP", 316},
    };
    std::string_view const name = cpu.substr(0, cpu.find_first_of(", "));
    for (Entry const& entry : kTable) {
        if (entry.name == name) {
            return entry.code;
        }
    }
    return 0;
}

class LiveSystem final : public SystemSource {
public:
    std::optional<std::string> HostName() const override {
        char name[HOST_NAME_MAX + 1] = {};
        if (::gethostname(name, sizeof name - 1) != 0) {
            return std::nullopt;
        }
        return std::string(name);
    }

    std::optional<KernelIdentity> Kernel() const override {
        struct utsname names;
        if (::uname(&names) != 0) {
            return std::nullopt;
        }
        return KernelIdentity{names.machine, names.version, names.release};
    }

    OsRelease OperatingSystemRelease() const override {
        std::optional<std::string> text = ReadWholeFile(kOsReleasePath);
        if (!text) {
            text = ReadWholeFile(kOsReleaseFallbackPath);
        }
        return text ? ParseOsRelease(*text) : OsRelease{};
    }

    std::string const& BuildNumber() const override {
        static std::string const build = [this] {
            std::string id = OperatingSystemRelease().buildId;
            if (id.empty()) {
                std::optional<KernelIdentity> kernel = Kernel();
                id = kernel ? kernel->release : std::string();
            }
            return id;
        }();
        return build;
    }

    std::int64_t BootSecondsSince1970() const override { return platform::BootSecondsSince1970(); }

    unsigned OnlineProcessorCount() const override {
        long const count = ::sysconf(_SC_NPROCESSORS_ONLN);
        return count < 1 ? 1u : static_cast<unsigned>(count);
    }

    ProcessorIdentity MainProcessor() const override {
        std::optional<std::string> text = ReadWholeFile(kCpuInfoPath);
        return text ? ParseCpuInfo(*text) : ProcessorIdentity{};
    }

    std::optional<std::uint64_t> ProcessorSpeedHertz() const override {
        if (std::optional<std::string> kilohertz = ReadWholeFile(kMaxFrequencyPath)) {
            if (std::optional<unsigned> value = Decimal(Trim(*kilohertz)); value && *value > 0) {
                return std::uint64_t{*value} * 1000;
            }
        }
        std::optional<std::string> text = ReadWholeFile(kCpuInfoPath);
        return text ? ParseCpuInfoSpeed(*text) : std::nullopt;
    }

    std::optional<std::uint64_t> PhysicalMemoryBytes() const override {
        std::optional<std::string> text = ReadWholeFile(kMemInfoPath);
        return text ? ParseMemTotal(*text) : std::nullopt;
    }
};

SystemSource const* gInstalled = nullptr;

std::int64_t Nanoseconds(timespec const& t) {
    return std::int64_t{t.tv_sec} * 1000000000 + t.tv_nsec;
}

} // namespace

SystemSource const& System() {
    static LiveSystem const live;
    return gInstalled ? *gInstalled : live;
}

ScopedSystemSource::ScopedSystemSource(SystemSource const& source) : previous_(gInstalled) {
    gInstalled = &source;
}

ScopedSystemSource::~ScopedSystemSource() {
    gInstalled = previous_;
}

// The wall clock less the time since boot (suspended time included): the
// same offset the kernel prints as btime in /proc/stat, without generating
// that whole file.
std::int64_t BootSecondsSince1970() {
    timespec now{};
    timespec sinceBoot{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    ::clock_gettime(CLOCK_BOOTTIME, &sinceBoot);
    std::int64_t const boot = Nanoseconds(now) - Nanoseconds(sinceBoot);
    std::int64_t seconds = boot / 1000000000;
    if (boot % 1000000000 < 0) {
        --seconds;
    }
    return seconds;
}

std::optional<std::string> OsReleaseValue(std::string_view text, std::string_view key) {
    std::optional<std::string> found;
    ForEachLine(text, [&](std::string_view line) {
        line = Trim(line);
        if (line.size() <= key.size() || !line.starts_with(key) || line[key.size()] != '=') {
            return true;
        }
        std::string_view raw = line.substr(key.size() + 1);
        std::string value;
        if (raw.size() >= 2 && (raw.front() == '"' || raw.front() == '\'') &&
            raw.back() == raw.front()) {
            bool const escapes = raw.front() == '"';
            raw = raw.substr(1, raw.size() - 2);
            for (std::size_t i = 0; i < raw.size(); ++i) {
                if (escapes && raw[i] == '\\' && i + 1 < raw.size()) {
                    ++i;
                }
                value.push_back(raw[i]);
            }
        } else {
            value.assign(raw);
        }
        found = std::move(value);
        return true; // a later assignment wins, as in the shell
    });
    return found;
}

OsRelease ParseOsRelease(std::string_view text) {
    return {OsReleaseValue(text, "NAME").value_or(""),
            OsReleaseValue(text, "VERSION_ID").value_or(""),
            OsReleaseValue(text, "BUILD_ID").value_or("")};
}

ProcessorIdentity ParseCpuInfo(std::string_view text) {
    ProcessorIdentity identity;
    std::optional<std::string_view> const vendor = CpuInfoValue(text, "vendor_id");
    std::optional<std::string_view> const cpu = CpuInfoValue(text, "cpu");
    std::optional<std::string_view> model = CpuInfoValue(text, "model name");
    if (vendor) {
        identity.vendor = *vendor;
        identity.code = X86ResponseCode(Decimal(CpuInfoValue(text, "cpu family")),
                                        Decimal(CpuInfoValue(text, "model")));
    } else if (cpu) {
        identity.code = PowerPCResponseCode(*cpu);
        model = model ? model : cpu;
    }
    if (model) {
        identity.model = *model;
    }
    return identity;
}

std::optional<std::uint64_t> ParseCpuInfoSpeed(std::string_view text) {
    std::optional<std::string_view> value = CpuInfoValue(text, "cpu MHz");
    if (!value) {
        value = CpuInfoValue(text, "clock");
    }
    return value ? MegahertzText(*value) : std::nullopt;
}

std::optional<std::uint64_t> ParseMemTotal(std::string_view text) {
    std::optional<std::uint64_t> bytes;
    ForEachLine(text, [&](std::string_view line) {
        constexpr std::string_view kKey = "MemTotal:";
        if (!line.starts_with(kKey)) {
            return true;
        }
        std::string_view rest = Trim(line.substr(kKey.size()));
        std::uint64_t kilobytes = 0;
        auto const [end, error] =
            std::from_chars(rest.data(), rest.data() + rest.size(), kilobytes);
        if (error == std::errc() &&
            Trim(rest.substr(static_cast<std::size_t>(end - rest.data()))) == "kB" &&
            kilobytes <= UINT64_MAX / 1024) {
            bytes = kilobytes * 1024;
        }
        return false;
    });
    return bytes;
}

} // namespace platform
