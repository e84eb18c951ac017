// Evaluation: laziness, lifetimes of iterator states and values, the
// context and the evaluation memory, seen through counting test phrases.
#include <gtest/gtest.h>

#include "evaluator/context.h"
#include "evaluator/registration.h"
#include "tests/evaluator/test_phrases.h"

namespace zor::testing {
namespace {

class Evaluation : public ::testing::Test {
protected:
    void SetUp() override { counters = Counters{}; }
    TestPhrases phrases;
};

TEST_F(Evaluation, ExistsStopsAtTheFirstValueAndCountingKeepsNothing) {
    EXPECT_EQ(answer("exists ticks (-1)"), "True"); // an endless iteration
    EXPECT_EQ(counters.firsts, 1);
    EXPECT_EQ(counters.nexts, 0);
    EXPECT_EQ(counters.destroyed, counters.constructed);

    EXPECT_EQ(answer("number of ticks 100000"), "100000");
    EXPECT_EQ(counters.destroyed, counters.constructed);
}

TEST_F(Evaluation, IteratorStateIsDestroyedWhenEvaluationStopsEarly) {
    EXPECT_EQ(failure("number of ticks (-1)", {nullptr, Budget{{}, 1000}}),
              "0: EvaluationInterrupted: the evaluation ran past its time or step budget");
    EXPECT_EQ(counters.constructed, 1);
    EXPECT_EQ(counters.destroyed, 1);

    EXPECT_EQ(failure("(1 / (it - 3)) of ticks 5"), "0: DivisionByZero: division by zero");
    EXPECT_EQ(counters.destroyed, counters.constructed);

    std::vector<std::string> seen;
    auto expression = Expression::compile("ticks 10");
    EXPECT_THROW(expression.evaluate({},
                                     [&](Answer const& a) {
                                         seen.push_back(a.text());
                                         if (seen.size() == 2)
                                             throw ExpressionError(
                                                 ExpressionError::Kind::Evaluation, 0,
                                                 "host stops");
                                     }),
                 ExpressionError);
    EXPECT_EQ(seen.size(), 2u);
    EXPECT_EQ(counters.destroyed, counters.constructed);
}

TEST_F(Evaluation, EveryValueIsDestroyedExactlyOnce) {
    EXPECT_EQ(answer("id of test resource"), "7");
    EXPECT_EQ(counters.valuesDestroyed, 1);
    EXPECT_EQ(answers("(id of test resource, id of test resource) of ticks 3").size(), 3u);
    EXPECT_EQ(counters.valuesDestroyed, 7);
    EXPECT_EQ(answer("exists test resource"), "True");
    EXPECT_EQ(counters.valuesDestroyed, 8);
}

TEST_F(Evaluation, TheContextIsInstalledOnlyForTheEvaluation) {
    Note note;
    note.value = 42;
    EXPECT_EQ(answers("test note", {&note, {}}), std::vector<std::string>{"42"});
    EXPECT_EQ(Get_Generic_Inspector_Context(), nullptr);
    EXPECT_EQ(failure("test note"), "0: NoInspectorContext: no agent context is available");
}

TEST_F(Evaluation, MemoryLivesUntilTheEvaluationEndsAndIsReused) {
    auto expression = Expression::compile("(test greeting, test greeting, test greeting)");
    EXPECT_EQ(expression.answers(), std::vector<std::string>{"hello, hello, hello"});
    void* first = lastAllocation;
    expression.answers();
    EXPECT_EQ(lastAllocation, first); // the arena starts over for each evaluation
    EXPECT_THROW(Allocate_Inspector_Memory(1), std::logic_error);
}

} // namespace
} // namespace zor::testing
