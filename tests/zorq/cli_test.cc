// zorq as a user runs it: a separate process, its output and exit status.
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

// A file removed when the test ends.
class TemporaryFile {
public:
    explicit TemporaryFile(std::string const& contents)
        : path_(std::filesystem::temp_directory_path() /
                ("zorq-cli-" + std::to_string(getpid()) + "-" + std::to_string(++count_))) {
        std::ofstream(path_) << contents;
    }
    TemporaryFile(TemporaryFile const&) = delete;
    TemporaryFile& operator=(TemporaryFile const&) = delete;
    ~TemporaryFile() { std::filesystem::remove(path_); }
    std::string path() const { return path_.string(); }

private:
    static inline int count_ = 0;
    std::filesystem::path path_;
};

TEST(ZorqCli, PrintsEachAnswerOnItsOwnLine) {
    auto const outcome = zorq({"1 + 2 * 3", "\"ab\" & \"cd\"", "(1; 2; 3)"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, "A: 7\nA: abcd\nA: 1\nA: 2\nA: 3\n");
    EXPECT_EQ(outcome.err, "");
}

TEST(ZorqCli, AnEmptyPluralIsNoAnswerAndNoError) {
    auto const outcome = zorq({"(1; 2) whose (it > 5)"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.out, "");
}

TEST(ZorqCli, ErrorsCarryTheColumnAndMakeTheStatusOne) {
    auto const outcome = zorq({"1 + 1", "length of 5", "2 + )", "3"});
    EXPECT_EQ(outcome.status, 1);
    auto const output = lines(outcome.out);
    ASSERT_EQ(output.size(), 4u) << outcome.out;
    EXPECT_EQ(output[0], "A: 2");
    EXPECT_THAT(output[1], StartsWith("E: column 1: "));
    EXPECT_THAT(output[1], HasSubstr("\"length\""));
    EXPECT_THAT(output[1], HasSubstr("\"integer\""));
    EXPECT_THAT(output[2], StartsWith("E: column 5: "));
    EXPECT_EQ(output[3], "A: 3") << "later expressions still run";
}

TEST(ZorqCli, EvaluationErrorsHaveNoColumn) {
    auto const outcome = zorq({"1 / 0", "--json", "character 9 of \"abc\""});
    EXPECT_EQ(outcome.status, 1);
    auto const output = lines(outcome.out);
    ASSERT_EQ(output.size(), 2u) << outcome.out;
    EXPECT_THAT(output[0], StartsWith("{"));
    auto const json = Json::parse(output[0]);
    EXPECT_EQ(json["error"]["kind"], "evaluation");
    EXPECT_EQ(json["error"]["column"], 0);
    EXPECT_EQ(json["type"], "integer") << "it compiled before it failed";
    EXPECT_EQ(Json::parse(output[1])["error"]["kind"], "evaluation");
}

TEST(ZorqCli, TimePrintsMicrosecondsAfterEachExpression) {
    auto const outcome = zorq({"-t", "(1; 2)", "length of 5"});
    EXPECT_EQ(outcome.status, 1);
    auto const output = lines(outcome.out);
    ASSERT_EQ(output.size(), 5u) << outcome.out;
    std::regex const time("T: [0-9]+ us");
    EXPECT_EQ(output[0], "A: 1");
    EXPECT_EQ(output[1], "A: 2");
    EXPECT_TRUE(std::regex_match(output[2], time)) << output[2];
    EXPECT_THAT(output[3], StartsWith("E: "));
    EXPECT_TRUE(std::regex_match(output[4], time)) << output[4];
}

TEST(ZorqCli, JsonLines) {
    auto const outcome = zorq({"--json", "(1; 2)", "\"x\"", "length of 5", "1 +"});
    EXPECT_EQ(outcome.status, 1);
    auto const output = lines(outcome.out);
    ASSERT_EQ(output.size(), 4u) << outcome.out;
    auto const plural = Json::parse(output[0]);
    EXPECT_EQ(plural["expression"], "(1; 2)");
    EXPECT_EQ(plural["type"], "integer");
    EXPECT_EQ(plural["plural"], true);
    EXPECT_EQ(plural["answers"], Json::array({"1", "2"}));
    EXPECT_TRUE(plural["error"].is_null());
    EXPECT_GE(plural["time_us"].get<int>(), 0);

    auto const singular = Json::parse(output[1]);
    EXPECT_EQ(singular["type"], "string");
    EXPECT_EQ(singular["plural"], false);
    EXPECT_EQ(singular["answers"], Json::array({"x"}));

    auto const binding = Json::parse(output[2]);
    EXPECT_TRUE(binding["type"].is_null());
    EXPECT_EQ(binding["answers"], Json::array());
    EXPECT_EQ(binding["error"]["kind"], "binding");
    EXPECT_EQ(binding["error"]["column"], 1);
    EXPECT_THAT(binding["error"]["message"].get<std::string>(), HasSubstr("\"length\""));
    EXPECT_THAT(binding["error"]["message"].get<std::string>(),
                ::testing::Not(StartsWith("column")));

    EXPECT_EQ(Json::parse(output[3])["error"]["kind"], "syntax");
}

TEST(ZorqCli, ReadsFilesAndStandardInput) {
    TemporaryFile const file("// sums\n1 + 1\n\n   \n2 + 2\r\n   // indented comment\n");
    auto const outcome = zorq({"0", "-f", file.path(), "-f", "-", "5"}, "3\n4\n");
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.out, "A: 0\nA: 2\nA: 4\nA: 3\nA: 4\nA: 5\n");

    // With no expression and standard input not a terminal, lines come from it.
    auto const piped = zorq({}, "6 * 7\n// skip\n\"a\" & \"b\"\n");
    EXPECT_EQ(piped.status, 0);
    EXPECT_EQ(piped.out, "A: 42\nA: ab\n");
}

TEST(ZorqCli, BadUsageExitsWithTwoBeforeEvaluating) {
    auto const missing = zorq({"1", "-f", "/nonexistent/zorq/exprs.txt"});
    EXPECT_EQ(missing.status, 2);
    EXPECT_EQ(missing.out, "");
    EXPECT_THAT(missing.err, HasSubstr("cannot read file /nonexistent/zorq/exprs.txt"));

    for (std::vector<std::string> const& arguments : {std::vector<std::string>{"--bogus", "1"},
                                                      {"1", "-f"},
                                                      {"--max-time", "soon", "1"}}) {
        auto const outcome = zorq(arguments);
        EXPECT_EQ(outcome.status, 2) << arguments[0];
        EXPECT_EQ(outcome.out, "") << arguments[0];
        EXPECT_THAT(outcome.err, HasSubstr("zorq --help")) << arguments[0];
    }
}

TEST(ZorqCli, Help) {
    auto const outcome = zorq({"--help"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.out, StartsWith("Usage: zorq"));
    EXPECT_THAT(outcome.out, HasSubstr("--phrases"));
    EXPECT_EQ(outcome.err, "");
}

TEST(ZorqCli, PhraseListingAsTableAndJson) {
    auto const table = zorq({"--phrases"});
    EXPECT_EQ(table.status, 0);
    auto const rows = lines(table.out);
    ASSERT_GT(rows.size(), 20u);
    EXPECT_THAT(rows[0], StartsWith("KIND"));
    std::regex const stringLength("property +length +lengths +string +- +integer");
    EXPECT_TRUE(std::any_of(rows.begin(), rows.end(), [&](auto const& row) {
        return std::regex_search(row, stringLength);
    })) << table.out;

    auto const json = zorq({"--phrases", "--json"});
    EXPECT_EQ(json.status, 0);
    auto const objects = lines(json.out);
    EXPECT_EQ(objects.size(), rows.size() - 1) << "one object per table row";
    bool foundLength = false;
    for (auto const& line : objects) {
        auto const entry = Json::parse(line);
        EXPECT_TRUE(entry["kind"].is_string());
        EXPECT_TRUE(entry["phrase"].is_string());
        foundLength = foundLength || (entry["phrase"] == "length" && entry["object"] == "string" &&
                                      entry["result"] == "integer");
    }
    EXPECT_TRUE(foundLength);

    // Expressions given beside --phrases still run after the listing.
    auto const both = zorq({"--phrases", "1 + 1"});
    EXPECT_TRUE(both.out.ends_with("\nA: 2\n"));
}

TEST(ZorqCli, InspectorsAreBuiltIn) {
    std::string const query = "value of variable \"ZORQ_TEST_VARIABLE\" of environment";
    auto const found = run(ZORQ_PATH, {query}, {}, {"ZORQ_TEST_VARIABLE=found"});
    EXPECT_EQ(found.status, 0) << found.err;
    EXPECT_EQ(found.out, "A: found\n");

    // Digests open libcrypto on first use.
    TemporaryFile const abc("abc");
    auto const digest = zorq({"sha1 of file \"" + abc.path() + "\""});
    EXPECT_EQ(digest.out, "A: a9993e364706816aba3e25717850c26c9cd0d89d\n") << digest.err;

    auto const listing = zorq({"--phrases"});
    EXPECT_THAT(listing.out, HasSubstr("environment variable"));
    EXPECT_THAT(listing.out, HasSubstr("operating system"));
}

// The inspectors read the folder from the environment that zorq hands them.
TEST(ZorqCli, PreferencesFolder) {
    auto const folder = std::filesystem::temp_directory_path().string();
    auto const seen = run(ZORQ_PATH,
                          {"--preferences", folder,
                           "value of variable \"ZOR_PREFERENCES_DIR\" of environment"},
                          {}, {"ZOR_PREFERENCES_DIR=/elsewhere"});
    EXPECT_EQ(seen.status, 0) << seen.err;
    EXPECT_EQ(seen.out, "A: " + folder + "\n");

    auto const missing = zorq({"--preferences", "/nonexistent/prefs", "1"});
    EXPECT_EQ(missing.status, 2);
    EXPECT_EQ(missing.out, "");
    EXPECT_THAT(missing.err, HasSubstr("/nonexistent/prefs"));
}

// Counts the fields of a long comma-separated string given on standard input.
std::string countFieldsOfLongString(int fields) {
    std::string expression = "number of substrings separated by \",\" of \"x";
    for (int field = 1; field < fields; ++field)
        expression += ",x";
    return expression + "\"\n";
}

TEST(ZorqCli, BudgetsStopLongEvaluations) {
    auto const shortList = countFieldsOfLongString(2000);
    auto const unlimited = zorq({"-f", "-"}, shortList);
    EXPECT_EQ(unlimited.status, 0) << unlimited.out;
    EXPECT_EQ(unlimited.out, "A: 2000\n");

    auto const enoughSteps = zorq({"--max-steps", "5000", "-f", "-"}, shortList);
    EXPECT_EQ(enoughSteps.out, "A: 2000\n");
    auto const fewSteps = zorq({"--max-steps", "100", "-f", "-"}, shortList);
    EXPECT_EQ(fewSteps.status, 1);
    EXPECT_EQ(fewSteps.out,
              "E: EvaluationInterrupted: the evaluation ran past its time or step budget\n");

    auto const longList = countFieldsOfLongString(1000000);
    auto const enoughTime = zorq({"--max-time", "60000", "-f", "-"}, longList);
    EXPECT_EQ(enoughTime.out, "A: 1000000\n");
    auto const littleTime = zorq({"--max-time", "1", "-f", "-"}, longList);
    EXPECT_EQ(littleTime.status, 1);
    EXPECT_EQ(littleTime.out,
              "E: EvaluationInterrupted: the evaluation ran past its time or step budget\n");
}

} // namespace
} // namespace zorq::testing
