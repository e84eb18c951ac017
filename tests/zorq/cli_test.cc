// zorq as a user runs it with several expressions, files, options and JSON:
// what one question per run (the transcripts) cannot show.
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <regex>
#include <sstream>
#include <unistd.h>

#include "tests/support/subprocess.h"

namespace zorq::testing {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;
using Json = nlohmann::json;

Outcome zorq(std::vector<std::string> const& arguments, std::string const& input = {}) {
    return run(ZORQ_PATH, arguments, input);
}

std::vector<std::string> lines(std::string const& text) {
    std::vector<std::string> result;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        result.push_back(line);
    return result;
}

TEST(ZorqCli, EachExpressionRunsInTurnAndAnyErrorMakesTheStatusOne) {
    auto const outcome = zorq({"1 + 2 * 3", "(1; 2)", "length of 5", "2 + )", "3"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.out, "A: 7\nA: 1\nA: 2\n"
                           "E: column 1: unknown phrase \"length\" of type \"integer\"\n"
                           "E: column 5: expected a value but found \")\"\nA: 3\n");
    EXPECT_EQ(outcome.err, "");
}

TEST(ZorqCli, TimePrintsMicrosecondsAfterEachExpression) {
    auto const output = lines(zorq({"-t", "(1; 2)", "length of 5"}).out);
    ASSERT_EQ(output.size(), 5u);
    std::regex const time("T: [0-9]+ us");
    EXPECT_EQ(output[1], "A: 2");
    EXPECT_TRUE(std::regex_match(output[2], time)) << output[2];
    EXPECT_THAT(output[3], StartsWith("E: "));
    EXPECT_TRUE(std::regex_match(output[4], time)) << output[4];
}

TEST(ZorqCli, JsonLines) {
    auto const outcome =
        zorq({"--json", "(1; 2)", "\"x\"", "length of 5", "1 +", "character 9 of \"abc\""});
    EXPECT_EQ(outcome.status, 1);
    auto const output = lines(outcome.out);
    ASSERT_EQ(output.size(), 5u) << outcome.out;
    auto const plural = Json::parse(output[0]);
    EXPECT_EQ(plural["expression"], "(1; 2)");
    EXPECT_EQ(plural["type"], "integer");
    EXPECT_EQ(plural["plural"], true);
    EXPECT_EQ(plural["answers"], Json::array({"1", "2"}));
    EXPECT_TRUE(plural["error"].is_null());
    EXPECT_GE(plural["time_us"].get<int>(), 0);
    EXPECT_EQ(Json::parse(output[1])["plural"], false);

    auto const binding = Json::parse(output[2]);
    EXPECT_TRUE(binding["type"].is_null());
    EXPECT_EQ(binding["answers"], Json::array());
    EXPECT_EQ(binding["error"]["kind"], "binding");
    EXPECT_EQ(binding["error"]["column"], 1);
    EXPECT_EQ(binding["error"]["message"], "unknown phrase \"length\" of type \"integer\"");
    EXPECT_EQ(Json::parse(output[3])["error"]["kind"], "syntax");

    auto const evaluation = Json::parse(output[4]);
    EXPECT_EQ(evaluation["error"]["kind"], "evaluation");
    EXPECT_EQ(evaluation["error"]["column"], 0);
    EXPECT_EQ(evaluation["type"], "substring") << "it compiled before it failed";
}

TEST(ZorqCli, ReadsFilesAndStandardInputInCommandLineOrder) {
    auto const file =
        std::filesystem::temp_directory_path() / ("zorq-cli-" + std::to_string(getpid()) + ".txt");
    std::ofstream(file) << "// sums\n1 + 1\n\n \t \n//\n\"a // b\"\r\n   // indented\n2 + 2";
    auto const outcome = zorq({"0", "-f", file.string(), "--file", "-", "5"}, "3\n4\n");
    std::filesystem::remove(file);
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "A: 0\nA: 2\nA: a // b\nA: 4\nA: 3\nA: 4\nA: 5\n");

    // With no expression and standard input not a terminal, lines come from it.
    EXPECT_EQ(zorq({}, "6 * 7\n// skip\n\"a\" & \"b\"\n").out, "A: 42\nA: ab\n");
}

TEST(ZorqCli, BadUsageExitsWithTwoBeforeEvaluating) {
    struct Case {
        std::vector<std::string> arguments;
        char const* message;
    } const cases[] = {
        {{"1", "-f", "/nonexistent/zorq/exprs.txt"},
         "cannot read file /nonexistent/zorq/exprs.txt"},
        {{"1", "-f", "/"}, "cannot read file /"},
        {{"--preferences", "/nonexistent/prefs", "1"}, "/nonexistent/prefs"},
        {{"--bogus", "1"}, "zorq --help"},
    };
    for (Case const& c : cases) {
        auto const outcome = zorq(c.arguments);
        EXPECT_EQ(outcome.status, 2) << c.message;
        EXPECT_EQ(outcome.out, "") << c.message;
        EXPECT_THAT(outcome.err, HasSubstr(c.message));
    }
    auto const help = zorq({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_THAT(help.out, StartsWith("Usage: zorq"));
}

TEST(ZorqCli, PhraseListingAsAlignedTableAndSortedJsonThenTheExpressions) {
    auto const table = zorq({"--phrases"});
    EXPECT_EQ(table.status, 0);
    auto const rows = lines(table.out);
    ASSERT_GT(rows.size(), 20u);
    EXPECT_THAT(rows[0], StartsWith("KIND"));
    std::regex const stringLength("property +length +lengths +string +- +integer");
    EXPECT_TRUE(std::any_of(rows.begin(), rows.end(), [&](auto const& row) {
        return std::regex_search(row, stringLength);
    })) << table.out;
    EXPECT_THAT(table.out, HasSubstr("environment variable")) << "the inspectors are built in";
    for (char const* heading : {"PHRASE", "PLURAL", "OBJECT", "INDEX", "RESULT"}) {
        auto const column = rows[0].find(heading);
        ASSERT_NE(column, std::string::npos) << heading;
        for (auto const& row : rows) {
            EXPECT_TRUE(row[column - 1] == ' ' && row[column] != ' ') << heading << ": " << row;
            EXPECT_NE(row.back(), ' ') << row;
        }
    }

    auto const objects = lines(zorq({"--phrases", "--json"}).out);
    EXPECT_EQ(objects.size(), rows.size() - 1) << "one object per table row";
    auto text = [](Json const& value) { return value.is_null() ? "" : value.get<std::string>(); };
    std::vector<std::string> previous;
    for (auto const& line : objects) {
        auto const entry = Json::parse(line);
        std::vector<std::string> key{text(entry["phrase"]), text(entry["object"]),
                                     text(entry["index"])};
        EXPECT_LE(previous, key) << "sorted by phrase, object and index";
        previous = key;
        if (key == std::vector<std::string>{"length", "string", ""}) {
            EXPECT_TRUE(entry["index"].is_null() && entry["result"] == "integer") << line;
        }
    }
    EXPECT_TRUE(zorq({"--phrases", "1 + 1"}).out.ends_with("\nA: 2\n"));
}

} // namespace
} // namespace zorq::testing
