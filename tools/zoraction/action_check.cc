#include "tools/zoraction/action_check.h"

#include <sstream>

#include "action/action_errors.h"
#include "action/action_shell_parser.h"
#include "action/mirror_download_parser.h"

namespace {

// Runs script as the agent would with every condition true: executed
// createfile lines consume their body, and an open if at the end is an error.
void RunScript(std::string const& script) {
    ActionShellParser parser;
    ConstData text(script);
    std::uint16_t lines = 0;
    while (parser.GetCommand(text)) {
        bool isDownload = false;
        bool const skipped = parser.ProcessBlockControl(text, lines, isDownload);
        if (!skipped && parser.GetCurrentCommand() == ActionShellParser::cCreateFileUntil)
            parser.SkipCreateFile(text, lines);
    }
    if (!parser.GetBlockList().empty())
        throw MissingEndif(parser.GetLineCounter());
}

void ListDownloads(std::string const& script, ActionCheck& check) {
    MirrorDownloadActionParser parser;
    DownloadList list;
    parser.BuildMirrorDownloadList(Stringy(script), list, check.requiredVersion);
    for (std::size_t i = 0; i < list.GetCount(); ++i)
        check.downloads.push_back(list.GetDownloadFileInfo(i));
}

// Runs one reading; keeps its error when it is the earliest seen so far.
template <class Reading> void Attempt(ActionCheck& check, Reading reading) {
    try {
        reading();
    } catch (ActionSyntaxError const& fault) {
        if (!check.error || fault.GetLineNumber() < check.error->line)
            check.error = ScriptError{fault.GetLineNumber(), GetActionSyntaxErrorString()};
    }
}

std::string HashText(DownloadFileInfo const& info) {
    if (info.hashValue.empty())
        return "none";
    return info.hashType.str() + ":" + info.hashValue.str();
}

std::string SizeText(DownloadFileInfo const& info) {
    return info.size.empty() ? "unknown" : info.size.str();
}

void WriteDownloads(std::ostream& out, std::vector<DownloadFileInfo> const& downloads) {
    out << "downloads: " << downloads.size() << '\n';
    std::size_t number = 0;
    for (DownloadFileInfo const& info : downloads) {
        out << "  " << ++number << ". " << info.GetName().str()
            << (info.required ? " (required)" : " (not required)") << '\n'
            << "     url:  " << info.url.str() << '\n'
            << "     hash: " << HashText(info) << '\n'
            << "     size: " << SizeText(info) << '\n';
    }
}

nlohmann::json DownloadJson(DownloadFileInfo const& info) {
    return {{"name", info.GetName().str()},    {"url", info.url.str()},
            {"hashType", info.hashType.str()}, {"hash", info.hashValue.str()},
            {"size", info.size.str()},         {"required", info.required}};
}

} // namespace

ActionCheck CheckActionScript(std::string const& script) {
    ActionCheck check;
    Attempt(check, [&] { RunScript(script); });
    Attempt(check, [&] { ListDownloads(script, check); });
    Attempt(check, [&] { check.actionLines = ActionShellParser::GetNumberOfActionLines(script); });
    Attempt(check, [&] { ActionShellParser::BuildCommandLineList(script, check.lines); });
    return check;
}

std::string FormatText(ActionCheck const& check, ReportParts parts) {
    std::ostringstream out;
    if (check.error) {
        out << "line " << check.error->line << ": " << check.error->message << '\n';
        return out.str();
    }
    out << "action lines: " << check.actionLines << '\n'
        << "required version: " << check.requiredVersion.AsString() << '\n';
    if (parts.lines) {
        out << "lines:\n";
        std::size_t number = 0;
        for (std::string const& line : check.lines)
            out << "  " << ++number << ": " << line << '\n';
    }
    if (parts.downloads)
        WriteDownloads(out, check.downloads);
    return out.str();
}

nlohmann::json FormatJson(ActionCheck const& check, ReportParts parts) {
    if (check.error)
        return {{"error", {{"line", check.error->line}, {"message", check.error->message}}}};
    nlohmann::json report = {{"actionLines", check.actionLines},
                             {"requiredVersion", check.requiredVersion.AsString()}};
    if (parts.lines)
        report["lines"] = check.lines;
    if (parts.downloads) {
        nlohmann::json& downloads = report["downloads"] = nlohmann::json::array();
        for (DownloadFileInfo const& info : check.downloads)
            downloads.push_back(DownloadJson(info));
    }
    return report;
}
