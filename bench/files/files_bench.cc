// "sha1 of file" of a large file through the evaluator and the inspector
// plug-in, against `openssl dgst -sha1` of the same file in the same run,
// both with a warm page cache. The file size in MiB comes from
// ZOR_BENCH_FILE_MIB (default 256; the target case is 1024). The growth of
// the peak resident size while digesting shows that memory stays constant.
#include <string>
#include <vector>

#include "bench/util/big_file.h"
#include "bench/util/ratio_reporter.h"
#include "evaluator/evaluator.h"
#include "tests/framework/loaded_plugin.h"

namespace {

using namespace zor::bench;

LoadedPlugin& Plugin() {
    static LoadedPlugin plugin(ZOR_PLUGIN_PATH);
    return plugin;
}

void BM_Sha1OfFileExpression(benchmark::State& state) {
    Plugin();
    zor::Expression const expression =
        zor::Expression::compile("sha1 of file \"" + BigFile() + "\"");
    expression.answers(); // warms the page cache
    double const rssBefore = MaxRSSMiB();
    for (auto _ : state) {
        benchmark::DoNotOptimize(expression.answers());
    }
    SetFileBytes(state);
    state.counters["maxrss_growth_MiB"] = MaxRSSMiB() - rssBefore;
}
BENCHMARK(BM_Sha1OfFileExpression)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();

void BM_OpensslDgstSha1(benchmark::State& state) {
    OpensslDgstSha1(state);
}
BENCHMARK(BM_OpensslDgstSha1)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();

} // namespace

int main(int argc, char** argv) {
    return RunWithRatios(argc, argv,
                         {{"BM_Sha1OfFileExpression/iterations:3/real_time",
                           "BM_OpensslDgstSha1/iterations:3/real_time"}});
}
