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
#include "tests/files/temp_tree.h"
#include "tests/framework/loaded_plugin.h"

namespace {

LoadedPlugin const plugin(ZOR_PLUGIN_PATH);

constexpr int kApplications = 100;

// Desktop entries of programs in a folder of their own, which XDG_DATA_HOME,
// XDG_DATA_DIRS and PATH then name alone.
TempTree const& Applications() {
    static TempTree const made;
    static bool const filled = [] {
        made.Folder("empty");
        for (int i = 0; i < kApplications; ++i) {
            std::string const name = "program" + std::to_string(i);
            chmod(made.Write("bin/" + name, "#!/bin/sh\n").c_str(), 0755);
            made.Write("data/applications/" + name + ".desktop",
                       "[Desktop Entry]\nType=Application\nName=Program " + std::to_string(i) +
                           "\nComment=A program of the benchmark\nExec=" + name +
                           " %U\nIcon=" + name + "\nTerminal=false\nCategories=Utility;\n");
        }
        return true;
    }();
    benchmark::DoNotOptimize(filled);
    return made;
}

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

void BM_PlainDesktopEntryScan(benchmark::State& state) {
    std::string const folder = Applications().Path("data/applications");
    for (auto _ : state) {
        std::vector<std::string> names;
        DIR* entries = opendir(folder.c_str());
        while (dirent* entry = readdir(entries)) {
            if (entry->d_name[0] == '.') {
                continue;
            }
            int const fd = open((folder + "/" + entry->d_name).c_str(), O_RDONLY);
            char text[4096];
            ssize_t const length = read(fd, text, sizeof text);
            close(fd);
            std::string_view const content(text, length > 0 ? static_cast<std::size_t>(length) : 0);
            std::size_t const at = content.find("\nName=");
            if (at != std::string_view::npos) {
                names.emplace_back(content.substr(at + 6, content.find('\n', at + 6) - at - 6));
            }
        }
        closedir(entries);
        benchmark::DoNotOptimize(names.data());
    }
}

void BM_NamesOfApplications(benchmark::State& state) {
    EvaluateBoundExpression(state, "names of applications");
}

} // namespace

BENCHMARK(BM_PlainReaddirDevices)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_NumberOfServicePlaneNodes)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_PlainDesktopEntryScan)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_NamesOfApplications)->Unit(benchmark::kMicrosecond);

int main(int argc, char** argv) {
    TempTree const& tree = Applications();
    setenv("XDG_DATA_HOME", tree.Path("data").c_str(), 1);
    setenv("XDG_DATA_DIRS", tree.Path("empty").c_str(), 1);
    setenv("PATH", tree.Path("bin").c_str(), 1);
    std::vector<std::pair<std::string, std::string>> pairs = {
        {"BM_NumberOfServicePlaneNodes", "BM_PlainReaddirDevices"},
        {"BM_NamesOfApplications", "BM_PlainDesktopEntryScan"}};
    for (std::size_t i = 0, count = pairs.size(); i < count; ++i) {
        pairs.emplace_back(pairs[i].first + "_median", pairs[i].second + "_median");
    }
    return RunWithRatios(argc, argv, pairs);
}
