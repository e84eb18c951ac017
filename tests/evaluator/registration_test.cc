// Registration: withdrawn phrases are never called, rebinding, listings,
// fingerprints and the loud failure on a duplicate type.
#include <gtest/gtest.h>

#include <algorithm>

#include "evaluator/registration.h"
#include "tests/evaluator/support.h"
#include "tests/evaluator/test_phrases.h"

namespace zor::testing {
namespace {

TEST(Registration, AWithdrawnPhraseIsNeverCalledAndBoundExpressionsRebind) {
    auto phrases = std::make_unique<TestPhrases>();
    auto sound = Expression::compile("sound of test dog");
    auto legs = Expression::compile("legs of test dog");
    EXPECT_EQ(sound.answers(), std::vector<std::string>{"woof"});
    phrases->withdrawSound();
    try {
        sound.answers();
        ADD_FAILURE() << "a withdrawn phrase answered";
    } catch (ExpressionError const& e) {
        EXPECT_EQ(e.kind(), ExpressionError::Kind::Binding);
        EXPECT_STREQ(e.what(), "unknown phrase \"sound\" of type \"test dog\"");
    }
    EXPECT_EQ(legs.answers(), std::vector<std::string>{"4"}); // unaffected
    phrases.reset();
    EXPECT_THROW(legs.answers(), ExpressionError);
    TestPhrases again;
    EXPECT_EQ(legs.answers(), std::vector<std::string>{"4"});
}

TEST(Registration, ListingShowsEveryKindWithItsTypes) {
    TestPhrases phrases;
    auto all = listRegistrations();
    auto has = [&](PhraseInfo const& wanted) {
        return std::any_of(all.begin(), all.end(), [&](PhraseInfo const& p) {
            return p.kind == wanted.kind && p.phrase == wanted.phrase &&
                   p.plural == wanted.plural && p.indexType == wanted.indexType &&
                   p.objectType == wanted.objectType && p.resultType == wanted.resultType;
        });
    };
    EXPECT_TRUE(has({"type", "test dog", "", "", "", "test animal"}));
    EXPECT_TRUE(has({"property", "legs", "legs", "", "test animal", "integer"}));
    EXPECT_TRUE(has({"iterated property", "tick", "ticks", "integer", "", "integer"}));
    EXPECT_TRUE(has({"cast", "string", "", "", "test animal", "string"}));
    EXPECT_TRUE(has({"aggregate", "sum", "", "", "integer", "integer"}));
}

TEST(Registration, FingerprintsFollowWhatThePhrasesFeed) {
    TestPhrases phrases;
    auto expression = Expression::compile("test three");
    EXPECT_TRUE(expression.cacheable());
    auto before = expression.fingerprint();
    EXPECT_EQ(expression.fingerprint(), before);
    feed = 2;
    EXPECT_NE(expression.fingerprint(), before);
    EXPECT_FALSE(Expression::compile("(test three, legs of test dog)").cacheable());
}

TEST(RegistrationDeathTest, ADuplicateTypeNameIsAProgrammingError) {
    alignas(16) static unsigned char first[kTypeBlockSize], second[kTypeBlockSize];
    auto registerTwice = [] {
        Register_Type(first, sizeof first, "test twin", 8, nullptr, nullptr, 0);
        Register_Type(second, sizeof second, "test twin", 8, nullptr, nullptr, 0);
    };
    EXPECT_DEATH(registerTwice(), "type \"test twin\" is already registered");
    EXPECT_DEATH(Unregister_Property(&feed), "never registered");
}

} // namespace
} // namespace zor::testing
