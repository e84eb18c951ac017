// Input too large for a command line: deep nesting and long chains are
// syntax errors, never a stack overflow; a long string is just a value.
#include <gtest/gtest.h>

#include "tests/evaluator/test_phrases.h"

namespace zor::testing {
namespace {

TEST(Syntax, HostileSizesAreErrorsNotCrashes) {
    std::string nested = std::string(100000, '(') + "1" + std::string(100000, ')');
    EXPECT_EQ(failure(nested), "201: the expression is nested too deeply");
    std::string chain = "1";
    for (int i = 0; i < 100000; ++i)
        chain += " + 1";
    EXPECT_EQ(failure(chain), "3999: the expression is nested too deeply");
    std::string negations(100000 * 4, ' ');
    for (std::size_t i = 0; i < negations.size(); i += 4)
        negations.replace(i, 3, "not");
    EXPECT_EQ(failure(negations + " true"), "2397: the expression is nested too deeply");

    EXPECT_EQ(answer(std::string(50, '(') + "1" + std::string(50, ')')), "1");
    std::string big(10 * 1024 * 1024, 'x');
    EXPECT_EQ(answer("length of \"" + big + "\""), std::to_string(big.size()));
}

} // namespace
} // namespace zor::testing
