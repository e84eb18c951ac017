// zoraction: reports the first syntax error of an action script, or its line
// count, required agent version, normalised lines and download list.
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>

#include "tools/zoraction/action_check.h"

namespace {

constexpr int kScriptFaulty = 1;
constexpr int kUsageError = 2;

constexpr char const* kUsage =
    "usage: zoraction [--lines] [--downloads] [--json] [FILE | -]\n"
    "Checks an action script (standard input when FILE is - or missing).\n"
    "  --lines      list the normalised command lines\n"
    "  --downloads  list the files the action downloads\n"
    "  --json       write the report as JSON\n"
    "Exit status: 0 when the script is sound, 1 on a syntax error, 2 on a usage\n"
    "or read error.\n";

struct Options {
    ReportParts parts;
    bool json = false;
    bool help = false;
    std::string path = "-";
};

std::optional<Options> ParseOptions(int argc, char** argv) {
    Options options;
    bool havePath = false;
    for (int i = 1; i < argc; ++i) {
        std::string_view const arg = argv[i];
        if (arg == "--lines")
            options.parts.lines = true;
        else if (arg == "--downloads")
            options.parts.downloads = true;
        else if (arg == "--json")
            options.json = true;
        else if (arg == "-h" || arg == "--help")
            options.help = true;
        else if ((arg == "-" || !arg.starts_with("-")) && !havePath) {
            options.path = arg;
            havePath = true;
        } else
            return std::nullopt;
    }
    return options;
}

std::optional<std::string> ReadScript(std::string const& path) {
    if (path == "-")
        return std::string(std::istreambuf_iterator<char>(std::cin), {});
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return std::nullopt;
    std::string script(std::istreambuf_iterator<char>(in), {});
    if (in.bad())
        return std::nullopt;
    return script;
}

} // namespace

int main(int argc, char** argv) {
    std::optional<Options> const options = ParseOptions(argc, argv);
    if (!options) {
        std::cerr << kUsage;
        return kUsageError;
    }
    if (options->help) {
        std::cout << kUsage;
        return 0;
    }
    std::optional<std::string> const script = ReadScript(options->path);
    if (!script) {
        std::cerr << "zoraction: cannot read " << options->path << ": " << std::strerror(errno)
                  << '\n';
        return kUsageError;
    }
    ActionCheck const check = CheckActionScript(*script);
    if (options->json)
        std::cout << FormatJson(check, options->parts)
                         .dump(2, ' ', false, nlohmann::json::error_handler_t::replace)
                  << '\n';
    else
        std::cout << FormatText(check, options->parts);
    return check.error ? kScriptFaulty : 0;
}
