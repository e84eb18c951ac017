// Arbitrary text through every reader of action scripts: the parser walked as
// a host walks it, line counting and listing, download lists and entries,
// versions, redirected URLs and argument splitting. Every fault must be an
// ActionSyntaxError with a text of its own and every step must advance;
// arguments stay inside their buffer and never carry separators or removed
// quotes.
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "action/action_shell_parser.h"
#include "action/arg_parser.h"
#include "action/download_configuration.h"
#include "action/mirror_download_parser.h"
#include "fuzz/require.h"

namespace {

// Takes or skips branches by the condition text, so both paths are explored.
class FuzzParser : public ActionShellParser {
public:
    bool EvaluateCondition(Stringy const& condition) override {
        return condition.Length() % 2 == 0;
    }
};

void RunLikeHost(std::string const& script) {
    FuzzParser parser;
    ConstData text(script);
    std::uint16_t lines = 0;
    for (;;) {
        std::size_t const before = text.Length();
        if (!parser.GetCommand(text))
            break;
        Require(text.Length() < before);
        bool isDownload = false;
        bool const skip = parser.ProcessBlockControl(text, lines, isDownload);
        if (!skip && parser.GetCurrentCommand() == ActionShellParser::cCreateFileUntil)
            parser.SkipCreateFile(text, lines);
    }
}

template <class Call> void Survive(Call call) {
    try {
        call();
    } catch (ActionSyntaxError const&) {
        Require(GetActionSyntaxErrorString() != "Unknown ActionSyntaxError.");
    }
}

bool Stripped(Stringy const& text) {
    std::string const& s = text.str();
    return s.empty() || (!ArgParser::IsWhiteSpace(s.front()) && !ArgParser::IsWhiteSpace(s.back()));
}

void BuildList(std::string const& script) {
    MirrorDownloadActionParser parser;
    DownloadList list;
    WinVersion version;
    Require(parser.BuildMirrorDownloadList(Stringy(script), list, version) ==
            (list.GetCount() > 0));
    for (std::size_t i = 0; i < list.GetCount(); ++i) {
        DownloadFileInfo const& info = list.GetDownloadFileInfo(i);
        Require(Stripped(info.url) && Stripped(info.size));
        parser.InsureGoodName(info.name);
    }
}

bool HasUnquotedWhiteSpace(char const* argument) {
    bool quoted = false;
    for (char const* p = argument; *p != '\0'; ++p) {
        if (*p == '"')
            quoted = !quoted;
        else if (!quoted && ArgParser::IsWhiteSpace(*p))
            return true;
    }
    return false;
}

void SplitArguments(std::string buffer, bool keepQuotes) {
    std::size_t const textLength = std::strlen(buffer.c_str());
    char const* const begin = buffer.data();
    ArgParser parser;
    std::size_t total = 0;
    for (char const* arg = parser.GetFirstArg(buffer.data(), keepQuotes); arg != nullptr;
         arg = parser.GetNextArg(keepQuotes)) {
        std::size_t const length = std::strlen(arg);
        Require(arg >= begin && arg + length <= begin + textLength);
        Require(keepQuotes ? !HasUnquotedWhiteSpace(arg) : std::strchr(arg, '"') == nullptr);
        total += length;
        Require(total <= textLength);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string const text(reinterpret_cast<char const*>(data), size);
    Survive([&] { RunLikeHost(text); });
    Survive([&] { ActionShellParser::GetNumberOfActionLines(text); });
    Survive([&] {
        std::vector<std::string> lines;
        ActionShellParser::BuildCommandLineList(text, lines);
    });
    Survive([&] { BuildList(text); });
    DownloadList lines;
    lines.Add(text);
    Require(Stripped(lines.GetDownloadFileInfo(0).url));
    WinVersion const version = WinVersionFromString(text.data(), text.size());
    Require(version.count >= 1 && version.count <= 4);
    DownloadConfiguration::SetPortRedirectionTunnel(80, 443);
    Stringy redirected;
    DownloadConfiguration::TransformURL(text.c_str(), redirected);
    SplitArguments(text, false);
    SplitArguments(text, true);
    return 0;
}
