// What zorq learned about one expression, ready to be printed.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "evaluator/evaluator.h"

namespace zorq {

struct Failure {
    zor::ExpressionError::Kind kind;
    int column; // 1-based for syntax and binding errors, 0 otherwise
    std::string message;
};

struct Result {
    std::string expression;
    std::optional<std::string> typeName; // absent when the expression did not compile
    bool plural = false;
    std::vector<std::string> answers; // those delivered before any failure
    std::optional<Failure> failure;
    std::chrono::microseconds time{0}; // compiling and evaluating
};

} // namespace zorq
