// Evaluates expressions against the inspectors registered in this program.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "evaluator/evaluator.h"

namespace system_test {

using Answers = std::vector<std::string>;

inline Answers Ask(std::string_view text) {
    return zor::Expression::compile(text).answers();
}

// The answers joined by "; ", or "error: " and the evaluation error's message.
inline std::string Answer(std::string_view text) {
    try {
        std::string joined;
        for (std::string const& answer : Ask(text)) {
            joined += (joined.empty() ? "" : "; ") + answer;
        }
        return joined;
    } catch (zor::ExpressionError const& error) {
        return std::string("error: ") + error.what();
    }
}

struct Case {
    char const* query;
    std::string expected;
};

inline void Expect(std::initializer_list<Case> cases) {
    for (Case const& c : cases) {
        EXPECT_EQ(Answer(c.query), c.expected) << c.query;
    }
}

} // namespace system_test
