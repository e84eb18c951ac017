// "sha1 of file" of a large file through the evaluator and the inspector
// plug-in, against `openssl dgst -sha1` of the same file in the same run,
// both with a warm page cache. The file size in MiB comes from
// ZOR_BENCH_FILE_MIB (default 256; the target case is 1024). The growth of
// the peak resident size while digesting shows that memory stays constant.
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
#include "evaluator/evaluator.h"
#include "tests/framework/loaded_plugin.h"

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
                 ("zor_bench_files_" + std::to_string(getpid())))
                    .string()) {
        std::vector<unsigned char> block(1 << 20);
        unsigned state = 2463534242u;
        for (unsigned char& b : block) {
            b = static_cast<unsigned char>((state = state * 1664525 + 1013904223) >> 24);
        }
        FILE* out = std::fopen(path_.c_str(), "wb");
        for (std::size_t i = 0; out && i < FileMiB(); ++i) {
            block[0] = static_cast<unsigned char>(i);
            std::fwrite(block.data(), 1, block.size(), out);
        }
        if (out) {
            std::fclose(out);
        }
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

LoadedPlugin& Plugin() {
    static LoadedPlugin plugin(ZOR_PLUGIN_PATH);
    return plugin;
}

double MaxRSSMiB() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024.0;
}

void SetBytes(benchmark::State& state) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * FileMiB() << 20));
}

void BM_Sha1OfFileExpression(benchmark::State& state) {
    Plugin();
    zor::Expression const expression =
        zor::Expression::compile("sha1 of file \"" + BigFile() + "\"");
    expression.answers(); // warms the page cache
    double const rssBefore = MaxRSSMiB();
    for (auto _ : state) {
        benchmark::DoNotOptimize(expression.answers());
    }
    SetBytes(state);
    state.counters["maxrss_growth_MiB"] = MaxRSSMiB() - rssBefore;
}
BENCHMARK(BM_Sha1OfFileExpression)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();

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
        if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
            state.SkipWithError("openssl dgst failed");
        }
    }
    posix_spawn_file_actions_destroy(&actions);
    SetBytes(state);
}
BENCHMARK(BM_OpensslDgstSha1)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();

} // namespace

int main(int argc, char** argv) {
    return RunWithRatios(argc, argv,
                         {{"BM_Sha1OfFileExpression/iterations:3/real_time",
                           "BM_OpensslDgstSha1/iterations:3/real_time"}});
}
