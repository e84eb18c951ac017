// A store of 100,000 settings in 100 sections: loading and flushing it
// against libplist reading and writing the same file, and FindItem; and
// one `zorsettings set` into a store of 10,000 settings, whose write merges,
// against the same command writing the whole store over the file.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <random>
#include <sstream>
#include <unordered_map>

#include "settings/agent_settings.h"
#include "settings/preference_domain.h"
#include "settings/preference_file.h"
#include "settings/setting_store.h"
#include "tools/zorsettings/zorsettings.h"

namespace {

constexpr char const* kDomain = "bench.domain";
constexpr char const* kKey = "Settings";
constexpr int kSections = 100;
constexpr int kSettingsPerSection = 1000;

std::string SectionName(int section) {
    return "Section" + std::to_string(section);
}
std::string SettingName(int setting) {
    return "Setting" + std::to_string(setting);
}

// The folder and the binary file with the store, built once.
struct Fixture {
    std::filesystem::path folder;
    std::filesystem::path file;

    explicit Fixture(std::string const& domain = kDomain, int sectionCount = kSections) {
        std::string pattern = std::filesystem::temp_directory_path() / "zor-settings-bench-XXXXXX";
        folder = ::mkdtemp(pattern.data());
        file = folder / (domain + ".plist");
        CFPreferenceSectionMap sections;
        Instant base = Instant::Now();
        for (int s = 0; s < sectionCount; ++s) {
            auto& settings = sections[SectionName(s)];
            for (int i = 0; i < kSettingsPerSection; ++i) {
                settings[SettingName(i)] = CFPreferenceSetting(
                    "value of setting " + std::to_string(i) + " in section " + std::to_string(s),
                    base + TimeInterval(s * kSettingsPerSection + i));
            }
        }
        AutoCFPropertyList root(plist_new_dict());
        plist_dict_set_item(root.Get(), kKey, MakeCFDictionary(sections).Release());
        WriteFileAtomically(file, SerializeBinaryPropertyList(root.Get()));
        SetPreferencesFolder(folder);
    }
    ~Fixture() {
        SetPreferencesFolder({});
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }
};

Fixture& TheFixture() {
    static Fixture fixture;
    return fixture;
}

// The agent's file with 10 sections of 1,000 settings, for zorsettings.
Fixture& SmallAgentFixture() {
    static Fixture fixture(AgentPreferenceDomain, 10);
    return fixture;
}

std::unique_ptr<CFPreferenceSettingStore> LoadStore() {
    return std::make_unique<CFPreferenceSettingStore>(kKey, kDomain, kCFPreferencesAnyUser,
                                                      kCFPreferencesCurrentHost);
}

AutoCFPropertyList RawRead(std::filesystem::path const& file) {
    std::string bytes = *ReadFileIfPresent(file);
    plist_t tree = nullptr;
    plist_from_memory(bytes.data(), static_cast<uint32_t>(bytes.size()), &tree);
    return AutoCFPropertyList(tree);
}

// libplist alone: read the file and parse it.
void BM_RawLibplistRead(benchmark::State& state) {
    Fixture& fixture = TheFixture();
    for (auto _ : state) {
        AutoCFPropertyList tree = RawRead(fixture.file);
        benchmark::DoNotOptimize(tree.Get());
    }
}

// The store: a new process's first use, from the file to the settings map.
void BM_StoreLoad(benchmark::State& state) {
    Fixture& fixture = TheFixture();
    for (auto _ : state) {
        SetPreferencesFolder(fixture.folder); // forget the cached file
        auto store = LoadStore();
        benchmark::DoNotOptimize(store->FindItem("Section1", "Setting1").AtEnd());
    }
}

// libplist alone: serialise the parsed file with its own writer.
void BM_RawLibplistWrite(benchmark::State& state) {
    AutoCFPropertyList tree = RawRead(TheFixture().file);
    for (auto _ : state) {
        char* bytes = nullptr;
        uint32_t length = 0;
        plist_to_bin(tree.Get(), &bytes, &length);
        plist_to_bin_free(bytes);
    }
}

// The store: one change, then Flush (the change made on the file's value,
// serialised, written atomically with fsync of the file and the folder).
void BM_StoreFlush(benchmark::State& state) {
    Fixture& fixture = TheFixture();
    SetPreferencesFolder(fixture.folder);
    auto store = LoadStore();
    for (auto _ : state) {
        store->Set("Section0", "Setting0", "changed", Instant::Now());
        store->Flush();
    }
}

// One `zorsettings set` as a new process runs it: load, set, merging write.
void BM_ZorSettingsSet(benchmark::State& state) {
    std::string folder = SmallAgentFixture().folder.string();
    for (auto _ : state) {
        std::ostringstream out;
        if (RunZorSettings({"--folder", folder, "set", "Section0", "Setting0", "v"}, out, out) !=
            0) {
            state.SkipWithError(out.str().c_str());
        }
    }
}

// The same steps, but the whole store as loaded is written over the file.
void BM_PlainWholeSet(benchmark::State& state) {
    Fixture& fixture = SmallAgentFixture();
    for (auto _ : state) {
        SetPreferencesFolder(fixture.folder);
        CFPreferenceSettingStore store(kSettingsPreferenceKey, AgentPreferenceDomain,
                                       kCFPreferencesAnyUser, kCFPreferencesCurrentHost);
        store.Set("Section0", "Setting0", "v", Instant::Now());
        store.Write(kSettingsPreferenceKey, store.Contents());
        if (!PreferenceDomainFor(AgentPreferenceDomain).SynchronizeOrReport()) {
            state.SkipWithError("the write failed");
        }
    }
}

// Lookups of settings chosen at random across the whole store.
void BM_FindItem(benchmark::State& state) {
    Fixture& fixture = TheFixture();
    SetPreferencesFolder(fixture.folder);
    auto store = LoadStore();
    std::mt19937 random(7);
    std::vector<std::pair<std::string, std::string>> keys;
    for (int i = 0; i < 4096; ++i) {
        keys.emplace_back(SectionName(static_cast<int>(random() % kSections)),
                          SettingName(static_cast<int>(random() % kSettingsPerSection)));
    }
    std::size_t next = 0;
    for (auto _ : state) {
        auto const& [section, name] = keys[next++ % keys.size()];
        auto item = store->FindItem(std::string_view(section), std::string_view(name));
        benchmark::DoNotOptimize(item.Value().begin());
    }
}

// The same lookups in one flat hash map of "section/name" to value, the
// cheapest structure that answers them.
void BM_RawHashLookup(benchmark::State& state) {
    std::unordered_map<std::string, std::string> flat;
    for (int s = 0; s < kSections; ++s) {
        for (int i = 0; i < kSettingsPerSection; ++i) {
            flat.emplace(SectionName(s) + "/" + SettingName(i), "value " + std::to_string(i));
        }
    }
    std::mt19937 random(7);
    std::vector<std::string> keys;
    for (int i = 0; i < 4096; ++i) {
        std::string section = SectionName(static_cast<int>(random() % kSections));
        keys.push_back(section + "/" +
                       SettingName(static_cast<int>(random() % kSettingsPerSection)));
    }
    std::size_t next = 0;
    for (auto _ : state) {
        auto found = flat.find(keys[next++ % keys.size()]);
        benchmark::DoNotOptimize(found->second.data());
    }
}

BENCHMARK(BM_RawLibplistRead)->Unit(benchmark::kMillisecond)->Iterations(8);
BENCHMARK(BM_StoreLoad)->Unit(benchmark::kMillisecond)->Iterations(8);
BENCHMARK(BM_RawLibplistWrite)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(BM_StoreFlush)->Unit(benchmark::kMillisecond)->Iterations(8);
BENCHMARK(BM_ZorSettingsSet)->Unit(benchmark::kMillisecond)->Iterations(40);
BENCHMARK(BM_PlainWholeSet)->Unit(benchmark::kMillisecond)->Iterations(40);
BENCHMARK(BM_FindItem)->Unit(benchmark::kNanosecond);
BENCHMARK(BM_RawHashLookup)->Unit(benchmark::kNanosecond);

// Prints, after the table, each store operation against its raw
// counterpart from the same run.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(std::vector<Run> const& runs) override {
        for (Run const& run : runs) {
            auto iterations = static_cast<double>(run.iterations);
            std::string name = run.benchmark_name();
            seconds_[name.substr(0, name.find('/'))] = {run.real_accumulated_time / iterations,
                                                        run.cpu_accumulated_time / iterations};
        }
        ConsoleReporter::ReportRuns(runs);
    }
    void Finalize() override {
        ConsoleReporter::Finalize();
        Ratio("BM_StoreLoad", "BM_RawLibplistRead", "load / libplist read", 2.0);
        Ratio("BM_StoreFlush", "BM_RawLibplistRead", "flush / libplist read", 3.0);
        Ratio("BM_StoreFlush", "BM_RawLibplistWrite", "flush / libplist write", 1.0);
        Ratio("BM_ZorSettingsSet", "BM_PlainWholeSet",
              "zorsettings set, merging / writing the whole store", 1.5);
        auto found = seconds_.find("BM_FindItem");
        auto raw = seconds_.find("BM_RawHashLookup");
        if (found != seconds_.end() && raw != seconds_.end()) {
            std::printf("FindItem: %.0f ns real, %.0f ns CPU (target < 1000 ns); "
                        "%.2fx a flat hash lookup (CPU)\n",
                        found->second.real * 1e9, found->second.cpu * 1e9,
                        found->second.cpu / raw->second.cpu);
        }
    }

private:
    void Ratio(std::string const& store, std::string const& raw, char const* label, double target) {
        auto a = seconds_.find(store);
        auto b = seconds_.find(raw);
        if (a != seconds_.end() && b != seconds_.end()) {
            std::printf("%s: %.2fx real, %.2fx CPU (target < %.1fx)\n", label,
                        a->second.real / b->second.real, a->second.cpu / b->second.cpu, target);
        }
    }
    struct Times {
        double real;
        double cpu;
    };
    std::map<std::string, Times> seconds_;
};

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
}
