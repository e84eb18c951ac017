// The regex phrases end to end: the plug-in loaded into the evaluator and the
// language forms evaluated, including values that point into iterator state
// used by nested phrases, compile errors that fail the whole expression, and
// host budgets that stop long scans.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "evaluator/evaluator.h"
#include "platform/linux/regex.h"
#include "tests/framework/loaded_plugin.h"

namespace {

using Answers = std::vector<std::string>;

class RegexPlugin : public PluginSuite {
protected:
    // The error an evaluation fails with.
    static zor::ExpressionError Failure(std::string const& text,
                                        zor::EvaluationOptions const& options = {}) {
        try {
            Evaluate(text, options);
        } catch (zor::ExpressionError const& error) {
            return error;
        }
        throw std::runtime_error("no failure from: " + text);
    }

    // The evaluation stopped at the host's budget.
    static bool Interrupted(std::string const& text, zor::EvaluationOptions const& options) {
        return std::string(Failure(text, options).what()).starts_with("EvaluationInterrupted");
    }

    static zor::ExpressionError::Kind BindingKind(std::string const& text) {
        try {
            zor::Expression::compile(text);
        } catch (zor::ExpressionError const& error) {
            return error.kind();
        }
        throw std::runtime_error("bound: " + text);
    }
};

} // namespace

// The plain relations are the examples of docs/regex.md, checked by the
// guide test; these are the forms it does not show.
TEST_F(RegexPlugin, RelationsOfStringsToPatterns) {
    EXPECT_EQ(Evaluate(R"~("abc" != regex "b")~"), Answers{"True"});
    EXPECT_EQ(Evaluate(R"~("abc" does not end with regex "b")~"), Answers{"True"});
    EXPECT_EQ(Evaluate(R"~("ABC" = case insensitive regular expression "a.c")~"), Answers{"True"});
    EXPECT_EQ(Evaluate(R"~("abc" = regular expression "a.c")~"), Answers{"True"});
    // A substring is matched as the piece it is, not as its whole.
    EXPECT_EQ(Evaluate(R"~(first "ab" of "abc" = regex "ab")~"), Answers{"True"});
    EXPECT_EQ(Evaluate(R"~(first "ab" of "abc" ends with regex "b$")~"), Answers{"True"});
}

TEST_F(RegexPlugin, OnlyTheRegisteredOperandOrdersBind) {
    using Kind = zor::ExpressionError::Kind;
    EXPECT_EQ(BindingKind(R"~(regex "a" contains "a")~"), Kind::Binding);
    EXPECT_EQ(BindingKind(R"~(regex "a" starts with "a")~"), Kind::Binding);
    EXPECT_EQ(BindingKind(R"~(regex "a" = regex "a")~"), Kind::Binding);
}

TEST_F(RegexPlugin, EachRegexPhraseYieldsOneExpression) {
    EXPECT_EQ(Evaluate(R"~(number of regexes "a")~"), Answers{"1"});
    EXPECT_EQ(Evaluate(R"~(number of case insensitive regexes "a")~"), Answers{"1"});
    EXPECT_EQ(Evaluate(R"~(number of regular expressions "a")~"), Answers{"1"});
    EXPECT_EQ(Evaluate(R"~(number of case insensitive regular expressions "a")~"), Answers{"1"});
}

TEST_F(RegexPlugin, MatchesOverlapAndFirstMatchIsOne) {
    EXPECT_EQ(Evaluate(R"~(lengths of matches (regex "a+") of "baaa")~"), (Answers{"3", "2", "1"}));
    EXPECT_EQ(Evaluate(R"~(first matches (regex "a+") of "baaa")~"), Answers{"aaa"});
    EXPECT_EQ(Evaluate(R"~(number of matches (regex "z") of "abc")~"), Answers{"0"});
    EXPECT_EQ(Failure(R"~(first match (regex "z") of "abc")~").what(),
              std::string("Singular expression refers to nonexistent object."));
    EXPECT_EQ(Evaluate(R"~(matches (regex "a+") whose (length of it > 1) of "aaa")~"),
              (Answers{"aaa", "aa"}));
    EXPECT_EQ(Evaluate(R"~(whole of first match (regex "b") of "abc")~"), Answers{"abc"});
}

TEST_F(RegexPlugin, PartsOfMatchesPointIntoLiveIteratorState) {
    EXPECT_EQ(Evaluate(R"~(exists parenthesized part 0 of first match (regex "(a)(b)") of "ab")~"),
              Answers{"False"});
    // Every match keeps its own parts while it is looked at.
    EXPECT_EQ(Evaluate(R"~(parenthesized parts of matches (regex "(a)(b)?") of "aab")~"),
              (Answers{"a", "", "a", "b"}));
    // A match searched again, and the parts of that.
    EXPECT_EQ(Evaluate(R"~(matches (regex "b+") of first match (regex "ab+") of "xabbb")~"),
              (Answers{"bbb", "bb", "b"}));
    EXPECT_EQ(Evaluate(R"~(parenthesized parts of first match (regex "(b)(b)") of )~"
                       R"~(parenthesized part 1 of first match (regex "a(b+)") of "xabbb")~"),
              (Answers{"b", "b"}));
    EXPECT_EQ(
        Evaluate(R"~(start of parenthesized part 1 of first match (regex "a(b+)") of "xabbb")~"),
        Answers{"2"});
}

TEST_F(RegexPlugin, ABadPatternFailsTheWholeExpressionWithTheLibraryMessage) {
    std::string message = RegError(REG_EPAREN);
    message.pop_back();
    for (char const* text : {R"~(regex "(")~", R"~("a" = regex "(")~", R"~(exists regex "(")~",
                             R"~(exists matches (regex "(") of "a")~",
                             R"~(number of case insensitive regexes "(")~"}) {
        SCOPED_TRACE(text);
        zor::ExpressionError const error = Failure(text);
        EXPECT_EQ(error.kind(), zor::ExpressionError::Kind::Evaluation);
        EXPECT_EQ(std::string(error.what()), "RegComp_Failed: " + message);
    }
}

TEST_F(RegexPlugin, BudgetsStopLongScans) {
    // Ends-with tries every start position: each try finds an "a" that does
    // not reach the end.
    std::string const subject(20000, 'a');
    std::string const endsWith = "\"" + subject + "b\" ends with regex \"a\"";
    EXPECT_EQ(Evaluate(endsWith), Answers{"False"});
    zor::EvaluationOptions limited;
    limited.budget.steps = 100;
    EXPECT_TRUE(Interrupted(endsWith, limited));

    std::string const matches = "number of matches (regex \"a\") of \"" + subject + "\"";
    EXPECT_EQ(Evaluate(matches), Answers{"20000"});
    EXPECT_TRUE(Interrupted(matches, limited));

    // A scan that fits the budget answers.
    zor::EvaluationOptions roomy;
    roomy.budget.steps = 1000;
    EXPECT_EQ(Evaluate("\"" + std::string(50, 'a') + "b\" ends with regex \"a\"", roomy),
              Answers{"False"});
    EXPECT_EQ(Evaluate("matches (regex \"a\") of \"aaa\"", roomy), (Answers{"a", "a", "a"}));
}
