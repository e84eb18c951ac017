// What the computer, operating system, processor and memory inspectors ask of
// the system, behind one small interface so that the inspectors can run
// against a stand-in and another system can supply its own answers.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace platform {

// What uname reports about the running kernel.
struct KernelIdentity {
    std::string machine; // hardware architecture, "x86_64"
    std::string version; // kernel build text, "#1 SMP PREEMPT_DYNAMIC ..."
    std::string release; // kernel release, "6.1.0-13-amd64"
};

// The fields of the operating-system release file that the inspectors use;
// a field the file lacks is empty.
struct OsRelease {
    std::string name;      // NAME
    std::string versionId; // VERSION_ID
    std::string buildId;   // BUILD_ID
};

// A processor response code written as four characters, the first in the
// high byte ('i486').
constexpr std::uint32_t FourCharCode(char const (&text)[5]) {
    return static_cast<std::uint32_t>(static_cast<unsigned char>(text[0])) << 24 |
           static_cast<std::uint32_t>(static_cast<unsigned char>(text[1])) << 16 |
           static_cast<std::uint32_t>(static_cast<unsigned char>(text[2])) << 8 |
           static_cast<std::uint32_t>(static_cast<unsigned char>(text[3]));
}

// The main processor as the processor table describes it. code is the
// processor response code when the model is one the name table knows
// (see ProcessorName), else 0.
struct ProcessorIdentity {
    std::uint32_t code = 0;
    std::string model;
    std::string vendor;
};

class SystemSource {
public:
    virtual ~SystemSource() = default;

    // The machine's name; nullopt when the system cannot say.
    virtual std::optional<std::string> HostName() const = 0;
    // nullopt when uname fails.
    virtual std::optional<KernelIdentity> Kernel() const = 0;
    // Read afresh on every call.
    virtual OsRelease OperatingSystemRelease() const = 0;
    // The build identifier, worked out once for the life of the source.
    virtual std::string const& BuildNumber() const = 0;
    // Whole seconds since 1970-01-01 UTC at which the system booted.
    virtual std::int64_t BootSecondsSince1970() const = 0;
    virtual unsigned OnlineProcessorCount() const = 0;
    virtual ProcessorIdentity MainProcessor() const = 0;
    // nullopt when no source gives the speed.
    virtual std::optional<std::uint64_t> ProcessorSpeedHertz() const = 0;
    virtual std::optional<std::uint64_t> PhysicalMemoryBytes() const = 0;
};

// The source the inspectors read: the live system unless a stand-in is
// installed.
SystemSource const& System();

// Installs a stand-in for its lifetime.
class ScopedSystemSource {
public:
    explicit ScopedSystemSource(SystemSource const& source);
    ~ScopedSystemSource();
    ScopedSystemSource(ScopedSystemSource const&) = delete;
    ScopedSystemSource& operator=(ScopedSystemSource const&) = delete;

private:
    SystemSource const* previous_;
};

// text without the spaces, tabs and carriage returns around it.
std::string_view Trim(std::string_view text);

// The whole of a small text file (proc files report no size, so read to the
// end); nullopt when it cannot be opened or read.
std::optional<std::string> ReadWholeFile(char const* path);

// The live system's boot time, whole seconds since 1970-01-01 UTC.
std::int64_t BootSecondsSince1970();

// Readers of the system's text files, exposed for testing: each takes the
// whole text and never fails, answering empty or nullopt for what it cannot
// find.

// The value of KEY=value in os-release text, unquoted ("..." or '...', with
// backslash escapes inside double quotes).
std::optional<std::string> OsReleaseValue(std::string_view text, std::string_view key);
OsRelease ParseOsRelease(std::string_view text);

// The first processor's block of /proc/cpuinfo.
ProcessorIdentity ParseCpuInfo(std::string_view text);
// "cpu MHz" (x86) or "clock" (PowerPC) of the first processor, in hertz.
std::optional<std::uint64_t> ParseCpuInfoSpeed(std::string_view text);
// "MemTotal:   16303412 kB" of /proc/meminfo, in bytes.
std::optional<std::uint64_t> ParseMemTotal(std::string_view text);

} // namespace platform
