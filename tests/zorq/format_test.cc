#include "tools/zorq/format.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

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

} // namespace
} // namespace zorq
