// SHA-1 of a large file against `openssl dgst -sha1` of the same file, and hex
// encoding against a plain loop. The file size in MiB comes from
// ZOR_BENCH_FILE_MIB (default 256; the target case is 1024).
#include <string>
#include <vector>

#include "bench/util/big_file.h"
#include "bench/util/ratio_reporter.h"
#include "util/file_digest.h"
#include "util/hex_encoder.h"

namespace {

using namespace zor::bench;

void BM_Sha1OfFile(benchmark::State& state) {
    std::string const& path = BigFile();
    EVP_MD const* sha1 = EVPInitializer::The().SHA1();
    DigestFile(path, sha1); // warm the page cache
    double rssBefore = MaxRSSMiB();
    for (auto _ : state)
        benchmark::DoNotOptimize(DigestFile(path, sha1));
    SetFileBytes(state);
    state.counters["maxrss_growth_MiB"] = MaxRSSMiB() - rssBefore;
}
BENCHMARK(BM_Sha1OfFile)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();

void BM_OpensslDgstSha1(benchmark::State& state) {
    OpensslDgstSha1(state);
}
BENCHMARK(BM_OpensslDgstSha1)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();

std::vector<unsigned char> const& Input() {
    static std::vector<unsigned char> const bytes = [] {
        std::vector<unsigned char> b(1 << 20);
        for (std::size_t i = 0; i < b.size(); ++i)
            b[i] = static_cast<unsigned char>(i * 131 + (i >> 7));
        return b;
    }();
    return bytes;
}

void BM_HexEncoder(benchmark::State& state) {
    std::vector<unsigned char> out(2 * Input().size());
    for (auto _ : state) {
        HexEncoder encoder;
        ConstBuffer in(ConstData(Input().data(), Input().size()));
        Buffer to(Data(out.data(), out.size()));
        encoder(in, to);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * Input().size()));
}
BENCHMARK(BM_HexEncoder);

void BM_PlainHexLoop(benchmark::State& state) {
    std::vector<unsigned char> out(2 * Input().size());
    static char const digits[] = "0123456789abcdef";
    for (auto _ : state) {
        unsigned char const* in = Input().data();
        for (std::size_t i = 0; i < Input().size(); ++i) {
            out[2 * i] = static_cast<unsigned char>(digits[in[i] >> 4]);
            out[2 * i + 1] = static_cast<unsigned char>(digits[in[i] & 15]);
        }
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * Input().size()));
}
BENCHMARK(BM_PlainHexLoop);

} // namespace

int main(int argc, char** argv) {
    return RunWithRatios(
        argc, argv,
        {{"BM_Sha1OfFile/iterations:3/real_time", "BM_OpensslDgstSha1/iterations:3/real_time"},
         {"BM_HexEncoder", "BM_PlainHexLoop"}});
}
