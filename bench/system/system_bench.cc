// The process, network and uptime inspectors through the evaluator (bound
// once, evaluated many times) against plain C++ doing the same work on the
// same sources, with the ratio of each pair printed at the end.
#include <benchmark/benchmark.h>

#include <arpa/inet.h>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <ifaddrs.h>
#include <netinet/in.h>
#include <string>
#include <unistd.h>
#include <vector>

#include "bench/util/evaluate.h"
#include "bench/util/ratio_reporter.h"
#include "evaluator/evaluator.h"
#include "tests/framework/loaded_plugin.h"

namespace {

LoadedPlugin const plugin(ZOR_PLUGIN_PATH);

struct Process {
    int pid;
    std::string name;
};

// Calls visit(pid, name) for every process, reading /proc/<pid>/stat the
// plain way.
template <class Visit> void WalkProc(Visit visit) {
    DIR* proc = opendir("/proc");
    while (dirent* entry = readdir(proc)) {
        if (entry->d_name[0] < '1' || entry->d_name[0] > '9') {
            continue;
        }
        char path[sizeof "/proc//stat" + sizeof entry->d_name];
        std::snprintf(path, sizeof path, "/proc/%s/stat", entry->d_name);
        int const fd = open(path, O_RDONLY);
        if (fd < 0) {
            continue;
        }
        char text[512];
        ssize_t const length = read(fd, text, sizeof text - 1);
        close(fd);
        if (length <= 0) {
            continue;
        }
        text[length] = '\0';
        char const* open = std::strchr(text, '(');
        char const* close = std::strrchr(text, ')');
        if (open && close && close > open) {
            visit(std::atoi(text), std::string(open + 1, close));
        }
    }
    closedir(proc);
}

void BM_PlainProcCount(benchmark::State& state) {
    for (auto _ : state) {
        long count = 0;
        WalkProc([&](int, std::string const&) { ++count; });
        benchmark::DoNotOptimize(count);
    }
}

void BM_NumberOfProcesses(benchmark::State& state) {
    EvaluateBoundExpression(state, "number of processes");
}

void BM_PlainProcNames(benchmark::State& state) {
    for (auto _ : state) {
        std::vector<Process> processes;
        WalkProc([&](int pid, std::string name) { processes.push_back({pid, std::move(name)}); });
        for (Process const& process : processes) {
            benchmark::DoNotOptimize(process.name.data());
        }
    }
}

void BM_NamesOfProcesses(benchmark::State& state) {
    EvaluateBoundExpression(state, "names of processes");
}

void BM_PlainGetifaddrsAddresses(benchmark::State& state) {
    for (auto _ : state) {
        ifaddrs* list = nullptr;
        getifaddrs(&list);
        std::vector<std::uint32_t> addresses;
        for (ifaddrs* entry = list; entry; entry = entry->ifa_next) {
            if (entry->ifa_addr && entry->ifa_addr->sa_family == AF_INET) {
                addresses.push_back(
                    ntohl(reinterpret_cast<sockaddr_in*>(entry->ifa_addr)->sin_addr.s_addr));
            }
        }
        benchmark::DoNotOptimize(addresses.data());
        freeifaddrs(list);
    }
}

void BM_AddressesOfIpInterfaces(benchmark::State& state) {
    EvaluateBoundExpression(state, "addresses of ip interfaces of network");
}

void BM_PlainUptimeClocks(benchmark::State& state) {
    for (auto _ : state) {
        timespec now{};
        timespec sinceBoot{};
        clock_gettime(CLOCK_REALTIME, &now);
        clock_gettime(CLOCK_BOOTTIME, &sinceBoot);
        benchmark::DoNotOptimize(now.tv_sec - sinceBoot.tv_sec);
    }
}

void BM_UptimeOfOperatingSystem(benchmark::State& state) {
    EvaluateBoundExpression(state, "uptime of operating system");
}

} // namespace

BENCHMARK(BM_PlainProcCount)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_NumberOfProcesses)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_PlainProcNames)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_NamesOfProcesses)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_PlainGetifaddrsAddresses)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_AddressesOfIpInterfaces)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_PlainUptimeClocks);
BENCHMARK(BM_UptimeOfOperatingSystem);

// Under a busy machine single runs vary widely; run with
// --benchmark_repetitions=N --benchmark_enable_random_interleaving=true and
// the medians are compared as well.
int main(int argc, char** argv) {
    std::vector<std::pair<std::string, std::string>> pairs = {
        {"BM_NumberOfProcesses", "BM_PlainProcCount"},
        {"BM_NamesOfProcesses", "BM_PlainProcNames"},
        {"BM_AddressesOfIpInterfaces", "BM_PlainGetifaddrsAddresses"},
        {"BM_UptimeOfOperatingSystem", "BM_PlainUptimeClocks"}};
    for (std::size_t i = 0, count = pairs.size(); i < count; ++i) {
        pairs.emplace_back(pairs[i].first + "_median", pairs[i].second + "_median");
    }
    return RunWithRatios(argc, argv, pairs);
}
