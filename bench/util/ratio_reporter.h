// Runs the registered benchmarks and then prints how each measured operation
// compares with the raw operation it is meant to keep up with.
#pragma once

#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(std::vector<Run> const& runs) override {
        // With repetitions, the median stands for the benchmark.
        for (Run const& run : runs) {
            if (run.run_type != Run::RT_Aggregate)
                seconds_.try_emplace(run.run_name.str(), run.GetAdjustedCPUTime());
            else if (run.aggregate_name == "median")
                seconds_[run.run_name.str()] = run.GetAdjustedCPUTime();
        }
        ConsoleReporter::ReportRuns(runs);
    }

    // Prints ours / raw for each pair whose both sides ran.
    void PrintRatios(std::vector<std::pair<std::string, std::string>> const& pairs) const {
        for (auto const& [ours, raw] : pairs) {
            auto a = seconds_.find(ours);
            auto b = seconds_.find(raw);
            if (a != seconds_.end() && b != seconds_.end() && b->second > 0)
                std::printf("ratio %s / %s = %.3f\n", ours.c_str(), raw.c_str(),
                            a->second / b->second);
        }
    }

private:
    std::map<std::string, double> seconds_;
};

inline int RunWithRatios(int argc, char** argv,
                         std::vector<std::pair<std::string, std::string>> const& pairs) {
    benchmark::Initialize(&argc, argv);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.PrintRatios(pairs);
    benchmark::Shutdown();
    return 0;
}
