// The agent-state phrases against their raw operations, in one run:
// "action 42 as string" with the simulated agent installed against writing
// the same record with snprintf (target: under 1 us and within 3x), and
// loading a 1 MB agent-state file against parsing its JSON alone (within 2x).
#include <benchmark/benchmark.h>

#include <cinttypes>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>

#include "agent/simulated_agent.h"
#include "bench/util/evaluate.h"
#include "bench/util/ratio_reporter.h"

namespace {

SimulatedAgent& Agent() {
    static SimulatedAgent agent(ParseAgentState(
        R"({"actions": {"records": [{"id": 42, "pending": true, "first_active_count": 1,
            "pending_time": "2026-11-20T08:00:00Z", "last_active_line_number": 3}]}})",
        "/"));
    return agent;
}

void BM_ActionAsString(benchmark::State& state) {
    EvaluateBoundExpression(state, "action 42 as string", &Agent());
}

// The same record written by one snprintf call into a fresh block.
void BM_SnprintfRecord(benchmark::State& state) {
    InspectorActionData const& data = Agent().ActionById(42)->data;
    for (auto _ : state) {
        char record[202];
        int const length = std::snprintf(
            record, sizeof record,
            ":pending=%d:id=%" PRIu32 ":pt=%" PRId64 ":constrained=%d:fac=%u:ac=%u:al=%u:lal=%u"
            ":wfd=%d:act=%d:s=%s:pr=%d:pl=%d:",
            data.pending, data.id, data.pendingTime / 1000000, data.constrained,
            unsigned{data.firstActiveCount}, unsigned{data.activeCount},
            unsigned{data.activeLineNumber}, unsigned{data.lastActiveLineNumber},
            data.waitingForDownload, data.active, "Failed", data.pendingRestart, data.pendingLogin);
        benchmark::DoNotOptimize(record);
        benchmark::DoNotOptimize(length);
    }
}

// About 1 MB of action records, every field given.
std::string const& MegabyteState() {
    static std::string const text = [] {
        std::string records;
        for (int id = 1; records.size() < 1000000; ++id) {
            records += (id > 1 ? "," : "");
            records += R"({"id": )" + std::to_string(id) +
                       R"(, "pending": true, "pending_time": "2026-11-20T08:00:00Z",)"
                       R"( "complete_time": 0, "pending_restart": false, "pending_login": false,)"
                       R"( "constrained": true, "constraint_code": 214, "first_active_count": 1,)"
                       R"( "active_count": 0, "active_line_number": 0, "active_start_time": 0,)"
                       R"( "last_active_line_number": 3, "last_active_time": 1795161600000000,)"
                       R"( "last_change_time": 0, "waiting_for_download": false, "active": false,)"
                       R"( "origin_quamel_id": 0})";
        }
        return R"({"actions": {"current": 1, "records": [)" + records + "]}}";
    }();
    return text;
}

void BM_LoadAgentState(benchmark::State& state) {
    for (auto _ : state) {
        SimulatedAgent agent(ParseAgentState(MegabyteState(), "/"));
        benchmark::DoNotOptimize(&agent);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * MegabyteState().size()));
}

void BM_ParseJson(benchmark::State& state) {
    for (auto _ : state) {
        auto document = nlohmann::json::parse(MegabyteState());
        benchmark::DoNotOptimize(&document);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * MegabyteState().size()));
}

} // namespace

BENCHMARK(BM_ActionAsString);
BENCHMARK(BM_SnprintfRecord);
BENCHMARK(BM_LoadAgentState)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ParseJson)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
    return RunWithRatios(
        argc, argv,
        {{"BM_ActionAsString", "BM_SnprintfRecord"}, {"BM_LoadAgentState", "BM_ParseJson"}});
}
