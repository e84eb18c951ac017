// The cached distinguished name through the evaluator against the same
// phrase path reading the cached string directly: a bench-only property of
// the local computer that returns the stored text the same way, without the
// cache's clock and rules. The difference is what the cache costs.
#include <benchmark/benchmark.h>

#include <string>

#include "bench/util/evaluate.h"
#include "bench/util/ratio_reporter.h"
#include "framework/memory.h"
#include "framework/prop.h"
#include "inspectors/system/active_directory.h"
#include "platform/linux/directory.h"

namespace {

std::string const& CachedText() {
    static std::string const text = "CN=WS01,OU=Computers,DC=zor,DC=test";
    return text;
}

class FixedDirectory : public platform::DirectorySource {
public:
    TimeMark Now() const override { return TimeMark::Now(); }
    std::string LocalComputerDistinguishedName() const override { return CachedText(); }
};

inspector_string cached_text_of(Of, ActiveDirectoryLocalComputer const&) {
    return CopyToInspectorString(ConstData(CachedText()));
}

Prop cachedTextOfLocalComputer("cached text", "cached texts", cached_text_of, nullptr);

FixedDirectory const directory;
platform::ScopedDirectorySource const installed(directory);

void BM_CachedStringRead(benchmark::State& state) {
    EvaluateBoundExpression(state, "cached text of local computer of active directory");
}

void BM_CachedDistinguishedName(benchmark::State& state) {
    EvaluateBoundExpression(state, "distinguished name of local computer of active directory");
}

} // namespace

BENCHMARK(BM_CachedStringRead);
BENCHMARK(BM_CachedDistinguishedName);

int main(int argc, char** argv) {
    return RunWithRatios(argc, argv,
                         {{"BM_CachedDistinguishedName", "BM_CachedStringRead"},
                          {"BM_CachedDistinguishedName_median", "BM_CachedStringRead_median"}});
}
