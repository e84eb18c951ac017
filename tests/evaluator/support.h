// Helpers shared by the evaluator tests.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "evaluator/evaluator.h"

namespace zor::testing {

inline std::vector<std::string> answers(std::string const& text,
                                        EvaluationOptions const& options = {}) {
    return Expression::compile(text).answers(options);
}

inline std::string answer(std::string const& text) {
    auto all = answers(text);
    return all.size() == 1 ? all.front() : "<" + std::to_string(all.size()) + " answers>";
}

// The error an expression raises when compiled and evaluated, as "column: message"
// (column 0 for evaluation errors), or "no error".
inline std::string failure(std::string const& text, EvaluationOptions const& options = {}) {
    try {
        Expression::compile(text).answers(options);
    } catch (ExpressionError const& e) {
        return std::to_string(e.column()) + ": " + e.what();
    }
    return "no error";
}

} // namespace zor::testing
