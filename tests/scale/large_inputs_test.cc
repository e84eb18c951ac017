// Inputs far larger than the transcripts' worlds, answered through zorq:
// a usage folder of 10,000 summary files and a site section of 100,000
// settings. The answers must be complete, and nothing may crash or hang.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <string>

#include "settings/agent_settings.h"
#include "tests/files/temp_tree.h"
#include "tests/support/subprocess.h"

namespace {

std::string Zorq(TempTree const& tree, std::string const& expression) {
    auto const outcome =
        zorq::testing::run(ZORQ_PATH, {"--agent-state", tree.Path("a.json"), "--preferences",
                                       tree.Path("preferences"), "--", expression});
    EXPECT_EQ(outcome.err, "");
    return outcome.out;
}

} // namespace

TEST(LargeInputs, TenThousandSummaryFiles) {
    TempTree const tree;
    tree.Folder("preferences");
    std::string usage;
    for (int i = 0; i < 10000; ++i) {
        std::string const name = "app " + std::to_string(i);
        tree.Write("store/global/usage/" + name + ".stat", "");
        usage += (i ? ", \"" : "\"") + name + R"(": {"summary": {"total_run_count": 1}})";
    }
    // Passed over: no statistics, bytes that are not UTF-8, no extension.
    tree.Write("store/global/usage/caf\xE9.stat", "");
    tree.Write("store/global/usage/app 1", "");
    tree.Write("a.json", R"({"storage": "store", "usage": {)" + usage + "}}");
    EXPECT_EQ(Zorq(tree, "number of application usage summaries"), "A: 10000\n");
    EXPECT_EQ(Zorq(tree, "sum of total run counts of application usage summaries"), "A: 10000\n");
}

TEST(LargeInputs, HundredThousandSettingsOfASite) {
    TempTree const tree;
    tree.Write("a.json", R"({"sites": {"list": [{"name": "big", "url": "http://h/big"}]}})");
    setenv("ZOR_PREFERENCES_DIR", tree.Path("preferences").c_str(), 1);
    auto& sites = MacintoshPlatform::ZORSitesStore();
    for (int i = 0; i < 100000; ++i)
        sites.Set(ConstData("big"), ConstData("s" + std::to_string(i)), ConstData("v"),
                  Instant::Now());
    sites.Flush();
    EXPECT_EQ(Zorq(tree, "number of settings of site \"big\""), "A: 100000\n");
    EXPECT_EQ(Zorq(tree, "value of setting \"s99999\" of site \"big\""), "A: v\n");
}
