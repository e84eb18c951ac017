// Evaluates expressions against the inspectors registered in this program.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "evaluator/evaluator.h"

namespace system_test {

using Answers = std::vector<std::string>;

inline Answers Ask(std::string_view text) {
    return zor::Expression::compile(text).answers();
}

// The single answer of a singular expression ("" after a failed check).
inline std::string One(std::string_view text) {
    Answers const answers = Ask(text);
    EXPECT_EQ(answers.size(), 1u) << text;
    return answers.empty() ? std::string() : answers.front();
}

// The message of the evaluation error, or "no error".
inline std::string ErrorOf(std::string_view text) {
    try {
        Ask(text);
    } catch (zor::ExpressionError const& error) {
        return error.what();
    }
    return "no error";
}

} // namespace system_test
