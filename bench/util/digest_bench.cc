// SHA-1 of a large file against `openssl dgst -sha1` of the same file, and hex
// encoding against a plain loop. The file size in MiB comes from
// ZOR_BENCH_FILE_MIB (default 256; the target case is 1024).
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <spawn.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "bench/util/ratio_reporter.h"
#include "util/file_digest.h"
#include "util/hex_encoder.h"

extern char** environ;

namespace {

std::size_t FileMiB() {
    char const* text = std::getenv("ZOR_BENCH_FILE_MIB");
    long mib = text ? std::atol(text) : 256;
    return mib > 0 ? static_cast<std::size_t>(mib) : 256;
}

// A file of pseudo-random bytes, removed when the program ends.
class BigTempFile {
public:
    BigTempFile()
        : path_((std::filesystem::temp_directory_path() /
                 ("zor_bench_digest_" + std::to_string(getpid())))
                    .string()) {
        std::vector<unsigned char> block(1 << 20);
        unsigned state = 12345;
        for (unsigned char& b : block)
            b = static_cast<unsigned char>((state = state * 1103515245 + 12345) >> 16);
        FILE* out = std::fopen(path_.c_str(), "wb");
        for (std::size_t i = 0; out && i < FileMiB(); ++i) {
            block[0] = static_cast<unsigned char>(i);
            std::fwrite(block.data(), 1, block.size(), out);
        }
        if (out)
            std::fclose(out);
    }
    ~BigTempFile() { std::remove(path_.c_str()); }
    BigTempFile(BigTempFile const&) = delete;
    BigTempFile& operator=(BigTempFile const&) = delete;

    std::string const& Path() const { return path_; }

private:
    std::string path_;
};

std::string const& BigFile() {
    static BigTempFile const file;
    return file.Path();
}

double MaxRSSMiB() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024.0;
}

void BM_Sha1OfFile(benchmark::State& state) {
    std::string const& path = BigFile();
    EVP_MD const* sha1 = EVPInitializer::The().SHA1();
    DigestFile(path, sha1); // warm the page cache
    double rssBefore = MaxRSSMiB();
    for (auto _ : state)
        benchmark::DoNotOptimize(DigestFile(path, sha1));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * FileMiB() << 20));
    state.counters["maxrss_growth_MiB"] = MaxRSSMiB() - rssBefore;
}
BENCHMARK(BM_Sha1OfFile)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();

void BM_OpensslDgstSha1(benchmark::State& state) {
    std::string const& path = BigFile();
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    char const* argv[] = {"openssl", "dgst", "-sha1", path.c_str(), nullptr};
    for (auto _ : state) {
        pid_t child = 0;
        if (posix_spawnp(&child, "openssl", &actions, nullptr, const_cast<char**>(argv), environ) !=
            0) {
            state.SkipWithError("cannot run openssl");
            break;
        }
        int status = 0;
        waitpid(child, &status, 0);
        if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
            state.SkipWithError("openssl dgst failed");
    }
    posix_spawn_file_actions_destroy(&actions);
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * FileMiB() << 20));
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
