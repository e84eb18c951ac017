#include "tools/zorq/format.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sstream>

namespace zorq {
namespace {

using Kind = zor::ExpressionError::Kind;
using Json = nlohmann::json;

Result answered(std::vector<std::string> answers) {
    Result result;
    result.expression = "(1; 2)";
    result.typeName = "integer";
    result.plural = true;
    result.answers = std::move(answers);
    result.time = std::chrono::microseconds(42);
    return result;
}

Result failed(Kind kind, int column, std::string message) {
    Result result;
    result.expression = "length of 5";
    result.failure = Failure{kind, column, std::move(message)};
    result.time = std::chrono::microseconds(7);
    return result;
}

TEST(ZorqFormat, CaretPointsAtTheColumnAfterThePrompt) {
    EXPECT_EQ(caretLine(3, 1), "   ^\n");
    EXPECT_EQ(caretLine(3, 7), "         ^\n");
    EXPECT_EQ(caretLine(0, 2), " ^\n");
    EXPECT_EQ(
        formatText(failed(Kind::Syntax, 5, "unexpected \")\""), {.time = false, .caretIndent = 3}),
        "       ^\nE: column 5: unexpected \")\"\n");
    // An evaluation error has no column to point at.
    EXPECT_EQ(formatText(failed(Kind::Evaluation, 0, "non-unique object"),
                         {.time = false, .caretIndent = 3}),
              "E: non-unique object\n");
}

TEST(ZorqFormat, JsonIsOneObjectPerLineInDocumentedOrderAndValidUtf8) {
    auto const line = formatJson(answered({"caf\xc3\xa9", "\xff\xfe", std::string("a\0b", 3)}));
    EXPECT_EQ(line.find('\n'), line.size() - 1) << "one object per line";
    EXPECT_TRUE(line.starts_with("{\"expression\":")) << "fields keep their documented order";
    auto const json = Json::parse(line);
    EXPECT_EQ(json["time_us"], 42);
    EXPECT_EQ(json["answers"][0], "caf\xc3\xa9");
    EXPECT_EQ(json["answers"][1], "\xef\xbf\xbd\xef\xbf\xbd");
    EXPECT_EQ(json["answers"][2], std::string("a\0b", 3));

    auto const failure = Json::parse(formatJson(failed(Kind::Syntax, 3, "bad \"x\"\nhere")));
    EXPECT_TRUE(failure["plural"].is_null());
    EXPECT_EQ(failure["error"]["message"], "bad \"x\"\nhere");
}

std::vector<zor::PhraseInfo> samplePhrases() {
    return {
        {"property", "length", "lengths", "", "string", "integer"},
        {"type", "integer", "", "", "", ""},
        {"iterated property", "substring separated by", "substrings separated by", "string",
         "string", "substring"},
        {"property", "length", "lengths", "", "file", "integer"},
    };
}

std::vector<std::string> lines(std::string const& text) {
    std::vector<std::string> result;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        result.push_back(line);
    return result;
}

TEST(ZorqFormat, PhrasesSortByPhraseThenObject) {
    auto const sorted = sortedPhrases(samplePhrases());
    ASSERT_EQ(sorted.size(), 4u);
    EXPECT_EQ(sorted[0].phrase, "integer");
    EXPECT_EQ(sorted[1].objectType, "file");
    EXPECT_EQ(sorted[2].objectType, "string");
    EXPECT_EQ(sorted[3].phrase, "substring separated by");
}

TEST(ZorqFormat, PhraseTableIsAligned) {
    auto const table = lines(formatPhraseTable(samplePhrases()));
    ASSERT_EQ(table.size(), 5u);
    EXPECT_TRUE(table[0].starts_with("KIND"));
    for (char const* heading : {"PHRASE", "PLURAL", "OBJECT", "INDEX", "RESULT"}) {
        auto const column = table[0].find(heading);
        ASSERT_NE(column, std::string::npos) << heading;
        for (std::size_t row = 1; row < table.size(); ++row) {
            EXPECT_EQ(table[row][column - 1], ' ') << heading << " in " << table[row];
            EXPECT_NE(table[row][column], ' ') << heading << " in " << table[row];
        }
    }
    // Empty fields show as "-", and no line ends in padding.
    EXPECT_EQ(table[2].substr(0, 4), "type");
    EXPECT_TRUE(table[2].ends_with(" -")) << table[2];
    for (auto const& line : table)
        EXPECT_NE(line.back(), ' ') << line;
    EXPECT_NE(table[3].find("substrings separated by"), std::string::npos);
}

TEST(ZorqFormat, PhraseJsonLines) {
    auto const json = lines(formatPhraseJson(samplePhrases()));
    ASSERT_EQ(json.size(), 4u);
    auto const length = Json::parse(json[0]);
    EXPECT_EQ(length["kind"], "property");
    EXPECT_EQ(length["phrase"], "length");
    EXPECT_EQ(length["plural"], "lengths");
    EXPECT_EQ(length["object"], "string");
    EXPECT_TRUE(length["index"].is_null());
    EXPECT_EQ(length["result"], "integer");
    auto const separated = Json::parse(json[2]);
    EXPECT_EQ(separated["index"], "string");
    EXPECT_TRUE(Json::parse(json[1])["object"].is_null());
}

} // namespace
} // namespace zorq
