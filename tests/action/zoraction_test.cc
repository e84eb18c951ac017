#include "tools/zoraction/action_check.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <utility>
#include <vector>

namespace {

constexpr char const* kDigest = "0123456789abcdef0123456789abcdef01234567";

// A script in LF form.
std::string SampleScript() {
    return std::string("// install the tool\n"
                       "prefetch tool.pkg sha1:") +
           kDigest +
           " size:2048 http://s/tool.pkg\n"
           "\n"
           "if {exists file \"/x\"}\n"
           "  createfile until @END\n"
           "#!/bin/sh\n"
           "echo hi\n"
           "@END\n"
           "else\n"
           "  download http://s/extra.zip\n"
           "  continue if {size of file \"extra.zip\" = 10}\n"
           "endif\n"
           "notify client ForceRefresh\n";
}

} // namespace

// The pieces come from parser functions tested on their own; here only
// that each reaches the report, in text and JSON form. The command's own
// transcript (zoraction.zt) checks its options, input and exit status.
TEST(ActionCheck, ReportsCountsVersionLinesAndDownloads) {
    ActionCheck const check = CheckActionScript(SampleScript());
    std::string const text = FormatText(check, ReportParts{false, true});
    EXPECT_NE(text.find("action lines: 12\n"), std::string::npos);
    EXPECT_NE(text.find("required version: 6.0.14.0\n"), std::string::npos);
    EXPECT_NE(text.find("1. tool.pkg (required)"), std::string::npos);
    EXPECT_NE(text.find("hash: sha1:" + std::string(kDigest)), std::string::npos);
    EXPECT_EQ(text.find("lines:\n"), std::string::npos);
    nlohmann::json const json = FormatJson(check, ReportParts{true, false});
    EXPECT_EQ(json["actionLines"], 12);
    EXPECT_EQ(json["lines"][4], "#!/bin/sh");
    EXPECT_FALSE(json.contains("downloads"));
    nlohmann::json const downloads = FormatJson(check, ReportParts{false, true})["downloads"];
    EXPECT_EQ(downloads[1]["url"], "http://s/extra.zip");
    EXPECT_EQ(downloads[1]["required"], false);
    ReportParts const all{true, true};
    for (char const* ending : {"\r\n", "\r"}) {
        EXPECT_EQ(FormatJson(CheckActionScript(
                                 std::regex_replace(SampleScript(), std::regex("\n"), ending)),
                             all),
                  FormatJson(check, all))
            << "line end " << int(ending[1]);
    }
}

// The run alone sees the open if; the download listing alone sees the bad
// name. While downloads are listed, a createfile body in a branch not taken
// is skipped twice, so the agent needs its delimiter a second time.
TEST(ActionCheck, ReportsTheEarliestErrorOfAnyReading) {
    for (auto const& [script, report] : std::vector<std::pair<char const*, char const*>>{
             {"delete a\nif x\ndelete b\n", "line 3: Missing Endif.\n"},
             {"delete a\nprefetch bad_name sha1:1 size:1 u\n",
              "line 2: Download name is invalid.\n"},
             {"prefetch a sha1:1\nif x\n", "line 1: Prefetch command syntax error.\n"},
             {"if x\nelse\ncreatefile until @END\nbody\n@END\nendif\n",
              "line 5: Missing 'createfile until' end delimiter.\n"},
             {"else\n", "line 1: Else encountered without If.\n"}}) {
        EXPECT_EQ(FormatText(CheckActionScript(script), ReportParts{}), report);
    }
}
