#include "tools/zorq/plugin.h"

#include <dlfcn.h>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zorq {
namespace {

std::filesystem::path const probe = PROBE_PLUGIN;

bool isLoaded(std::filesystem::path const& path) {
    void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
    if (handle == nullptr)
        return false;
    dlclose(handle);
    return true;
}

// Looks the probe's function up among the global symbols. The lookup runs in
// a child process because a lookup from the program pins the library for good.
int callProbeInChild() {
    pid_t const child = fork();
    if (child == 0) {
        auto const answer = reinterpret_cast<int (*)()>(dlsym(RTLD_DEFAULT, "zorq_probe_answer"));
        _exit(answer == nullptr ? 1 : answer());
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(ZorqPlugin, LoadsGloballyAndClosesWhenTheOwnerGoes) {
    ASSERT_FALSE(isLoaded(probe));
    {
        auto plugin = Plugin::load(probe);
        EXPECT_EQ(plugin.path(), probe);
        EXPECT_TRUE(isLoaded(probe));
        EXPECT_EQ(callProbeInChild(), 42) << "symbols are visible to libraries loaded later";
        auto moved = std::move(plugin);
        Plugin other = Plugin::load(probe);
        other = std::move(moved);
        EXPECT_TRUE(isLoaded(probe));
    }
    EXPECT_FALSE(isLoaded(probe));
    EXPECT_EQ(callProbeInChild(), 1);
}

TEST(ZorqPlugin, FailureNamesThePath) {
    try {
        Plugin::load("/nonexistent/libZORInspectors.so");
        FAIL() << "loading a missing library succeeded";
    } catch (PluginError const& error) {
        EXPECT_NE(std::string(error.what()).find("/nonexistent/libZORInspectors.so"),
                  std::string::npos);
    }
    // A bare name is a file in the current folder, not a search of the library path.
    EXPECT_THROW(Plugin::load("libc.so.6"), PluginError);
}

TEST(ZorqPlugin, DefaultLocationsAreRelativeToTheExecutable) {
    auto const locations = defaultPluginLocations("/opt/zor/bin");
    ASSERT_EQ(locations.size(), 2u);
    EXPECT_EQ(locations[0].lexically_normal(), "/opt/inspectors/libZORInspectors.so");
    EXPECT_EQ(locations[1].lexically_normal(), "/opt/zor/lib/libZORInspectors.so");
    EXPECT_EQ(executableFolder(), std::filesystem::canonical("/proc/self/exe").parent_path());
}

TEST(ZorqPlugin, LoadsTheFirstPresentCandidate) {
    EXPECT_FALSE(loadFirstPresent({"/nonexistent/a.so", "/nonexistent/b.so"}).has_value());
    {
        auto const plugin = loadFirstPresent({"/nonexistent/a.so", probe, "/nonexistent/b.so"});
        ASSERT_TRUE(plugin.has_value());
        EXPECT_EQ(plugin->path(), probe);
    }
    EXPECT_FALSE(isLoaded(probe));

    // Present but not a library: that is a fault to report, not to skip.
    auto const junk =
        std::filesystem::temp_directory_path() / ("zorq-junk-" + std::to_string(getpid()) + ".so");
    std::ofstream(junk) << "not a shared object";
    EXPECT_THROW(loadFirstPresent({junk, probe}), PluginError);
    std::filesystem::remove(junk);
}

} // namespace
} // namespace zorq
