#include "tests/transcripts/transcript.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace zor::transcripts {
namespace {

bool isAnswer(std::string const& line) {
    return line.starts_with("A: ") || line.starts_with("E: ") || line == "A:" || line == "E:";
}

// Reads the Q:/A:/E: lines shared by both forms; false for any other line.
bool readCaseLine(Transcript& transcript, std::string const& line, int number) {
    if (line.starts_with("Q: ")) {
        transcript.cases.push_back({number, line.substr(3), {}});
        return true;
    }
    if (isAnswer(line) && !transcript.cases.empty() && !transcript.cases.back().command) {
        transcript.cases.back().expected.push_back(line);
        return true;
    }
    return false;
}

// Reads a $ line or a <, >, 2> or exit line of the command before it.
bool readCommandLine(Transcript& transcript, std::string const& line, int number) {
    if (line.starts_with("$ ")) {
        transcript.cases.push_back({.line = number, .query = line.substr(2), .command = true});
        return true;
    }
    if (transcript.cases.empty() || !transcript.cases.back().command)
        return false;
    Case& command = transcript.cases.back();
    for (auto const& [prefix, lines] :
         {std::pair{"<", &Case::input}, {">", &Case::expected}, {"2>", &Case::errors}}) {
        std::string const start = std::string(prefix) + " ";
        if (line == prefix || line.starts_with(start)) {
            (command.*lines).push_back(line.substr(std::min(line.size(), start.size())));
            return true;
        }
    }
    if (!line.starts_with("exit "))
        return false;
    char const* const end = line.data() + line.size();
    auto const [stop, error] = std::from_chars(line.data() + 5, end, command.status);
    return error == std::errc() && stop == end;
}

Directive directiveOf(std::string const& text, int number) {
    auto const space = text.find(' ');
    return {number, text.substr(0, space),
            space == std::string::npos ? std::string() : text.substr(space + 1)};
}

void addProblem(Transcript& transcript, std::string const& line, int number) {
    transcript.problems.push_back("line " + std::to_string(number) + ": " + line);
}

} // namespace

Transcript readTranscript(std::istream& in) {
    Transcript transcript;
    int number = 0;
    for (std::string line; std::getline(in, line);) {
        ++number;
        if (line.empty() || line.starts_with("#") || readCaseLine(transcript, line, number) ||
            readCommandLine(transcript, line, number))
            continue;
        if (transcript.cases.empty() && !line.starts_with(" "))
            transcript.directives.push_back(directiveOf(line, number));
        else
            addProblem(transcript, line, number);
    }
    return transcript;
}

Transcript readMarkdownExamples(std::istream& in) {
    static std::string const open = "<!-- zorq: ";
    static std::string const close = " -->";
    Transcript transcript;
    bool inFence = false;
    bool firstInFence = false;
    bool inExample = false;
    int number = 0;
    for (std::string line; std::getline(in, line);) {
        ++number;
        if (!inFence && line.starts_with(open) && line.ends_with(close) &&
            line.size() >= open.size() + close.size()) {
            transcript.directives.push_back(directiveOf(
                line.substr(open.size(), line.size() - open.size() - close.size()), number));
            continue;
        }
        if (line.starts_with("```")) {
            inFence = !inFence;
            firstInFence = inFence;
            inExample = false;
            continue;
        }
        if (!inFence)
            continue;
        if (firstInFence && !line.empty()) {
            inExample = line.starts_with("Q: ");
            firstInFence = false;
        }
        if (inExample && !line.empty() && !readCaseLine(transcript, line, number))
            addProblem(transcript, line, number);
    }
    return transcript;
}

} // namespace zor::transcripts
