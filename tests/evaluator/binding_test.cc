// Binding: phrase resolution by form, index and object type, and the errors
// reported before anything runs.
#include <gtest/gtest.h>

#include "tests/evaluator/support.h"
#include "tests/evaluator/test_phrases.h"

namespace zor::testing {
namespace {

using Kind = ExpressionError::Kind;

class Binding : public ::testing::Test {
protected:
    TestPhrases phrases;
};

TEST_F(Binding, DerivedTypesFallBackToTheirBasesAndTheMostDerivedWins) {
    EXPECT_EQ(answer("legs of test dog"), "4");      // only "test animal" has legs
    EXPECT_EQ(answer("sound of test dog"), "woof");  // "test dog" overrides
    EXPECT_EQ(answer("sound of test pet 3"), "..."); // an animal, not a dog
    EXPECT_EQ(answer("test dog as string"), "rex");  // cast found through the base
    EXPECT_EQ(Expression::compile("test dog").typeName(), "test dog");
}

TEST_F(Binding, IndexPresenceAndTypeChooseTheRegistration) {
    EXPECT_EQ(answer("test pet 2 as string"), "tom");
    EXPECT_EQ(answer("test pet \"polly\" as string"), "polly");
    EXPECT_EQ(answer("legs of test pet (1 + 2)"), "2");
    EXPECT_EQ(answers("test pets as string"), (std::vector<std::string>{"rex", "tom", "polly"}));
    EXPECT_EQ(answers("(legs of it) of test pets"), (std::vector<std::string>{"4", "4", "2"}));
    EXPECT_EQ(answers("ticks 3"), (std::vector<std::string>{"1", "2", "3"}));
}

TEST_F(Binding, PluralityFollowsThePhraseForm) {
    EXPECT_FALSE(Expression::compile("test pet 1").plural());
    EXPECT_TRUE(Expression::compile("test pets").plural());
    EXPECT_TRUE(Expression::compile("legs of test pets").plural());
    EXPECT_TRUE(Expression::compile("test dogs").plural()); // plural form of a plain property
    EXPECT_EQ(answers("test dogs as string"), (std::vector<std::string>{"rex"}));
    // The singular form of an iterated phrase must have exactly one value.
    EXPECT_FALSE(Expression::compile("tick 1").plural());
    EXPECT_EQ(answer("tick 1"), "1");
    EXPECT_EQ(failure("tick 2"), "0: Singular expression refers to non-unique object.");
    EXPECT_EQ(failure("tick 0"), "0: Singular expression refers to nonexistent object.");
}

TEST_F(Binding, ErrorsNameThePhraseTheTypeAndTheColumn) {
    EXPECT_EQ(failure("speed of \"x\""), "1: unknown phrase \"speed\" of type \"string\"");
    EXPECT_EQ(failure("speed"), "1: unknown phrase \"speed\"");
    EXPECT_EQ(failure("1 + legs of \"x\""), "5: unknown phrase \"legs\" of type \"string\"");
    EXPECT_EQ(failure("legs"), "1: unknown phrase \"legs\" of the world");
    EXPECT_EQ(failure("legs 1 of test dog"),
              "1: phrase \"legs\" of type \"test dog\" takes no index of type \"integer\"");
    EXPECT_EQ(failure("tick"), "1: phrase \"tick\" of the world needs an index");
    EXPECT_EQ(failure("test dog as integer"), "10: no cast from \"test dog\" to \"integer\"");
    EXPECT_EQ(failure("1 as colour"), "3: unknown type \"colour\" after \"as\"");
    EXPECT_EQ(failure("test dog + 1"), "10: no operator \"+\" for \"test dog\" and \"integer\"");
    EXPECT_EQ(failure("legs of it"),
              "9: \"it\" has no meaning here: it stands for each value inside \"whose (...)\" "
              "or \"(...) of\"");
    EXPECT_EQ(failure("legs of test pets + 1"),
              "1: a plural expression cannot be used as an operand of \"+\": a single value is "
              "needed");
    EXPECT_EQ(failure("test pet (ticks 2)"),
              "11: a plural expression cannot be used as an index: a single value is needed");
    EXPECT_EQ(failure("test pets whose (legs of it)"),
              "18: the condition of \"whose\" must be of type \"boolean\", not \"integer\"");
    EXPECT_EQ(failure("if true then 1 else \"a\""),
              "21: values of types \"integer\" and \"string\" cannot be mixed");
    EXPECT_EQ(failure("item 2 of (1, 2)"),
              "6: a tuple of type \"( integer, integer )\" has no item 2");
    EXPECT_EQ(failureKind("1 + legs of \"x\""), Kind::Binding);
}

TEST_F(Binding, WhoseAndOfBindItToTheInnermostValue) {
    EXPECT_EQ(answers("test pets whose (legs of it = 4) as string"),
              (std::vector<std::string>{"rex", "tom"}));
    EXPECT_EQ(answers("legs whose (it < 4) of test pets"), (std::vector<std::string>{"2"}));
    EXPECT_EQ(answers("(it, number of ticks it) of (1;2)"),
              (std::vector<std::string>{"1, 1", "2, 2"}));
    EXPECT_EQ(answers("(ticks 3) whose (exists (ticks it) whose (it = 2))"),
              (std::vector<std::string>{"2", "3"}));
    // A singular phrase with whose needs exactly one value after filtering.
    EXPECT_EQ(answer("tick 3 whose (it = 2)"), "2");
    EXPECT_EQ(failure("tick 3 whose (it > 1)"),
              "0: Singular expression refers to non-unique object.");
    EXPECT_EQ(answers("(it whose (it > 1)) of (1;2;3)"), (std::vector<std::string>{"2", "3"}));
    EXPECT_EQ(failure("5 whose (it > 10)"), "0: Singular expression refers to nonexistent object.");
    EXPECT_EQ(answer("\"abc\" whose (it starts with \"a\")"), "abc");
    EXPECT_EQ(answers("(it * 10) whose (it > 10) of (1;2;3)"),
              (std::vector<std::string>{"20", "30"}));
}

} // namespace
} // namespace zor::testing
