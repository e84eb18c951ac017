#include "action/download_configuration.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// The redirection rule is process-wide; every test starts and ends with it off.
class DownloadConfigurationTest : public ::testing::Test {
protected:
    void SetUp() override { DownloadConfiguration::SetPortRedirectionTunnel(0, 0); }
    void TearDown() override { DownloadConfiguration::SetPortRedirectionTunnel(0, 0); }

    static std::vector<std::string> AllSources(DownloadConfiguration& config,
                                               std::string const& hashValue) {
        std::vector<std::string> sources;
        Stringy result;
        while (config.GetNextSource(result, 7, "http://origin/f.zip", Stringy(hashValue), "sha1"))
            sources.push_back(result.str());
        return sources;
    }

    static std::string Transform(char const* url) {
        Stringy result("previous");
        DownloadConfiguration::TransformURL(url, result);
        return result.str();
    }
};

using Sources = std::vector<std::string>;

} // namespace

TEST_F(DownloadConfigurationTest, SingleSourceGivesOneUrl) {
    DownloadConfiguration direct;
    EXPECT_EQ(AllSources(direct, "abc"), Sources{"http://origin/f.zip"});
    DownloadConfiguration mirrored;
    mirrored.SetMirrorUrl("http://mirror", 3);
    EXPECT_EQ(AllSources(mirrored, "abc"), Sources{"http://mirror/3/7"});
    // Setting the mirror goes back to a single source.
    DownloadConfiguration reset;
    reset.SetSingleSource(false);
    reset.SetMirrorUrl("http://m", 1);
    EXPECT_EQ(AllSources(reset, "abc"), Sources{"http://m/1/7"});
}

TEST_F(DownloadConfigurationTest, MultipleSourcesGoHashThenNumberThenDirect) {
    DownloadConfiguration config;
    config.SetMirrorUrl("http://mirror", 3);
    config.SetSingleSource(false);
    config.SetCheckHash(true);
    config.SetDirect(true);
    EXPECT_EQ(AllSources(config, "abc"),
              (Sources{"http://mirror/sha1/abc", "http://mirror/3/7", "http://origin/f.zip"}));
    config.ResetSourceList();
    EXPECT_EQ(AllSources(config, "NULL"), (Sources{"http://mirror/3/7", "http://origin/f.zip"}));
    config.ResetSourceList();
    EXPECT_EQ(AllSources(config, ""), (Sources{"http://mirror/3/7", "http://origin/f.zip"}));
    config.ResetSourceList();
    config.SetCheckHash(false);
    config.SetDirect(false);
    EXPECT_EQ(AllSources(config, "abc"), Sources{"http://mirror/3/7"});
    // Without a mirror only the direct source is left.
    DownloadConfiguration noMirror;
    noMirror.SetSingleSource(false);
    noMirror.SetCheckHash(true);
    EXPECT_EQ(AllSources(noMirror, "abc"), Sources{});
    noMirror.SetDirect(true);
    noMirror.ResetSourceList();
    EXPECT_EQ(AllSources(noMirror, "abc"), Sources{"http://origin/f.zip"});
}

// The long port is 2^64 + 80, which would match if the number wrapped.
TEST_F(DownloadConfigurationTest, RedirectionRewritesOnlyPlainHttpOnTheSourcePort) {
    char const* const kept[] = {"http://h:80",
                                "https://h:80/p",
                                "HTTP://h:80/p",
                                "http://h:8080/p",
                                "http://h/p:80/",
                                "http://h",
                                "http://h:18446744073709551696/p"};
    EXPECT_EQ(Transform("http://h:80/p"), "http://h:80/p"); // rule off
    DownloadConfiguration::SetPortRedirectionTunnel(80, 443);
    EXPECT_EQ(Transform("http://h:80/p/q?x=1"), "https://h:443/p/q?x=1");
    for (char const* url : kept)
        EXPECT_EQ(Transform(url), url);
    EXPECT_EQ(Transform(nullptr), "");
    // One zero port turns the rule off.
    DownloadConfiguration::SetPortRedirectionTunnel(80, 0);
    EXPECT_EQ(Transform("http://h:80/p"), "http://h:80/p");
    DownloadConfiguration::SetPortRedirectionTunnel(0, 443);
    EXPECT_EQ(Transform("http://h:0/p"), "http://h:0/p");
}

TEST_F(DownloadConfigurationTest, RedirectionAppliesToEverySource) {
    DownloadConfiguration::SetPortRedirectionTunnel(52311, 52312);
    DownloadConfiguration config;
    config.SetMirrorUrl("http://relay:52311/mirror", 2);
    EXPECT_EQ(AllSources(config, "abc"), Sources{"https://relay:52312/mirror/2/7"});
}
