// The plug-in's system families on the machine the tests run on: every
// answer is checked against what the system says when asked directly
// (uname, /proc, sysfs), never against fixed values. Only a
// loopback interface and a few processes are assumed.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/utsname.h>
#include <unistd.h>
#include <vector>

#include "evaluator/helpers.h"
#include "tests/framework/loaded_plugin.h"
#include "tests/system/ask.h"

using system_test::Answer;
using system_test::Answers;
using system_test::Ask;

namespace {

class LiveSystem : public PluginSuite {};

std::string FileText(char const* path) {
    std::stringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

// The number after `key` in a /proc text ("btime 1700000000").
long long NumberAfter(std::string const& text, std::string const& key) {
    std::size_t const at = text.find(key);
    return at == std::string::npos ? -1 : std::atoll(text.c_str() + at + key.size());
}

// The os-release value of a key, as a shell reads the file.
std::string OsReleaseValue(std::string const& key) {
    FILE* shell = popen((". /etc/os-release 2>/dev/null; printf %s \"$" + key + "\"").c_str(), "r");
    char value[256];
    std::size_t const length = std::fread(value, 1, sizeof value, shell);
    pclose(shell);
    return std::string(value, length);
}

} // namespace

TEST_F(LiveSystem, ComputerAndOperatingSystemAgreeWithUnameAndTheReleaseFile) {
    char name[256] = {};
    ASSERT_EQ(gethostname(name, sizeof name - 1), 0);
    EXPECT_EQ(Answer("hostname"), name);
    utsname names{};
    ASSERT_EQ(uname(&names), 0);
    EXPECT_EQ(Answer("architecture of operating system"), names.machine);
    EXPECT_EQ(Answer("build of operating system"), names.version);
    std::string const os = OsReleaseValue("NAME");
    EXPECT_EQ(Answer("name of operating system"), os.empty() ? "Linux" : os);
    std::string const build = OsReleaseValue("BUILD_ID");
    EXPECT_EQ(Answer("build number of operating system"), build.empty() ? names.release : build);
    std::string const release = OsReleaseValue("VERSION_ID");
    if (!release.empty()) {
        EXPECT_EQ(Answer("release of operating system"), release);
    }
}

TEST_F(LiveSystem, TimesProcessorsAndMemoryAgreeWithProc) {
    long long const btime = NumberAfter(FileText("/proc/stat"), "\nbtime ");
    ASSERT_GT(btime, 0);
    moment const boot = TextToTime(ConstData(Answer("boot time of operating system")));
    EXPECT_NEAR(boot.microseconds / 1000000, btime, 1);
    time_interval const uptime =
        TextToTimeInterval(ConstData(Answer("uptime of operating system")));
    EXPECT_NEAR(uptime.microseconds / 1e6, std::atof(FileText("/proc/uptime").c_str()), 2.0);

    EXPECT_EQ(Answer("number of processors"), std::to_string(sysconf(_SC_NPROCESSORS_ONLN)));
    Answers const types = Ask("types of processors");
    ASSERT_FALSE(types.empty());
    EXPECT_EQ(Answers(types.size(), types.front()), types);
    EXPECT_EQ(Answer("type of main processor"), types.front());
    long long const kilobytes = NumberAfter(FileText("/proc/meminfo"), "MemTotal:");
    EXPECT_EQ(Answer("size of ram"), std::to_string(kilobytes * 1024));
}

// The inspectors' rules are checked on stand-in lists; here only that the
// machine's own list is the one read.
TEST_F(LiveSystem, NetworkHasTheLoopbackInterface) {
    EXPECT_EQ(Answer("exists ip interface whose (loopback of it) of network"), "True");
}

TEST_F(LiveSystem, ProcessesAgreeWithProc) {
    std::string comm = FileText("/proc/self/comm");
    comm.erase(comm.find_last_not_of('\n') + 1);
    std::string const self = std::to_string(getpid());
    EXPECT_EQ(Answer("(name of it, pid of it) of process " + self), comm + ", " + self);
    EXPECT_EQ(Answer("names of processes whose (pid of it = " + self + ")"), comm);
}

TEST_F(LiveSystem, ServicePlaneIsSysDevices) {
    std::filesystem::path const devices = "/sys/devices";
    // Its subfolders (no links), by name.
    std::vector<std::string> names;
    for (auto const& entry : std::filesystem::directory_iterator(devices))
        if (entry.is_directory() && !entry.is_symlink())
            names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    EXPECT_EQ(Ask("names of nodes of service plane of iokit registry"), names);
}

TEST_F(LiveSystem, FirmwareVersionIsDmisWithoutADeviceTree) {
    if (std::filesystem::exists("/sys/firmware/devicetree/base")) {
        GTEST_SKIP() << "this machine has a device tree";
    }
    std::string version = FileText("/sys/class/dmi/id/bios_version");
    version.erase(version.find_last_not_of('\n') + 1);
    if (version.empty()) {
        EXPECT_EQ(Answer("exists version of bios"), "False");
    } else {
        EXPECT_EQ(Answer("version of bios"), version);
        EXPECT_EQ(Answer("bios as string"), version);
    }
}
