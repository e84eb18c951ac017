// Evaluation: laziness, plurality errors, lifetimes of iterator states and
// values, budgets, and contexts.
#include <gtest/gtest.h>

#include <chrono>

#include "evaluator/context.h"
#include "evaluator/registration.h"
#include "tests/evaluator/support.h"
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

    EXPECT_EQ(answer("exists tick 5"), "True"); // no non-unique error under exists
    EXPECT_EQ(answer("exists tick 0"), "False");
    EXPECT_EQ(answer("exists ticks 0"), "False");
    EXPECT_EQ(answer("number of ticks 100000"), "100000");
    EXPECT_EQ(answer("number of ticks 0"), "0");
    EXPECT_EQ(counters.destroyed, counters.constructed);
}

TEST_F(Evaluation, AndOrShortCircuit) {
    EXPECT_EQ(answer("false and (1 / 0 = 1)"), "False");
    EXPECT_EQ(answer("true or (1 / 0 = 1)"), "True");
    EXPECT_EQ(failure("true and (1 / 0 = 1)"), "0: DivisionByZero: division by zero");
}

TEST_F(Evaluation, SingularExpressionsNeedExactlyOneValue) {
    EXPECT_EQ(failure("test pet 9"), "0: Singular expression refers to nonexistent object.");
    EXPECT_EQ(failure("legs of test pet 9"),
              "0: Singular expression refers to nonexistent object.");
    EXPECT_EQ(failure("legs of test pet 9 = 4"),
              "0: Singular expression refers to nonexistent object.");
    EXPECT_EQ(answers("legs of test pets whose (legs of it = 9)"), std::vector<std::string>{});
    EXPECT_EQ(answer("number of test pets whose (legs of it = 9)"), "0");
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

TEST_F(Evaluation, TimeBudgetStopsAnEndlessIteration) {
    Budget budget{std::chrono::milliseconds(20), 0};
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(failure("number of ticks (-1)", {nullptr, budget}),
              "0: EvaluationInterrupted: the evaluation ran past its time or step budget");
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

TEST_F(Evaluation, EveryValueIsDestroyedExactlyOnce) {
    EXPECT_EQ(answer("id of test resource"), "7");
    EXPECT_EQ(counters.valuesDestroyed, 1);
    EXPECT_EQ(answers("(id of test resource, id of test resource) of ticks 3").size(), 3u);
    EXPECT_EQ(counters.valuesDestroyed, 7);
    EXPECT_EQ(answer("exists test resource"), "True");
    EXPECT_EQ(counters.valuesDestroyed, 8);
}

struct Note : InspectorContext {
    int value = 0;
};

void contextValue(void* result, void const*, void const*, void*, void const*) {
    auto* note = dynamic_cast<Note*>(Get_Generic_Inspector_Context());
    if (!note)
        throw NoInspectorContext();
    *static_cast<integer*>(result) = note->value;
}

TEST(EvaluationContext, IsInstalledOnlyForTheEvaluation) {
    alignas(16) unsigned char block[kPropertyBlockSize];
    Register_Property(block, sizeof block, "test note", "test notes", "", "", "integer",
                      contextValue, nullptr, nullptr);
    Note note;
    note.value = 42;
    EXPECT_EQ(answers("test note", {&note, {}}), std::vector<std::string>{"42"});
    EXPECT_EQ(Get_Generic_Inspector_Context(), nullptr);
    EXPECT_EQ(failure("test note"), "0: NoInspectorContext: no agent context is available");
    Unregister_Property(block);
}

void* lastAllocation = nullptr;
void allocates(void* result, void const*, void const*, void*, void const*) {
    auto* bytes = static_cast<unsigned char*>(Allocate_Inspector_Memory(5));
    std::memcpy(bytes, "hello", 5);
    lastAllocation = bytes;
    *static_cast<inspector_string*>(result) = inspector_string{bytes, 5};
}

TEST(EvaluationMemory, LivesUntilTheEvaluationEndsAndIsReused) {
    alignas(16) unsigned char block[kPropertyBlockSize];
    Register_Property(block, sizeof block, "test greeting", "test greetings", "", "", "string",
                      allocates, nullptr, nullptr);
    auto expression = Expression::compile("(test greeting, test greeting, test greeting)");
    EXPECT_EQ(expression.answers(), std::vector<std::string>{"hello, hello, hello"});
    void* first = lastAllocation;
    expression.answers();
    EXPECT_EQ(lastAllocation, first); // the arena starts over for each evaluation
    EXPECT_THROW(Allocate_Inspector_Memory(1), std::logic_error);
    Unregister_Property(block);
}

} // namespace
} // namespace zor::testing
