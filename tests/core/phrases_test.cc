// The core phrases, casts and operators end to end through the evaluator.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "evaluator/evaluator.h"

namespace {

using Answers = std::vector<std::string>;

Answers answers(std::string const& text) {
    return zor::Expression::compile(text).answers();
}

std::string answer(std::string const& text) {
    Answers all = answers(text);
    return all.size() == 1 ? all.front() : "<" + std::to_string(all.size()) + " answers>";
}

std::string typeOf(std::string const& text) {
    return zor::Expression::compile(text).typeName();
}

// "column: message" of the failure, or "no error".
std::string failure(std::string const& text) {
    try {
        answers(text);
    } catch (zor::ExpressionError const& e) {
        return std::to_string(e.column()) + ": " + e.what();
    }
    return "no error";
}

constexpr char kNonexistent[] = "0: Singular expression refers to nonexistent object.";

TEST(CorePhrases, IntegerArithmeticAndCasts) {
    EXPECT_EQ(answer("7 mod 3"), "1");
    EXPECT_EQ(answer("0 - 7 mod 3"), "-1");
    EXPECT_EQ(answer("7 / 2 * 2"), "6");
    EXPECT_EQ(answer("(\"42\" as integer) + 1"), "43");
    EXPECT_EQ(answer("255 as hexadecimal"), "ff");
    EXPECT_EQ(typeOf("255 as hexadecimal"), "string");
    EXPECT_EQ(answer("3 > 2 and 2 >= 2 and 2 <= 3 and not (3 != 3)"), "True");
    EXPECT_EQ(failure("1 / 0"), "0: DivisionByZero: division by zero");
    EXPECT_EQ(failure("1 mod 0"), "0: DivisionByZero: division by zero");
    EXPECT_EQ(failure("9223372036854775807 + 1"), "0: IntegerOverflow: integer overflow");
    EXPECT_EQ(failure("4294967296 * 4294967296"), "0: IntegerOverflow: integer overflow");
    EXPECT_EQ(failure("\"12x\" as integer"), kNonexistent);
    EXPECT_EQ(answer("exists (\"12x\" as integer)"), "False");
}

TEST(CorePhrases, BooleansPrintAndCompare) {
    EXPECT_EQ(answer("true"), "True");
    EXPECT_EQ(answer("true = false"), "False");
    EXPECT_EQ(answer("\"TRUE\" as boolean"), "True");
    EXPECT_EQ(answer("(\"false\" as boolean) != false"), "False");
}

TEST(CorePhrases, StringPropertiesGiveSubstringsOfTheSubject) {
    EXPECT_EQ(answer("length of \"hello\""), "5");
    EXPECT_EQ(answer("first 2 of \"hello\""), "he");
    EXPECT_EQ(typeOf("first 2 of \"hello\""), "substring");
    EXPECT_EQ(answer("last 3 of \"hello\""), "llo");
    EXPECT_EQ(answer("position of first \"l\" of \"hello\""), "2");
    EXPECT_EQ(answer("position of last \"l\" of \"hello\""), "3");
    EXPECT_EQ(answer("start of last \"l\" of \"hello\""), "3");
    EXPECT_EQ(answer("preceding text of first \"l\" of \"hello\""), "he");
    EXPECT_EQ(answer("following text of last \"l\" of \"hello\""), "o");
    EXPECT_EQ(answer("whole of first \"l\" of \"hello\""), "hello");
    EXPECT_EQ(answer("character 1 of \"hello\""), "e");
    EXPECT_EQ(answer("length of following text of first \"=\" of \"key=value\""), "5");
    EXPECT_EQ(answer("lowercase of \"MiXed\""), "mixed");
    EXPECT_EQ(answer("uppercase of \"MiXed\""), "MIXED");
    EXPECT_EQ(answer("\"MiXed\" as lowercase"), "mixed");
    EXPECT_EQ(answer("\"MiXed\" as uppercase"), "MIXED");
    // A substring is a string: string phrases apply to it.
    EXPECT_EQ(answer("uppercase of first 2 of \"hello\""), "HE");
    EXPECT_EQ(answer("first 2 of \"hello\" & \"!\""), "he!");

    // Pieces of a substring are still pieces of the original string.
    EXPECT_EQ(answer("preceding text of first 2 of last 3 of \"abcdef\""), "abc");
    EXPECT_EQ(answer("position of first \"e\" of last 3 of \"abcdef\""), "4");

    EXPECT_EQ(failure("first 6 of \"hello\""), kNonexistent);
    EXPECT_EQ(failure("character 5 of \"hello\""), kNonexistent);
    EXPECT_EQ(failure("character (0 - 1) of \"hello\""), kNonexistent);
    EXPECT_EQ(answer("exists first \"z\" of \"hello\""), "False");
    // Only a substring knows its surroundings.
    EXPECT_EQ(failure("preceding text of \"hello\""),
              "1: unknown phrase \"preceding text\" of type \"string\"");
}

TEST(CorePhrases, SubstringsSeparatedByYieldEveryField) {
    EXPECT_EQ(answers("substrings separated by \",\" of \"a,b,,c\""), (Answers{"a", "b", "", "c"}));
    EXPECT_EQ(answers("substrings separated by \",\" of \"\""), (Answers{""}));
    EXPECT_EQ(answer("number of substrings separated by \", \" of \"x, y, z\""), "3");
    EXPECT_EQ(answers("substrings separated by \" \" whose (length of it > 1) of \"a bb ccc\""),
              (Answers{"bb", "ccc"}));
    EXPECT_EQ(answer("sum of lengths of substrings separated by \" \" of \"a bb ccc\""), "6");
    EXPECT_EQ(answer("concatenation \"-\" of substrings separated by \",\" of \"a,b\""), "a-b");
    EXPECT_EQ(answers("(position of it) of substrings separated by \"/\" of \"ab/c/def\""),
              (Answers{"0", "3", "5"}));
    EXPECT_EQ(failure("substring separated by \",\" of \"a,b\""),
              "0: Singular expression refers to non-unique object.");
}

TEST(CorePhrases, StringRelationsUseByteOrder) {
    EXPECT_EQ(answer("\"ab\" & \"cd\""), "abcd");
    EXPECT_EQ(answer("\"haystack\" contains \"yst\""), "True");
    EXPECT_EQ(answer("\"haystack\" does not contain \"x\""), "True");
    EXPECT_EQ(answer("\"haystack\" starts with \"hay\""), "True");
    EXPECT_EQ(answer("\"haystack\" ends with \"hay\""), "False");
    EXPECT_EQ(answer("\"Z\" < \"a\""), "True");
    EXPECT_EQ(answer("\"abc\" > \"ab\""), "True");
    EXPECT_EQ(answer("\"abc\" = \"ABC\""), "False");
    EXPECT_EQ(answer("first 3 of \"abcdef\" = \"abc\""), "True");
}

TEST(CorePhrases, TimesReadPrintAndCompute) {
    EXPECT_EQ(answer("\"2026-11-21T12:04:05+02:00\" as time"), "Sat, 21 Nov 2026 10:04:05 +0000");
    EXPECT_EQ(answer("(\"Sat, 21 Nov 2026 10:04:05 -0100\" as time) + day"),
              "Sun, 22 Nov 2026 11:04:05 +0000");
    EXPECT_EQ(answer("(\"2026-11-22T00:00:00Z\" as time) - (\"2026-11-21T00:00:00Z\" as time)"),
              "1 day, 00:00:00");
    EXPECT_EQ(answer("(\"2026-11-22T00:00:00Z\" as time) - hour"),
              "Sat, 21 Nov 2026 23:00:00 +0000");
    EXPECT_EQ(answer("now > \"2020-01-01T00:00:00Z\" as time"), "True");
    EXPECT_EQ(typeOf("now"), "time");
    EXPECT_EQ(failure("\"yesterday\" as time"), kNonexistent);
}

TEST(CorePhrases, TimeIntervalsFromUnits) {
    EXPECT_EQ(answer("day + hour * 3 + minute * 4 + second * 5"), "1 day, 03:04:05");
    EXPECT_EQ(answer("day * 2"), "2 days, 00:00:00");
    EXPECT_EQ(answer("2 * week"), "14 days, 00:00:00");
    EXPECT_EQ(answer("second + 500 * millisecond"), "00:00:01.500000");
    EXPECT_EQ(answer("microsecond * 1000 = millisecond"), "True");
    EXPECT_EQ(answer("minute - hour"), "-00:59:00");
    EXPECT_EQ(answer("day / hour"), "24");
    EXPECT_EQ(answer("hour / 60"), "00:01:00");
    EXPECT_EQ(answer("(\"1 day, 00:00:00\" as time interval) = day"), "True");
    EXPECT_EQ(answer("week > day and minute <= minute"), "True");
    EXPECT_EQ(answer("sum of (hour; minute)"), "01:01:00");
    EXPECT_EQ(failure("hour / 0"), "0: DivisionByZero: division by zero");
    EXPECT_EQ(failure("week * 9223372036854775807"), "0: IntegerOverflow: integer overflow");
}

TEST(CorePhrases, VersionsCompareComponentWise) {
    EXPECT_EQ(answer("\"10.4.11\" as version"), "10.4.11");
    EXPECT_EQ(answer("(\"10.4.11\" as version) > (\"10.4.9\" as version)"), "True");
    EXPECT_EQ(answer("(\"10.4\" as version) = (\"10.4.0\" as version)"), "True");
    EXPECT_EQ(answer("(\"10.4.11\" as version) >= \"10.4.9\""), "True");
    EXPECT_EQ(answer("\"9.9\" < (\"10\" as version)"), "True");
    EXPECT_EQ(answer("maximum of (\"1.2\" as version; \"1.10\" as version)"), "1.10");
    EXPECT_EQ(failure("\"1..2\" as version"), kNonexistent);
}

TEST(CorePhrases, Ipv4AddressesAndHertz) {
    EXPECT_EQ(answer("\"192.168.000.001\" as ipv4 address"), "192.168.0.1");
    EXPECT_EQ(answer("(\"10.0.0.1\" as ipv4 address) < (\"9.0.0.1\" as ipv4 address)"), "False");
    EXPECT_EQ(answer("(\"10.0.0.1\" as ipv4 address) as string"), "10.0.0.1");
    EXPECT_EQ(failure("\"300.1.1.1\" as ipv4 address"), kNonexistent);
    EXPECT_EQ(answer("2400000000 as hertz"), "2400 MHz");
    EXPECT_EQ(answer("(2400000000 as hertz) as integer"), "2400000000");
    EXPECT_EQ(answer("(1000 as hertz) < (2000 as hertz)"), "True");
    EXPECT_EQ(answer("maximum of (1000 as hertz; 3000000000 as hertz)"), "3 GHz");
}

TEST(CorePhrases, ListingNamesTheCorePhrases) {
    std::vector<zor::PhraseInfo> all = zor::listRegistrations();
    auto has = [&](std::string const& kind, std::string const& phrase, std::string const& index,
                   std::string const& object, std::string const& result) {
        return std::any_of(all.begin(), all.end(), [&](zor::PhraseInfo const& p) {
            return p.kind == kind && p.phrase == phrase && p.indexType == index &&
                   p.objectType == object && p.resultType == result;
        });
    };
    EXPECT_TRUE(has("type", "substring", "", "", "string")); // with its base
    EXPECT_TRUE(
        has("iterated property", "substring separated by", "string", "string", "substring"));
    EXPECT_TRUE(has("property", "first", "integer", "string", "substring"));
    EXPECT_TRUE(has("property", "now", "", "", "time"));
    EXPECT_TRUE(has("cast", "hexadecimal", "", "integer", "string"));
}

} // namespace
