// Times an expression the way a host runs it: bound once, then evaluated
// once per benchmark iteration, every answer read.
#pragma once

#include <benchmark/benchmark.h>
#include <string>

#include "evaluator/evaluator.h"

inline void EvaluateBoundExpression(benchmark::State& state, std::string const& text,
                                    InspectorContext* agent = nullptr) {
    zor::Expression const expression = zor::Expression::compile(text);
    zor::EvaluationOptions const options{.context = agent, .budget = {}};
    for (auto _ : state) {
        expression.evaluate(
            options, [](zor::Answer const& answer) { benchmark::DoNotOptimize(answer.bytes()); });
    }
}
