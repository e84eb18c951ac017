// The environment inspectors through the evaluator against the raw reads
// they stand for: a bound lookup against getenv, and counting the variables
// against a plain walk of the environment array.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <unistd.h>

#include "bench/util/evaluate.h"
#include "evaluator/errors.h"
#include "evaluator/evaluator.h"
#include "tests/framework/loaded_plugin.h"

namespace {

LoadedPlugin const plugin(ZOR_PLUGIN_PATH);

void BM_Getenv(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(std::getenv("HOME"));
    }
}

void BM_BoundValueOfVariable(benchmark::State& state) {
    EvaluateBoundExpression(state, "value of variable \"HOME\" of environment");
}

void BM_EnvironWalk(benchmark::State& state) {
    for (auto _ : state) {
        long count = 0;
        for (char* const* entry = environ; *entry; ++entry) {
            ++count;
        }
        benchmark::DoNotOptimize(count);
    }
}

void BM_NumberOfVariables(benchmark::State& state) {
    EvaluateBoundExpression(state, "number of variables of environment");
}

// Every iteration ends with a thrown NoSuchObject; this is that signal's
// own cost, the floor under any evaluation of a plural property.
void BM_EndOfIterationSignal(benchmark::State& state) {
    for (auto _ : state) {
        try {
            throw NoSuchObject();
        } catch (NoSuchObject const& end) {
            benchmark::DoNotOptimize(&end);
        }
    }
}

} // namespace

BENCHMARK(BM_Getenv);
BENCHMARK(BM_BoundValueOfVariable);
BENCHMARK(BM_EnvironWalk);
BENCHMARK(BM_NumberOfVariables);
BENCHMARK(BM_EndOfIterationSignal);

BENCHMARK_MAIN();
