// A transcript: the world a set of questions runs in, and each question with
// the lines zorq must print for it.
#pragma once

#include <istream>
#include <string>
#include <vector>

namespace zor::transcripts {

struct Directive {
    int line = 0;
    std::string name;     // "env", "file", "settings", ...
    std::string argument; // the rest of the line after one space
};

// A Q: question, or a "$ TOOL ARGS..." command line with its own input,
// expected standard error and exit status.
struct Case {
    int line = 0; // of the Q: or $ line
    std::string query;
    std::vector<std::string> expected{}; // "A: ..." and "E: ..." lines, or a command's output
    bool command = false;
    std::vector<std::string> input{};  // "< " lines
    std::vector<std::string> errors{}; // "2> " lines
    int status = 0;                    // "exit N"
};

struct Transcript {
    std::vector<Directive> directives;
    std::vector<Case> cases;
    std::vector<std::string> problems; // lines that are none of the above
};

// A transcript file: directives, then Q: lines each followed by its A:/E:
// lines and $ lines each followed by their <, >, 2> and exit lines; blank
// lines and lines starting with "#" are skipped.
Transcript readTranscript(std::istream& in);

// A Markdown page: every fenced block whose first line starts with "Q: " holds
// cases; other blocks and the prose are skipped. A line "<!-- zorq: DIRECTIVE -->"
// outside the blocks sets up the page's world as a transcript's directive does.
Transcript readMarkdownExamples(std::istream& in);

} // namespace zor::transcripts
