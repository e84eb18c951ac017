// Builds download lists, comma-separated entries, versions and redirected
// URLs from arbitrary text.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "action/download_configuration.h"
#include "action/mirror_download_parser.h"

namespace {

void Require(bool condition) {
    if (!condition)
        std::abort();
}

bool Stripped(Stringy const& text) {
    std::string const& s = text.str();
    return s.empty() || (!ArgParser::IsWhiteSpace(s.front()) && !ArgParser::IsWhiteSpace(s.back()));
}

void BuildList(std::string const& script) {
    MirrorDownloadActionParser parser;
    DownloadList list;
    WinVersion version;
    try {
        Require(parser.BuildMirrorDownloadList(Stringy(script), list, version) ==
                (list.GetCount() > 0));
    } catch (ActionSyntaxError const&) {
        Require(GetActionSyntaxErrorString() != "Unknown ActionSyntaxError.");
        return;
    }
    for (std::size_t i = 0; i < list.GetCount(); ++i) {
        DownloadFileInfo const& info = list.GetDownloadFileInfo(i);
        Require(Stripped(info.url) && Stripped(info.size));
        parser.InsureGoodName(info.name);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string const text(reinterpret_cast<char const*>(data), size);
    BuildList(text);
    DownloadList lines;
    lines.Add(text);
    Require(Stripped(lines.GetDownloadFileInfo(0).url));
    WinVersion const version = WinVersionFromString(text.data(), text.size());
    Require(version.count >= 1 && version.count <= 4);
    DownloadConfiguration::SetPortRedirectionTunnel(80, 443);
    Stringy redirected;
    DownloadConfiguration::TransformURL(text.c_str(), redirected);
    return 0;
}
