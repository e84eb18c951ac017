// The device registry and the application list through the evaluator against
// plain C++ reading the same folders and files in the same run, with the
// ratio of each pair printed at the end.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "bench/util/evaluate.h"
#include "bench/util/ratio_reporter.h"
#include "tests/framework/loaded_plugin.h"

namespace {

LoadedPlugin const plugin(ZOR_PLUGIN_PATH);

void BM_PlainReaddirDevices(benchmark::State& state) {
    for (auto _ : state) {
        long count = 0;
        DIR* devices = opendir("/sys/devices");
        while (dirent* entry = readdir(devices)) {
            count += entry->d_type == DT_DIR && entry->d_name[0] != '.';
        }
        closedir(devices);
        benchmark::DoNotOptimize(count);
    }
}

void BM_NumberOfServicePlaneNodes(benchmark::State& state) {
    EvaluateBoundExpression(state, "number of nodes of service plane of iokit registry");
}

} // namespace

BENCHMARK(BM_PlainReaddirDevices)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_NumberOfServicePlaneNodes)->Unit(benchmark::kMicrosecond);

int main(int argc, char** argv) {
    std::vector<std::pair<std::string, std::string>> pairs = {
        {"BM_NumberOfServicePlaneNodes", "BM_PlainReaddirDevices"}};
    for (std::size_t i = 0, count = pairs.size(); i < count; ++i) {
        pairs.emplace_back(pairs[i].first + "_median", pairs[i].second + "_median");
    }
    return RunWithRatios(argc, argv, pairs);
}
