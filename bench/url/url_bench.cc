// URL decoding throughput against a plain decoding loop, and URL parsing.
#include <string>

#include "bench/util/ratio_reporter.h"
#include "url/percent.h"
#include "url/url.h"
#include "util/ascii.h"

namespace {

// 1 MiB of query-like text in which about one byte in eight is escaped.
std::string const& Encoded() {
    static std::string const text = [] {
        std::string raw;
        for (std::size_t i = 0; raw.size() < (1u << 20) * 7 / 10; ++i)
            raw += (i % 3 == 0) ? "name=value with spaces&" : "plain/segment/text-";
        return URLEncoder(URLComponent::FormField)(raw);
    }();
    return text;
}

void BM_URLDecoder(benchmark::State& state) {
    URLDecoder decode;
    std::string out;
    for (auto _ : state) {
        out.clear();
        decode.Append(out, Encoded());
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * Encoded().size()));
}
BENCHMARK(BM_URLDecoder);

void BM_PlainDecodeLoop(benchmark::State& state) {
    std::string out;
    for (auto _ : state) {
        out.clear();
        out.reserve(Encoded().size());
        std::string const& in = Encoded();
        for (std::size_t i = 0; i < in.size(); ++i) {
            if (in[i] == '%' && i + 2 < in.size()) {
                out.push_back(static_cast<char>(Ascii::HexValue(in[i + 1]) * 16 +
                                                Ascii::HexValue(in[i + 2])));
                i += 2;
            } else {
                out.push_back(in[i]);
            }
        }
        benchmark::DoNotOptimize(out.data());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * Encoded().size()));
}
BENCHMARK(BM_PlainDecodeLoop);

void BM_ParseURL(benchmark::State& state) {
    std::string const text = "https://user:pw@www.example.com:8443/a/b%20c/d.html?q=1&r=%7E#top";
    for (auto _ : state)
        benchmark::DoNotOptimize(URLInfo::Parse(text));
}
BENCHMARK(BM_ParseURL);

} // namespace

int main(int argc, char** argv) {
    return RunWithRatios(argc, argv, {{"BM_URLDecoder", "BM_PlainDecodeLoop"}});
}
