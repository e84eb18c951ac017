// The site, content, usage, selected-server and setting phrases with the
// simulated agent installed, each against the plain loop that does the same
// work on the same data, in one run:
// - site "x" by name over 1,000 sites (within 2x of comparing locator ends);
// - number of relevant quamels over 10,000 items (within 3x of the agent's loop);
// - number of application usages over 100,000 events (within 3x of a loop
//   applying the same interval rules);
// - host-selector entries written and read back, 10,000 of them (within 2x of
//   hand-written big-endian stores and loads);
// - names of settings of client over 10,000 settings (within 2x of walking the
//   store's section).
// The usage and settings phrases also have a floor: the least work the
// registration contract asks of any implementation, against the same loop.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <unistd.h>
#include <vector>

#include "agent/simulated_agent.h"
#include "bench/util/evaluate.h"
#include "bench/util/ratio_reporter.h"
#include "evaluator/helpers.h"
#include "inspectors/usage/file_name.h"
#include "settings/agent_settings.h"

namespace {

constexpr int cSites = 1000;
constexpr int cItems = 10000;
constexpr int cEvents = 100000;
constexpr int cEntries = 10000;
constexpr int cSettings = 10000;

std::string StateText() {
    std::string sites;
    for (int i = 0; i < cSites; ++i)
        sites += (i ? "," : "") + std::string(R"({"url": "http://h/sites/site)") +
                 std::to_string(i) + "\"}";
    std::string items;
    for (int i = 0; i < cItems; ++i)
        items += (i ? "," : "") + std::string(R"({"id": )") + std::to_string(i) +
                 R"(, "relevant": )" + (i % 3 ? "true" : "false") + "}";
    std::string events;
    for (int i = 0; i < cEvents; ++i)
        events += (i ? "," : "") + std::string(R"({"type": )") + std::to_string(i % 4) +
                  R"(, "time": )" + std::to_string(1000000LL * (i / 2)) + "}";
    return R"({"content": {}, "sites": {"list": [)" + sites +
           R"(, {"url": "http://h/x", "content": [)" + items +
           R"(]}]}, "usage": {"x": {"events": [)" + events + "]}}}";
}

SimulatedAgent& Agent() {
    static SimulatedAgent agent(ParseAgentState(StateText(), "/"));
    return agent;
}

AgentSites const& Sites() {
    return **Agent().State().sites;
}

void BM_SiteByName(benchmark::State& state) {
    EvaluateBoundExpression(state, "site \"Site999\"", &Agent());
}

// The raw lookup: the first site whose decoded locator ends in the name.
void BM_SiteLoop(benchmark::State& state) {
    std::string const name = "Site999";
    for (auto _ : state) {
        AgentSite const* found = nullptr;
        for (AgentSite const& site : Sites().list) {
            std::string const& locator = site.map->SiteLocatorDecoded().str();
            if (locator.size() >= name.size() &&
                CompareIgnoreCaseN(locator.data() + locator.size() - name.size(), name.data(),
                                   name.size()) == 0) {
                found = &site;
                break;
            }
        }
        benchmark::DoNotOptimize(found);
    }
}

void BM_RelevantQuamels(benchmark::State& state) {
    EvaluateBoundExpression(state, "number of relevant quamels of site \"/x\"", &Agent());
}

// The agent's side alone: its operation asked for each relevant item in turn.
void BM_RelevantQuamelLoop(benchmark::State& state) {
    ScopedInspectorContext const installed(&Agent());
    InspectorQuamelContext const& content = Agent();
    SiteMap const* site = Sites().list.back().map.get();
    for (auto _ : state) {
        InspectorQuamelData data;
        std::int64_t count = 0;
        for (data.ordinal = 0; content.GetQuamelProperties(site, &data, true); ++data.ordinal)
            ++count;
        benchmark::DoNotOptimize(count);
    }
}

// The floors below do what any implementation of a phrase must do under the
// registration contract, with no evaluator around it: one call through a
// function pointer for each value and each property of it, every result
// copied into memory that lives until the evaluation ends. They bound how
// close to the raw loop the phrase can come.
class BumpArena {
public:
    void* Allocate(std::size_t size) {
        void* const block = bytes_.data() + used_;
        used_ += (size + 15) & ~std::size_t{15};
        return block;
    }
    void Reset() { used_ = 0; }

private:
    // Ample for one pass over these phrases' values.
    std::vector<unsigned char> bytes_ = std::vector<unsigned char>(std::size_t{1} << 24);
    std::size_t used_ = 0;
};

BumpArena& FloorArena() {
    static BumpArena arena;
    return arena;
}

void BM_ApplicationUsages(benchmark::State& state) {
    EvaluateBoundExpression(state, "number of application usages \"x\"", &Agent());
}

// The interval rules of the usage phrase, applied to one event at a time.
struct IntervalRules {
    std::int64_t intervals = 0;
    std::int32_t count = 0;
    Instant last = Instant::Jan_1_1970_GMT();

    void Apply(ExecutionEvent const& event) {
        bool const closes = event.time != last;
        if (event.type == cStartSampling) {
            count = 0;
            last = event.time;
            return;
        }
        if (event.type == cApplicationStart || event.type == cApplicationEnd)
            count += event.type == cApplicationStart ? 1 : -1;
        else if (closes)
            count = 0;
        if (closes) {
            ++intervals;
            last = event.time;
        }
    }
};

// The same interval rules applied to the same events in a plain loop.
void BM_IntervalLoop(benchmark::State& state) {
    auto const& events = (**Agent().State().usage).at("x").events;
    for (auto _ : state) {
        IntervalRules rules;
        for (ExecutionEvent const& event : events)
            rules.Apply(event);
        benchmark::DoNotOptimize(rules);
    }
}

// The same rules over the events as the agent hands them out one by one:
// the part of the usage phrase's cost that the agent's interface sets.
void BM_IntervalLoopThroughAgent(benchmark::State& state) {
    ScopedInspectorContext const installed(&Agent());
    InspectorProcessTableContext const& table = Agent();
    FileName const name = ExactFileName(ConstData("x"));
    for (auto _ : state) {
        MeasureLoggerStream stream;
        IntervalRules rules;
        while (table.FindAppEvent(name, stream))
            rules.Apply(stream.Current());
        benchmark::DoNotOptimize(rules);
    }
}

// The usage phrase's floor: the agent's events one by one, and for each
// interval a call that hands out a time range and a count in two blocks.
struct UsageFloorState {
    InspectorProcessTableContext const* table;
    FileName const* name;
    MeasureLoggerStream stream;
    IntervalRules rules;
};

[[gnu::noinline]] bool NextInterval(void* result, void* iterator) {
    auto& state = *static_cast<UsageFloorState*>(iterator);
    while (state.table->FindAppEvent(*state.name, state.stream)) {
        std::int64_t const before = state.rules.intervals;
        Instant const from = state.rules.last;
        state.rules.Apply(state.stream.Current());
        if (state.rules.intervals != before) {
            auto* const range = static_cast<Instant*>(FloorArena().Allocate(2 * sizeof(Instant)));
            range[0] = from;
            range[1] = state.rules.last;
            auto* const count = static_cast<std::int64_t*>(FloorArena().Allocate(8));
            *count = state.rules.count;
            static_cast<void**>(result)[0] = range;
            static_cast<void**>(result)[1] = count;
            return true;
        }
    }
    return false;
}

void BM_UsageContractFloor(benchmark::State& state) {
    ScopedInspectorContext const installed(&Agent());
    FileName const name = ExactFileName(ConstData("x"));
    bool (*volatile next)(void*, void*) = NextInterval;
    for (auto _ : state) {
        FloorArena().Reset();
        UsageFloorState iterator{
            &static_cast<InspectorProcessTableContext const&>(Agent()), &name, {}, {}};
        void* value[2];
        std::int64_t values = 0;
        while (next(value, &iterator))
            ++values;
        benchmark::DoNotOptimize(values);
    }
}

std::vector<HostSelectorEntry> const& Entries() {
    static std::vector<HostSelectorEntry> const entries = [] {
        std::vector<HostSelectorEntry> made;
        for (int i = 0; i < cEntries; ++i)
            made.emplace_back("relay" + std::to_string(i) + ".example.net",
                              Instant::FromUnixMicroseconds(1000000LL * i),
                              IPPortAddress{static_cast<IPAddress>(i), 52311}, 1, 2);
        return made;
    }();
    return entries;
}

std::size_t RecordBytes() {
    std::size_t total = 0;
    for (auto const& entry : Entries())
        total += FlattenedLength(entry);
    return total;
}

void BM_HostSelectorRoundTrip(benchmark::State& state) {
    std::vector<unsigned char> bytes(RecordBytes());
    for (auto _ : state) {
        Buffer out(Data(bytes.data(), bytes.size()));
        for (auto const& entry : Entries())
            out << entry;
        ConstBuffer in(out.Written());
        HostSelectorEntry entry;
        while (!in.empty())
            in >> entry;
        benchmark::DoNotOptimize(entry);
    }
}

void Store32(unsigned char*& at, std::uint32_t value) {
    for (int shift = 24; shift >= 0; shift -= 8)
        *at++ = static_cast<unsigned char>(value >> shift);
}
std::uint32_t Load32(unsigned char const*& at) {
    std::uint32_t value = 0;
    for (int i = 0; i < 4; ++i)
        value = (value << 8) | *at++;
    return value;
}

// The same fields stored and loaded by hand.
void BM_HandRoundTrip(benchmark::State& state) {
    std::vector<unsigned char> bytes(RecordBytes());
    for (auto _ : state) {
        unsigned char* out = bytes.data();
        for (auto const& entry : Entries()) {
            Store32(out, static_cast<std::uint32_t>(entry.name.size()));
            std::memcpy(out, entry.name.data(), entry.name.size());
            out += entry.name.size();
            Store32(out, static_cast<std::uint32_t>(entry.time.UnixMicroseconds() / 1000000));
            Store32(out, entry.address.ip);
            Store32(out, (std::uint32_t{entry.address.port} << 16) | entry.priority);
            *out++ = static_cast<unsigned char>(entry.weight >> 8);
            *out++ = static_cast<unsigned char>(entry.weight);
            *out++ = entry.distanceLowerBound;
            *out++ = entry.distanceUpperBound;
            Store32(out, entry.competitionSize);
            Store32(out, entry.competitionWeight);
            Store32(out, 20);
            for (IPAddress gateway : entry.gateways)
                Store32(out, gateway);
        }
        HostSelectorEntry entry;
        for (unsigned char const* in = bytes.data(); in < out;) {
            entry.name.assign(reinterpret_cast<char const*>(in) + 4, Load32(in));
            in += entry.name.size();
            entry.time = Instant::FromUnixMicroseconds(1000000LL * Load32(in));
            entry.address.ip = Load32(in);
            std::uint32_t const portAndPriority = Load32(in);
            entry.address.port = static_cast<std::uint16_t>(portAndPriority >> 16);
            entry.priority = static_cast<std::uint16_t>(portAndPriority);
            entry.weight = static_cast<std::uint16_t>((in[0] << 8) | in[1]);
            entry.distanceLowerBound = in[2];
            entry.distanceUpperBound = in[3];
            in += 4;
            entry.competitionSize = Load32(in);
            entry.competitionWeight = Load32(in);
            std::uint32_t const count = Load32(in);
            for (std::uint32_t i = 0; i < count; ++i)
                entry.gateways[i] = Load32(in);
        }
        benchmark::DoNotOptimize(entry);
    }
}

// A preference store of its own with 10,000 client settings.
void FillClientSettings() {
    static bool const filled = [] {
        auto const folder = std::filesystem::temp_directory_path() /
                            ("zor-families-bench-" + std::to_string(getpid()));
        std::filesystem::create_directories(folder);
        setenv("ZOR_PREFERENCES_DIR", folder.c_str(), 1);
        for (int i = 0; i < cSettings; ++i) {
            std::string const name = "setting" + std::to_string(i);
            MacintoshPlatform::ZORSettingStore().Set(ClientSettingSection(), ConstData(name),
                                                     "value", Instant::Now());
        }
        return true;
    }();
    benchmark::DoNotOptimize(filled);
}

void BM_SettingsOfClient(benchmark::State& state) {
    FillClientSettings();
    EvaluateBoundExpression(state, "names of settings of client", &Agent());
}

void BM_SectionWalk(benchmark::State& state) {
    FillClientSettings();
    for (auto _ : state) {
        auto position = MacintoshPlatform::ZORSettingStore().FindSection(ClientSettingSection());
        for (; !position.AtEnd(); ++position) {
            if (!position.Deleted())
                benchmark::DoNotOptimize(position.Name());
        }
    }
}

// The settings phrase's floor: a call for each live setting, a call for its
// name copied out, and a call delivering the name.
using SettingPosition = WrappedSettingIterator<CFPreferenceSettingIterator>;

[[gnu::noinline]] bool NextLiveSetting(void* result, void* iterator) {
    auto& position = *static_cast<SettingPosition*>(iterator);
    while (!position.AtEnd() && position.Deleted())
        ++position;
    if (position.AtEnd())
        return false;
    *static_cast<SettingPosition*>(result) = position;
    ++position;
    return true;
}

[[gnu::noinline]] void NameOfSetting(void* result, void const* object) {
    ConstData const name = static_cast<SettingPosition const*>(object)->Name();
    void* const copy = FloorArena().Allocate(name.Length());
    std::memcpy(copy, name.begin(), name.Length());
    *static_cast<ConstData*>(result) = ConstData(copy, name.Length());
}

[[gnu::noinline]] void DeliverName(ConstData const& name) {
    benchmark::DoNotOptimize(name.begin());
}

void BM_SettingsContractFloor(benchmark::State& state) {
    FillClientSettings();
    bool (*volatile next)(void*, void*) = NextLiveSetting;
    void (*volatile nameOf)(void*, void const*) = NameOfSetting;
    void (*volatile deliver)(ConstData const&) = DeliverName;
    for (auto _ : state) {
        FloorArena().Reset();
        SettingPosition position =
            MacintoshPlatform::ZORSettingStore().FindSection(ClientSettingSection());
        SettingPosition setting = position;
        ConstData name;
        while (next(&setting, &position)) {
            nameOf(&name, &setting);
            deliver(name);
        }
    }
}

} // namespace

BENCHMARK(BM_SiteByName);
BENCHMARK(BM_SiteLoop);
BENCHMARK(BM_RelevantQuamels)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_RelevantQuamelLoop)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ApplicationUsages)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_IntervalLoop)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_IntervalLoopThroughAgent)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_UsageContractFloor)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_HostSelectorRoundTrip)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_HandRoundTrip)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_SettingsOfClient)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_SectionWalk)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_SettingsContractFloor)->Unit(benchmark::kMicrosecond);

int main(int argc, char** argv) {
    return RunWithRatios(argc, argv,
                         {{"BM_SiteByName", "BM_SiteLoop"},
                          {"BM_RelevantQuamels", "BM_RelevantQuamelLoop"},
                          {"BM_ApplicationUsages", "BM_IntervalLoop"},
                          {"BM_ApplicationUsages", "BM_IntervalLoopThroughAgent"},
                          {"BM_UsageContractFloor", "BM_IntervalLoop"},
                          {"BM_HostSelectorRoundTrip", "BM_HandRoundTrip"},
                          {"BM_SettingsOfClient", "BM_SectionWalk"},
                          {"BM_SettingsContractFloor", "BM_SectionWalk"}});
}
