// Speed of the evaluator: compiling, evaluating a bound expression, and a
// long stream against the plain loop that does the same work.
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>

#include "evaluator/evaluator.h"

namespace {

// About 200 characters, in the shape of a real relevance question.
constexpr char kRealistic[] =
    "exists substrings separated by \",\" of \"alpha,beta,gamma\" whose (length of it > 4 and "
    "it does not start with \"x\") and (sum of ((1;2;3) whose (it mod 2 = 1)) = 4 or "
    "\"abc\" as uppercase contains \"B\")";

void BM_ParseAndBind(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(zor::Expression::compile(kRealistic));
    state.SetLabel(std::to_string(std::strlen(kRealistic)) + " characters");
}
BENCHMARK(BM_ParseAndBind);

void BM_EvaluateBoundSmallExpression(benchmark::State& state) {
    auto expression = zor::Expression::compile("(1 + 2 * 3 = 7) and (\"ab\" & \"c\" = \"abc\")");
    bool result = false;
    for (auto _ : state)
        expression.evaluate({}, [&](zor::Answer const& a) { result = a.asBoolean(); });
    if (!result)
        state.SkipWithError("wrong answer");
}
BENCHMARK(BM_EvaluateBoundSmallExpression);

std::string fields(std::size_t bytes) {
    std::string text;
    for (int i = 0; text.size() < bytes; ++i)
        text += "field" + std::to_string(i % 1000) + ",";
    return text;
}

std::string const& megabyte() {
    static std::string const text = fields(1 << 20);
    return text;
}

void BM_CountFieldsOfOneMegabyte(benchmark::State& state) {
    auto expression = zor::Expression::compile("number of substrings separated by \",\" of \"" +
                                               megabyte() + "\"");
    integer count = 0;
    for (auto _ : state)
        expression.evaluate({}, [&](zor::Answer const& a) { count = a.asInteger(); });
    state.counters["fields"] = static_cast<double>(count);
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * megabyte().size()));
}
BENCHMARK(BM_CountFieldsOfOneMegabyte)->Unit(benchmark::kMicrosecond);

// The raw operation: memchr over the same text, counting fields the same way
// (n separators make n + 1 fields).
void BM_CountFieldsWithMemchr(benchmark::State& state) {
    std::string const& text = megabyte();
    for (auto _ : state) {
        std::int64_t count = 1;
        char const* p = text.data();
        char const* end = p + text.size();
        while ((p = static_cast<char const*>(std::memchr(p, ',', end - p))) != nullptr) {
            ++count;
            ++p;
        }
        benchmark::DoNotOptimize(count);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}
BENCHMARK(BM_CountFieldsWithMemchr)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
