#include "tools/zorq/format.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace zorq {
namespace {

using Kind = zor::ExpressionError::Kind;
using Json = nlohmann::json;

Result failed(Kind kind, int column, std::string message) {
    Result result;
    result.failure = Failure{kind, column, std::move(message)};
    return result;
}

// The caret itself is checked on a terminal (interactive_test.cc).
TEST(ZorqFormat, EvaluationErrorHasNoColumnToPointAt) {
    EXPECT_EQ(formatText(failed(Kind::Evaluation, 0, "non-unique object"),
                         {.time = false, .caretIndent = 3}),
              "E: non-unique object\n");
}

// The fields, their order and one object per line are in
// tests/transcripts/zorq-cli.zt.
TEST(ZorqFormat, JsonIsValidUtf8AndEscapesLineEnds) {
    Result answered;
    answered.answers = {"caf\xc3\xa9", "\xff\xfe", std::string("a\0b", 3)};
    auto const json = Json::parse(formatJson(answered));
    EXPECT_EQ(json["answers"][0], "caf\xc3\xa9");
    EXPECT_EQ(json["answers"][1], "\xef\xbf\xbd\xef\xbf\xbd");
    EXPECT_EQ(json["answers"][2], std::string("a\0b", 3));

    auto const failure = Json::parse(formatJson(failed(Kind::Syntax, 3, "bad \"x\"\nhere")));
    EXPECT_EQ(failure["error"]["message"], "bad \"x\"\nhere");
}

} // namespace
} // namespace zorq
