// A large file of pseudo-random bytes for the digest benchmarks, and the
// `openssl dgst -sha1` run they compare against. The size in MiB comes from
// ZOR_BENCH_FILE_MIB (default 256; the target case is 1024).
#pragma once

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

extern char** environ;

namespace zor::bench {

inline std::size_t FileMiB() {
    char const* text = std::getenv("ZOR_BENCH_FILE_MIB");
    long mib = text ? std::atol(text) : 256;
    return mib > 0 ? static_cast<std::size_t>(mib) : 256;
}

// Removed when the program ends.
class BigTempFile {
public:
    BigTempFile()
        : path_((std::filesystem::temp_directory_path() /
                 ("zor_bench_big_file_" + std::to_string(getpid())))
                    .string()) {
        std::vector<unsigned char> block(1 << 20);
        unsigned state = 2463534242u;
        for (unsigned char& b : block)
            b = static_cast<unsigned char>((state = state * 1664525 + 1013904223) >> 24);
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

inline std::string const& BigFile() {
    static BigTempFile const file;
    return file.Path();
}

inline double MaxRSSMiB() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024.0;
}

inline void SetFileBytes(benchmark::State& state) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * FileMiB() << 20));
}

// `openssl dgst -sha1` of the big file, once per iteration.
inline void OpensslDgstSha1(benchmark::State& state) {
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
    SetFileBytes(state);
}

} // namespace zor::bench
