// The grammar, its precedence, every relation spelling, and malformed input.
#include <gtest/gtest.h>

#include "tests/evaluator/support.h"

namespace zor::testing {
namespace {

using Kind = ExpressionError::Kind;

TEST(Syntax, PrecedenceFollowsTheGrammar) {
    EXPECT_EQ(answer("2 * 3 + 4 * 5"), "26");
    EXPECT_EQ(answer("2 - 1 - 1"), "0"); // left associative
    EXPECT_EQ(answer("20 / 2 / 5"), "2");
    EXPECT_EQ(answer("7 mod 4 * 2"), "6");
    EXPECT_EQ(answer("-2 * 3"), "-6");
    EXPECT_EQ(answer("1 + 1 = 2 and 2 < 3"), "True"); // relations bind looser than sums
    EXPECT_EQ(answer("true or false and false"), "True");
    EXPECT_EQ(answer("not true or true"), "True");
    EXPECT_EQ(answer("\"a\" & \"b\" = \"ab\""), "True");
    EXPECT_EQ(answer("if 1 = 2 then \"x\" else \"y\" & \"z\""), "yz");
    EXPECT_EQ(answer("-9223372036854775808"), "-9223372036854775808");
}

TEST(Syntax, EveryRelationSpelling) {
    struct Case {
        char const* text;
        char const* expected;
    } const cases[] = {
        {"1 = 1", "True"},
        {"1 != 1", "False"},
        {"1 is 1", "True"},
        {"1 is not 1", "False"},
        {"1 equals 1", "True"},
        {"1 is equal to 2", "False"},
        {"1 is not equal to 2", "True"},
        {"1 < 2", "True"},
        {"2 <= 2", "True"},
        {"2 > 1", "True"},
        {"1 >= 2", "False"},
        {"1 is less than 2", "True"},
        {"2 is less than or equal to 2", "True"},
        {"3 is greater than 2", "True"},
        {"2 is greater than or equal to 3", "False"},
        {"\"abc\" contains \"b\"", "True"},
        {"\"abc\" does not contain \"b\"", "False"},
        {"\"abc\" starts with \"a\"", "True"},
        {"\"abc\" does not start with \"a\"", "False"},
        {"\"abc\" ends with \"c\"", "True"},
        {"\"abc\" does not end with \"c\"", "False"},
    };
    for (auto const& c : cases)
        EXPECT_EQ(answer(c.text), c.expected) << c.text;
}

TEST(Syntax, WordsIgnoreCaseAndStringsDecodePercentEscapes) {
    EXPECT_EQ(answer("LENGTH OF \"abc\""), "3");
    EXPECT_EQ(answer("If TRUE Then 1 Else 2"), "1");
    EXPECT_EQ(answer("\"%22q%22 100%25\""), "\"q\" 100%");
    EXPECT_EQ(answer("length of \"%00\""), "1");
}

TEST(Syntax, MalformedInputNamesTheColumn) {
    EXPECT_EQ(failure("(1 + 2"), "7: expected \")\" but found the end of the expression");
    EXPECT_EQ(failure("1 + 2)"), "6: expected the end of the expression but found \")\"");
    EXPECT_EQ(failure("length of \"abc"), "11: unterminated string: a closing \" is missing");
    EXPECT_EQ(failure("\"a%2\""), "3: \"%\" in a string must be followed by two hex digits");
    EXPECT_EQ(failure("\"a%zz\""), "3: \"%\" in a string must be followed by two hex digits");
    EXPECT_EQ(failure("9223372036854775808"), "1: integer 9223372036854775808 is out of range");
    EXPECT_EQ(failure("1 + 99999999999999999999"),
              "5: integer 99999999999999999999 is out of range");
    EXPECT_EQ(failure("1 # 2"), "3: unexpected character \"#\"");
    EXPECT_EQ(failure("1 +"), "4: expected a value but found the end of the expression");
    EXPECT_EQ(failure(""), "1: expected a value but found the end of the expression");
    EXPECT_EQ(failure("1 is less 2"), "11: expected \"than\" but found the number 2");
    EXPECT_EQ(failure("\"a\" does not 2"),
              "14: expected \"contain\", \"start with\" or \"end with\" after \"does not\" but "
              "found the number 2");
    EXPECT_EQ(failure("(1;2) whose it"), "13: expected \"(\" but found \"it\"");
    EXPECT_EQ(failure("1 of 2"), "3: \"of\" must follow a phrase or a parenthesized expression");
    EXPECT_EQ(failureKind("1 as"), Kind::Syntax);
    EXPECT_EQ(failureKind("if 1 then 2"), Kind::Syntax);
}

TEST(Syntax, HostileSizesAreErrorsNotCrashes) {
    std::string nested = std::string(100000, '(') + "1" + std::string(100000, ')');
    EXPECT_EQ(failureKind(nested), Kind::Syntax);
    std::string chain = "1";
    for (int i = 0; i < 100000; ++i)
        chain += " + 1";
    EXPECT_EQ(failureKind(chain), Kind::Syntax);
    std::string negations(100000 * 4, ' ');
    for (std::size_t i = 0; i < negations.size(); i += 4)
        negations.replace(i, 3, "not");
    EXPECT_EQ(failureKind(negations + " true"), Kind::Syntax);

    // Moderate nesting is fine.
    EXPECT_EQ(answer(std::string(50, '(') + "1" + std::string(50, ')')), "1");

    std::string big(10 * 1024 * 1024, 'x');
    EXPECT_EQ(answer("length of \"" + big + "\""), std::to_string(big.size()));
}

} // namespace
} // namespace zor::testing
