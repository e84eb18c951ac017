#include "tools/zorq/runner.h"

namespace zorq {
namespace {

Failure failureOf(zor::ExpressionError const& error) {
    return {error.kind(), error.column(), error.what()};
}

} // namespace

Result runExpression(std::string_view text, zor::EvaluationOptions const& options) {
    Result result;
    result.expression = std::string(text);
    auto const start = std::chrono::steady_clock::now();
    try {
        auto const expression = zor::Expression::compile(text);
        result.typeName = expression.typeName();
        result.plural = expression.plural();
        expression.evaluate(options, [&result](zor::Answer const& answer) {
            result.answers.push_back(answer.text());
        });
    } catch (zor::ExpressionError const& error) {
        result.failure = failureOf(error);
    }
    result.time = std::chrono::duration_cast<std::chrono::microseconds>(
        std::chrono::steady_clock::now() - start);
    return result;
}

} // namespace zorq
