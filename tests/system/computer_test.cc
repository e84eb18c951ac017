// The computer, operating system, processor and memory inspectors against a
// stand-in system, and the readers of the system's text files.
#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "evaluator/helpers.h"
#include "inspectors/system/computer.h"
#include "platform/linux/system_info.h"
#include "tests/system/ask.h"

using system_test::Answer;
using system_test::Expect;

namespace {

class FakeSystem : public platform::SystemSource {
public:
    std::optional<std::string> hostName = "build-host";
    std::optional<platform::KernelIdentity> kernel =
        platform::KernelIdentity{"x86_64", "#1 SMP Tue", "6.1.0-13-amd64"};
    platform::OsRelease release{"Debian GNU/Linux", "12.4", "20240101"};
    std::string buildNumber = "20240101";
    std::int64_t bootSeconds = 1700000000;
    unsigned processors = 3;
    platform::ProcessorIdentity processor{0, "AMD EPYC", "AuthenticAMD"};
    std::optional<std::uint64_t> speed = 2400000000;
    std::optional<std::uint64_t> memory = 17179869184;
    mutable int releaseReads = 0;

    std::optional<std::string> HostName() const override { return hostName; }
    std::optional<platform::KernelIdentity> Kernel() const override { return kernel; }
    platform::OsRelease OperatingSystemRelease() const override {
        ++releaseReads;
        return release;
    }
    std::string const& BuildNumber() const override { return buildNumber; }
    std::int64_t BootSecondsSince1970() const override { return bootSeconds; }
    unsigned OnlineProcessorCount() const override { return processors; }
    platform::ProcessorIdentity MainProcessor() const override { return processor; }
    std::optional<std::uint64_t> ProcessorSpeedHertz() const override { return speed; }
    std::optional<std::uint64_t> PhysicalMemoryBytes() const override { return memory; }
};

class ComputerInspectors : public testing::Test {
protected:
    FakeSystem system;

private:
    platform::ScopedSystemSource installed{system};
};

} // namespace

TEST_F(ComputerInspectors, AnswersFromTheSystem) {
    Expect({{"(hostname, dns name, computer name, name of computer)",
             "build-host, build-host, build-host, build-host"},
            {"(name of it, release of it, release of it > \"12.3\") of operating system",
             "Debian GNU/Linux, 12.4, True"},
            {"operating system as string", "Debian GNU/Linux 12.4"},
            {"build number of operating system", "20240101"},
            {"boot time of operating system", TimeText(moment{1700000000LL * 1000000})},
            {"(number of processors, type of main processor)", "3, AMD EPYC"},
            {"types of processors", "AMD EPYC; AMD EPYC; AMD EPYC"},
            {"family names of processors", "AuthenticAMD; AuthenticAMD; AuthenticAMD"},
            {"speeds of processors", "2400 MHz; 2400 MHz; 2400 MHz"},
            {"size of ram", "17179869184"}});
    int const before = system.releaseReads;
    Answer("name of operating system");
    Answer("name of operating system");
    EXPECT_EQ(system.releaseReads, before + 2) << "the release file is read on every request";
}

TEST_F(ComputerInspectors, WhatTheSystemCannotSayDoesNotExist) {
    system.hostName.reset();
    system.release = {"", "", ""};
    system.speed.reset();
    system.memory.reset();
    system.processors = 1;
    Expect(
        {{"(exists hostname, exists computer)", "False, True"},
         {"name of operating system", "Linux"},
         {"exists release of operating system", "False"},
         {"exists (operating system as string)", "False"},
         {"(exists speed of main processor, exists size of ram, exists ram)", "False, False, True"},
         {"number of processors", "1"}});
    system.release.versionId = "rolling";
    system.kernel.reset();
    Expect(
        {{"exists release of operating system", "False"},
         {"(exists operating system, exists architecture of operating system)", "False, False"}});
}

// The uptime itself is checked against the running system.
TEST_F(ComputerInspectors, BootSecondsTooManyForMicrosecondsMakeNoTime) {
    system.bootSeconds = INT64_MAX / 10;
    Expect({{"(exists boot time of it, exists uptime of it) of operating system", "False, False"}});
}

TEST_F(ComputerInspectors, AKnownResponseCodeNamesTheProcessorElseTheSystemText) {
    system.processor = {platform::FourCharCode("i586"), "Pentium 75", "GenuineIntel"};
    Expect({{"(type of it, family name of it) of main processor", "i586, i586"}});
    system.processor = {274, "7447A, altivec supported", ""};
    Expect({{"type of main processor", "PowerPC G4 7447"}});
    system.processor = {0, "", ""};
    Expect({{"(type of it, family name of it) of main processor", "unknown, unknown"}});
}

// The table itself is the code; what matters is that codes outside it and
// next to it name nothing, and that a code is built with its first character
// in the high byte.
TEST(ProcessorName, CodesOutsideTheTableAreUnknown) {
    EXPECT_STREQ(ProcessorName(316), "PowerPC G5 970FX");
    EXPECT_STREQ(ProcessorName(platform::FourCharCode("ixxx")), "ixxx");
    for (std::uint32_t other : {0u, 256u, 258u, 261u, 267u, 269u, 289u, 0x36383669u})
        EXPECT_STREQ(ProcessorName(other), "unknown") << other;
    EXPECT_EQ(platform::FourCharCode("i586"), 0x69353836u);
}

TEST(OsReleaseText, ReadsQuotedAndBareValuesTheLastAssignmentWinning) {
    std::string const text = "# comment\nNAME=\"Debian GNU/Linux\"\nVERSION_ID='12'\n"
                             "PRETTY_NAME=\"Say \\\"hi\\\"\"\nBUILD_ID=rolling\n  ID=debian  \n"
                             "BUILD_ID=2024-05\nNAMES=wrong\n";
    EXPECT_EQ(platform::OsReleaseValue(text, "PRETTY_NAME"), "Say \"hi\"");
    EXPECT_EQ(platform::OsReleaseValue(text, "ID"), "debian");
    EXPECT_EQ(platform::OsReleaseValue(text, "VERSION"), std::nullopt);
    EXPECT_EQ(platform::OsReleaseValue("NAME=\"unterminated\nX=1", "NAME"), "\"unterminated");
    platform::OsRelease const release = platform::ParseOsRelease(text);
    EXPECT_EQ(release.name + "|" + release.versionId + "|" + release.buildId,
              "Debian GNU/Linux|12|2024-05");
    EXPECT_EQ(platform::ParseOsRelease("").name, "");
}

TEST(CpuInfoText, ReadsTheFirstProcessorAndKnownResponseCodes) {
    std::string const x86 = "processor\t: 0\nvendor_id\t: GenuineIntel\ncpu family\t: 6\n"
                            "model\t\t: 85\nmodel name\t: Intel(R) Xeon(R) Gold 6148\n"
                            "cpu MHz\t\t: 2394.374\n\nprocessor\t: 1\nvendor_id\t: Other\n"
                            "cpu MHz\t\t: 1000.000\n";
    EXPECT_EQ(platform::ParseCpuInfo(x86).vendor, "GenuineIntel");
    // The text, its code, model (when checked) and speed.
    struct {
        std::string text;
        std::uint32_t code;
        char const* model = nullptr;
        std::optional<std::uint64_t> speed = std::nullopt;
    } const cases[] = {
        {x86, 0, "Intel(R) Xeon(R) Gold 6148", 2394374000},
        {"processor\t: 0\ncpu\t\t: 7447A, altivec supported\nclock\t\t: 1250.000000MHz\n", 274,
         "7447A, altivec supported", 1250000000},
        {"vendor_id : GenuineIntel\ncpu family : 5\nmodel : 2\n", platform::FourCharCode("i586")},
        {"vendor_id : GenuineIntel\ncpu family : 6\nmodel : 1\n", platform::FourCharCode("i5pr")},
        {"vendor_id : GenuineIntel\ncpu family : 6\nmodel : 5\n", platform::FourCharCode("i5ii")},
        {"vendor_id : x\ncpu family : 4x\n", 0},
        {"cpu : PPC970FX, altivec supported\n", 316},
        {"cpu : PPC970\n", 313},
        {"cpu : POWER9\n", 0},
        {"processor : 0\nBogoMIPS : 50\n", 0, ""},
        {"processor : 0\n", 0},
        {"cpu MHz : fast\n", 0},
        {"cpu MHz : 99999999999999999999\n", 0},
    };
    for (auto const& c : cases) {
        platform::ProcessorIdentity const identity = platform::ParseCpuInfo(c.text);
        EXPECT_EQ(identity.code, c.code) << c.text;
        if (c.model) {
            EXPECT_EQ(identity.model, c.model) << c.text;
        }
        EXPECT_EQ(platform::ParseCpuInfoSpeed(c.text), c.speed) << c.text;
    }
}

TEST(MemInfoText, ReadsMemTotalInKilobytes) {
    EXPECT_EQ(platform::ParseMemTotal("MemTotal:       16303412 kB\nMemFree: 1 kB\n"),
              16303412ull * 1024);
    EXPECT_EQ(platform::ParseMemTotal("MemFree: 1 kB\nMemTotal: 2 kB"), 2048u);
    for (char const* none :
         {"MemTotal: 2 MB\n", "MemTotal: lots kB\n", "MemTotal: 18446744073709551615 kB\n", ""})
        EXPECT_EQ(platform::ParseMemTotal(none), std::nullopt) << none;
}
