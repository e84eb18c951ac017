// Binding: phrase resolution by form, index and object type, on phrases that
// only the tests register (a derived type that overrides its base).
#include <gtest/gtest.h>

#include "tests/evaluator/support.h"
#include "tests/evaluator/test_phrases.h"

namespace zor::testing {
namespace {

using Answers = std::vector<std::string>;

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
    EXPECT_EQ(failure("legs 1 of test dog"),
              "1: phrase \"legs\" of type \"test dog\" takes no index of type \"integer\"");
}

TEST_F(Binding, IndexPresenceAndTypeChooseTheRegistration) {
    EXPECT_EQ(answer("test pet 2 as string"), "tom");
    EXPECT_EQ(answer("test pet \"polly\" as string"), "polly");
    EXPECT_EQ(answers("test pets as string"), (Answers{"rex", "tom", "polly"}));
    EXPECT_EQ(answers("test pets whose (legs of it = 4) as string"), (Answers{"rex", "tom"}));
    EXPECT_EQ(answers("legs whose (it < 4) of test pets"), (Answers{"2"}));
    EXPECT_EQ(failure("tick"), "1: phrase \"tick\" of the world needs an index");
}

TEST_F(Binding, PluralityFollowsThePhraseForm) {
    EXPECT_FALSE(Expression::compile("test pet 1").plural());
    EXPECT_TRUE(Expression::compile("legs of test pets").plural());
    EXPECT_TRUE(Expression::compile("test dogs").plural()); // plural form of a plain property
    EXPECT_EQ(answers("test dogs as string"), (Answers{"rex"}));
    // The singular form of an iterated phrase must have exactly one value.
    EXPECT_FALSE(Expression::compile("tick 1").plural());
    EXPECT_EQ(answer("tick 1"), "1");
    EXPECT_EQ(failure("tick 2"), "0: Singular expression refers to non-unique object.");
    EXPECT_EQ(failure("tick 0"), "0: Singular expression refers to nonexistent object.");
}

} // namespace
} // namespace zor::testing
