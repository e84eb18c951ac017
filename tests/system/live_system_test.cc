// The plug-in's system families on the machine the tests run on: every
// answer is checked against what the system says when asked directly
// (uname, /proc, getifaddrs, sysfs), never against fixed values. Only a
// loopback interface and a few processes are assumed.
#include <gtest/gtest.h>

#include <algorithm>
#include <arpa/inet.h>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <ifaddrs.h>
#include <netinet/in.h>
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

namespace fs = std::filesystem;

std::size_t ProcessDirectories() {
    return std::count_if(fs::directory_iterator("/proc"), fs::directory_iterator(),
                         [](fs::directory_entry const& entry) {
                             return std::isdigit(entry.path().filename().string()[0]) != 0;
                         });
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

TEST_F(LiveSystem, NetworkAgreesWithGetifaddrs) {
    std::size_t all = 0, links = 0;
    Answers ipNames, ipAddresses;
    ifaddrs* list = nullptr;
    ASSERT_EQ(getifaddrs(&list), 0);
    for (ifaddrs* entry = list; entry; entry = entry->ifa_next) {
        ++all;
        int const family = entry->ifa_addr ? entry->ifa_addr->sa_family : AF_UNSPEC;
        links += family == AF_PACKET;
        if (family == AF_INET) {
            char text[INET_ADDRSTRLEN];
            inet_ntop(AF_INET, &reinterpret_cast<sockaddr_in*>(entry->ifa_addr)->sin_addr, text,
                      sizeof text);
            ipNames.push_back(entry->ifa_name);
            ipAddresses.push_back(text);
        }
    }
    freeifaddrs(list);
    EXPECT_EQ(Answer("number of interfaces of network"), std::to_string(all));
    EXPECT_EQ(Answer("number of link interfaces of network"), std::to_string(links));
    EXPECT_EQ(Ask("names of ip interfaces of network"), ipNames);
    EXPECT_EQ(Ask("addresses of ip interfaces of network"), ipAddresses);
    EXPECT_EQ(Answer("exists ip interface whose (loopback of it) of network"), "True");
}

TEST_F(LiveSystem, ProcessesAgreeWithProc) {
    std::string comm = FileText("/proc/self/comm");
    comm.erase(comm.find_last_not_of('\n') + 1);
    std::string const self = std::to_string(getpid());
    EXPECT_EQ(Answer("(name of it, pid of it) of process " + self), comm + ", " + self);
    EXPECT_EQ(Answer("names of processes whose (pid of it = " + self + ")"), comm);

    std::size_t const before = ProcessDirectories();
    long long const counted = std::stoll(Answer("number of processes"));
    std::size_t const after = ProcessDirectories();
    // Other processes may start and end meanwhile; the count stays close.
    EXPECT_GE(counted + 20, static_cast<long long>(std::min(before, after)));
    EXPECT_LE(counted, static_cast<long long>(std::max(before, after)) + 20);
}

TEST_F(LiveSystem, ServicePlaneIsSysDevices) {
    fs::path const devices = "/sys/devices";
    // Its subfolders (no links), by name.
    std::vector<std::string> names;
    for (auto const& entry : fs::directory_iterator(devices))
        if (entry.is_directory() && !entry.is_symlink())
            names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    EXPECT_EQ(Ask("names of nodes of service plane of iokit registry"), names);
    EXPECT_EQ(Ask("names of nodes of node \"IOService:/\" of iokit registry"), names);
    Answers classes;
    for (std::string const& name : names) {
        std::error_code none;
        fs::path const subsystem = fs::read_symlink(devices / name / "subsystem", none);
        classes.push_back(none ? "IOService" : subsystem.filename().string());
    }
    EXPECT_EQ(Ask("classnames of nodes of service plane of iokit registry"), classes);
}

TEST_F(LiveSystem, EveryServiceNodeHasADictionary) {
    std::size_t nodes = 0;
    fs::path const devices = "/sys/devices";
    auto const options = fs::directory_options::skip_permission_denied;
    for (auto it = fs::recursive_directory_iterator(devices, options); it != fs::end(it); ++it) {
        if (!it->is_directory() || it->is_symlink()) {
            continue;
        }
        std::string const path = "IOService:/" + fs::relative(it->path(), devices).string();
        std::string const keys =
            Answer("number of keys of dictionary of node \"" + path + "\" of iokit registry");
        EXPECT_TRUE(!keys.empty() && keys.find_first_not_of("0123456789") == std::string::npos)
            << path << ": " << keys;
        ++nodes;
    }
    EXPECT_GT(nodes, 0u);
}

TEST_F(LiveSystem, FirmwareVersionIsDmisWithoutADeviceTree) {
    if (fs::exists("/sys/firmware/devicetree/base")) {
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
