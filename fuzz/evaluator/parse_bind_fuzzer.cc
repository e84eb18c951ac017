// Any text must compile to an expression or to a syntax or binding error;
// what compiles must evaluate to answers or an evaluation error within a
// small budget.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "evaluator/evaluator.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string_view text(reinterpret_cast<char const*>(data), size);
    try {
        auto expression = zor::Expression::compile(text);
        zor::EvaluationOptions options;
        options.budget.steps = 10000;
        expression.evaluate(options, [](zor::Answer const& answer) { (void)answer.text(); });
    } catch (zor::ExpressionError const&) {
    }
    return 0;
}
