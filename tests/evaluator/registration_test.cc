// Registration: withdrawn phrases are never called while the others stay
// bound, listings, fingerprints and the loud failure on a duplicate type.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "evaluator/registration.h"
#include "tests/evaluator/test_phrases.h"

namespace zor::testing {
namespace {

// Binding again once everything is back is checked by loading the plug-in twice.
TEST(Registration, AWithdrawnPhraseIsNeverCalledAndTheOthersStayBound) {
    TestPhrases phrases;
    auto sound = Expression::compile("sound of test dog");
    auto legs = Expression::compile("legs of test dog");
    EXPECT_EQ(sound.answers(), std::vector<std::string>{"woof"});
    phrases.withdrawSound();
    try {
        sound.answers();
        ADD_FAILURE() << "a withdrawn phrase answered";
    } catch (ExpressionError const& e) {
        EXPECT_EQ(e.kind(), ExpressionError::Kind::Binding);
        EXPECT_STREQ(e.what(), "unknown phrase \"sound\" of type \"test dog\"");
    }
    EXPECT_EQ(legs.answers(), std::vector<std::string>{"4"}); // unaffected
}

TEST(Registration, ListingShowsEveryKindWithItsTypes) {
    TestPhrases phrases;
    // Kind, phrase, plural, index, object and result (a type's base).
    std::set<std::string> rows;
    for (PhraseInfo const& p : listRegistrations())
        rows.insert(p.kind + "|" + p.phrase + "|" + p.plural + "|" + p.indexType + "|" +
                    p.objectType + "|" + p.resultType);
    for (char const* row :
         {"type|test dog||||test animal", "property|legs|legs||test animal|integer",
          "iterated property|tick|ticks|integer||integer", "cast|string|||test animal|string",
          "aggregate|sum|||integer|integer"})
        EXPECT_TRUE(rows.contains(row)) << row;
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
