// The regex phrases over a 1 MB subject against the plain regexec loop that
// does the same search: "exists matches (regex P) of S" against regexec asking
// for the offsets, "S contains regex P" against regexec asking for none.
// Patterns: one that matches only near the end of the subject, one that never
// matches, so either way the whole megabyte is searched.
#include <benchmark/benchmark.h>
#include <regex.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/util/evaluate.h"
#include "bench/util/ratio_reporter.h"
#include "evaluator/evaluator.h"
#include "tests/framework/loaded_plugin.h"

namespace {

LoadedPlugin const plugin(ZOR_PLUGIN_PATH);

char const* const kPatterns[] = {"[0-9]{3}-[0-9]{4}", "needle"};

// Lower-case words and spaces, then a telephone-like number near the end.
std::string const& Subject() {
    static std::string const subject = [] {
        std::string text;
        std::uint32_t seed = 12345;
        while (text.size() < (1u << 20) - 64) {
            seed = seed * 1103515245u + 12345u;
            text.push_back(static_cast<char>('a' + (seed >> 16) % 26));
            if ((seed >> 8) % 7 == 0) {
                text.push_back(' ');
            }
        }
        text += " call 555-1234 today";
        return text;
    }();
    return subject;
}

char const* Pattern(benchmark::State const& state) {
    return kPatterns[state.range(0)];
}

// The raw operation: one compile outside the loop, one regexec per iteration.
void RawSearch(benchmark::State& state, bool offsets) {
    regex_t compiled;
    if (regcomp(&compiled, Pattern(state), REG_EXTENDED) != 0) {
        throw std::runtime_error("pattern does not compile");
    }
    std::vector<regmatch_t> matches(compiled.re_nsub + 1);
    std::size_t const nmatch = offsets ? matches.size() : 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(regexec(&compiled, Subject().c_str(), nmatch, matches.data(), 0));
    }
    regfree(&compiled);
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * Subject().size()));
}

// The phrase, bound once and evaluated per iteration (its pattern is compiled
// in every evaluation).
void Phrase(benchmark::State& state, std::string const& text) {
    EvaluateBoundExpression(state, text);
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * Subject().size()));
}

void BM_RegexecWithOffsets(benchmark::State& state) {
    RawSearch(state, true);
}

void BM_ExistsMatches(benchmark::State& state) {
    Phrase(state, std::string("exists matches (regex \"") + Pattern(state) + "\") of \"" +
                      Subject() + "\"");
}

void BM_RegexecWithoutOffsets(benchmark::State& state) {
    RawSearch(state, false);
}

void BM_ContainsRegex(benchmark::State& state) {
    Phrase(state, "\"" + Subject() + "\" contains regex \"" + Pattern(state) + "\"");
}

} // namespace

BENCHMARK(BM_RegexecWithOffsets)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ExistsMatches)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RegexecWithoutOffsets)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ContainsRegex)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
    return RunWithRatios(argc, argv,
                         {{"BM_ExistsMatches/0", "BM_RegexecWithOffsets/0"},
                          {"BM_ExistsMatches/1", "BM_RegexecWithOffsets/1"},
                          {"BM_ContainsRegex/0", "BM_RegexecWithoutOffsets/0"},
                          {"BM_ContainsRegex/1", "BM_RegexecWithoutOffsets/1"}});
}
