// Reading a 10 MB action script: line counting and download listing against
// a loop that only splits the same text into lines.
#include <benchmark/benchmark.h>

#include <string>
#include <string_view>

#include "action/action_shell_parser.h"
#include "action/mirror_download_parser.h"

namespace {

constexpr std::size_t kScriptBytes = 10u << 20;

// One step of a typical deployment script; n keeps names distinct.
std::string Step(std::size_t n) {
    std::string const id = std::to_string(n);
    std::string const digest = "3f786850e387550fdab836ed7e6dc881de23001b";
    return "// step " + id +
           "\r\n"
           "if {not exists file \"/Library/Tools/tool" +
           id +
           "\"}\r\n"
           "  prefetch tool" +
           id + ".pkg sha1:" + digest + " size:1048576 http://server:52311/files/tool" + id +
           ".pkg\r\n"
           "  download http://server:52311/files/extra" +
           id +
           ".zip\r\n"
           "  continue if {(size of file \"extra" +
           id + ".zip\" of download folder = 20480) and (sha1 of file \"extra" + id +
           ".zip\" of download folder = \"" + digest +
           "\")}\r\n"
           "  createfile until @END\r\n"
           "#!/bin/sh\r\n"
           "installer -pkg \"tool" +
           id +
           ".pkg\" -target /\r\n"
           "@END\r\n"
           "  wait /bin/sh \"{pathname of client folder of current site}/__createfile\"\r\n"
           "elseif {exists file \"/tmp/skip" +
           id +
           "\"}\r\n"
           "  run /usr/bin/true\r\n"
           "else\r\n"
           "  delete \"/tmp/old" +
           id +
           "\"\r\n"
           "endif\r\n"
           "setting \"Step\"=\"" +
           id + "\" on \"{parameter \"action issue date\" of action}\" for client\r\n\r\n";
}

std::string const& Script() {
    static std::string const script = [] {
        std::string text;
        for (std::size_t n = 0; text.size() < kScriptBytes; ++n)
            text += Step(n);
        return text;
    }();
    return script;
}

// The raw operation: cut the text into CR/LF lines and look at each once.
void BM_SplitLines(benchmark::State& state) {
    std::string_view const text = Script();
    for (auto _ : state) {
        std::size_t lines = 0;
        std::size_t start = 0;
        for (std::size_t i = 0; i < text.size(); ++i) {
            if (text[i] == '\r' || text[i] == '\n') {
                lines += i > start;
                start = i + 1;
            }
        }
        benchmark::DoNotOptimize(lines);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}
BENCHMARK(BM_SplitLines)->Unit(benchmark::kMillisecond);

void BM_GetNumberOfActionLines(benchmark::State& state) {
    std::string const& text = Script();
    for (auto _ : state)
        benchmark::DoNotOptimize(ActionShellParser::GetNumberOfActionLines(text));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}
BENCHMARK(BM_GetNumberOfActionLines)->Unit(benchmark::kMillisecond);

void BM_BuildMirrorDownloadList(benchmark::State& state) {
    Stringy const script(Script());
    for (auto _ : state) {
        MirrorDownloadActionParser parser;
        DownloadList list;
        WinVersion version;
        benchmark::DoNotOptimize(parser.BuildMirrorDownloadList(script, list, version));
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * Script().size()));
}
BENCHMARK(BM_BuildMirrorDownloadList)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
