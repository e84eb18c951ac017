#include "tests/transcripts/transcript.h"

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
    if (isAnswer(line) && !transcript.cases.empty()) {
        transcript.cases.back().expected.push_back(line);
        return true;
    }
    return false;
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
        if (line.empty() || line.starts_with("#") || readCaseLine(transcript, line, number))
            continue;
        auto const space = line.find(' ');
        bool const directive = transcript.cases.empty() && !line.starts_with(" ");
        if (directive)
            transcript.directives.push_back(
                {number, line.substr(0, space),
                 space == std::string::npos ? std::string() : line.substr(space + 1)});
        else
            addProblem(transcript, line, number);
    }
    return transcript;
}

Transcript readMarkdownExamples(std::istream& in) {
    Transcript transcript;
    bool inFence = false;
    bool firstInFence = false;
    bool inExample = false;
    int number = 0;
    for (std::string line; std::getline(in, line);) {
        ++number;
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
