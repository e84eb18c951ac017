// Runs one transcript (or the examples of one Markdown page) through zorq and
// the other tools, and reports each case whose printed lines differ from the
// expected ones as FILE:LINE, so a failure names the case to look at.
//
// transcript_runner ROOT ZORQ ZORSETTINGS ZORACTION FILE
#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "tests/files/temp_tree.h"
#include "tests/support/subprocess.h"
#include "tests/transcripts/transcript.h"
#include "util/ascii.h"

namespace zor::transcripts {
namespace {

namespace fs = std::filesystem;

struct Tools {
    fs::path root;
    std::map<std::string, std::string> programs; // "zorq", "zorsettings", "zoraction"
};

void replaceAll(std::string& text, std::string const& from, std::string const& to) {
    for (auto at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
}

// \n, \t, \\ and \xHH, so one line can say any file's bytes.
std::string unescape(std::string const& text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\' || i + 1 == text.size()) {
            result += text[i];
            continue;
        }
        char const next = text[++i];
        if (next == 'x' && i + 2 < text.size()) {
            int const high = Ascii::HexValue(static_cast<unsigned char>(text[i + 1]));
            int const low = Ascii::HexValue(static_cast<unsigned char>(text[i + 2]));
            if (high < 0 || low < 0)
                throw std::runtime_error("bad \\x escape in \"" + text + "\"");
            result += static_cast<char>(high * 16 + low);
            i += 2;
        } else {
            result += next == 'n' ? '\n' : next == 't' ? '\t' : next;
        }
    }
    return result;
}

// Words separated by spaces; double quotes keep spaces inside one word.
std::vector<std::string> words(std::string const& text) {
    std::vector<std::string> result;
    std::string word;
    bool quoted = false;
    bool any = false;
    for (char c : text) {
        if (c == '"') {
            quoted = !quoted;
            any = true;
        } else if (c == ' ' && !quoted) {
            if (any)
                result.push_back(word);
            word.clear();
            any = false;
        } else {
            word += c;
            any = true;
        }
    }
    if (any)
        result.push_back(word);
    return result;
}

std::pair<std::string, std::string> splitFirstWord(std::string const& text) {
    auto const space = text.find(' ');
    if (space == std::string::npos)
        return {text, ""};
    return {text.substr(0, space), text.substr(space + 1)};
}

// The world one transcript's questions run in, built from its directives.
class World {
public:
    explicit World(Tools const& tools) : tools_(tools) {}

    std::string expand(std::string text) const {
        replaceAll(text, "{tmp}", folder_.Path());
        replaceAll(text, "{root}", tools_.root.string());
        return text;
    }

    void apply(Directive const& directive) {
        auto const argument = expand(directive.argument);
        auto const [path, rest] = splitFirstWord(argument);
        if (directive.name == "env") {
            exactEnvironment_ = true;
            if (!argument.empty())
                environment_.push_back(argument);
        } else if (directive.name == "file") {
            fs::create_directories(inFolder(path).parent_path());
            std::ofstream(inFolder(path), std::ios::binary) << unescape(rest);
        } else if (directive.name == "folder") {
            fs::create_directories(inFolder(argument));
        } else if (directive.name == "link") {
            fs::create_directories(inFolder(path).parent_path());
            fs::create_symlink(rest, inFolder(path));
        } else if (directive.name == "settings") {
            settings(argument);
        } else if (directive.name == "agent-state") {
            options_.insert(options_.end(), {"--agent-state", (tools_.root / argument).string()});
        } else if (directive.name == "zorq-option") {
            options_.push_back(argument);
        } else {
            throw std::runtime_error("unknown directive \"" + directive.name + "\"");
        }
    }

    zorq::testing::Outcome ask(std::string const& query) const {
        auto arguments = options_;
        arguments.insert(arguments.end(), {"--", query});
        return zorq::testing::run(tools_.programs.at("zorq"), arguments, {}, environment_,
                                  !exactEnvironment_);
    }

    // Runs "TOOL ARGS..." with the input lines; only the env lines apply.
    zorq::testing::Outcome command(Case const& command) const {
        auto arguments = words(expand(command.query));
        for (auto& argument : arguments)
            argument = unescape(argument);
        std::string input;
        for (auto const& line : command.input)
            input += unescape(expand(line)) + "\n";
        auto const program = tools_.programs.find(arguments.empty() ? "" : arguments.front());
        if (program == tools_.programs.end())
            throw std::runtime_error("no such tool in \"" + command.query + "\"");
        arguments.erase(arguments.begin());
        return zorq::testing::run(program->second, arguments, input, environment_,
                                  !exactEnvironment_);
    }

private:
    fs::path inFolder(std::string const& relative) const {
        return fs::path(folder_.Path()) / unescape(relative);
    }

    void settings(std::string const& argument) {
        auto const preferences = inFolder("preferences").string();
        fs::create_directories(preferences);
        std::vector<std::string> arguments{"--folder", preferences};
        for (auto const& word : words(argument))
            arguments.push_back(word);
        auto const outcome = zorq::testing::run(tools_.programs.at("zorsettings"), arguments);
        if (outcome.status != 0)
            throw std::runtime_error("zorsettings " + argument + " failed: " + outcome.err);
        if (!preferencesGiven_)
            options_.insert(options_.end(), {"--preferences", preferences});
        preferencesGiven_ = true;
    }

    Tools const& tools_;
    TempTree folder_; // the transcript's files, removed afterwards
    std::vector<std::string> options_;
    std::vector<std::string> environment_;
    bool exactEnvironment_ = false;
    bool preferencesGiven_ = false;
};

// Each line of the text indented, or "(nothing)".
std::string indented(std::string const& text) {
    std::string result;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        result += "    " + line + "\n";
    return result.empty() ? "    (nothing)\n" : result;
}

// Whether text is expected, where "{number}" stands for a run of digits and
// "{...}" for any text.
bool matches(std::string_view expected, std::string_view text) {
    auto const hole = std::min(expected.find("{number}"), expected.find("{...}"));
    if (hole == std::string_view::npos)
        return expected == text;
    if (expected.substr(0, hole) != text.substr(0, hole))
        return false;
    if (expected.substr(hole).starts_with("{...}")) {
        for (auto end = hole; end <= text.size(); ++end) {
            if (matches(expected.substr(hole + 5), text.substr(end)))
                return true;
        }
        return false;
    }
    auto digits = hole;
    while (digits < text.size() && std::isdigit(static_cast<unsigned char>(text[digits])))
        ++digits;
    return digits > hole && matches(expected.substr(hole + 8), text.substr(digits));
}

std::string joined(std::vector<std::string> const& lines, World const& world) {
    std::string text;
    for (auto const& line : lines)
        text += world.expand(line) + "\n";
    return text;
}

// Prints the difference and returns false when the case fails.
bool check(std::string const& file, Case const& question, World const& world) {
    std::string const expected = joined(question.expected, world);
    std::string const errors = joined(question.errors, world);
    bool const expectsError = !question.command && !question.expected.empty() &&
                              question.expected.back().starts_with("E:");
    int const expectedStatus = expectsError ? 1 : question.status;
    auto const outcome =
        question.command ? world.command(question) : world.ask(world.expand(question.query));
    if (matches(expected, outcome.out) && matches(errors, outcome.err) &&
        outcome.status == expectedStatus)
        return true;
    std::cout << file << ":" << question.line << ": " << (question.command ? "$ " : "Q: ")
              << question.query << "\n  expected:\n"
              << indented(expected) << "  printed:\n"
              << indented(outcome.out);
    if (outcome.status != expectedStatus)
        std::cout << "  exit status " << outcome.status << ", expected " << expectedStatus << "\n";
    if (!matches(errors, outcome.err))
        std::cout << "  on standard error, expected:\n"
                  << indented(errors) << "  printed:\n"
                  << indented(outcome.err);
    return false;
}

int runTranscript(Tools const& tools, std::string const& file) {
    std::ifstream in(file);
    if (!in)
        throw std::runtime_error("cannot read " + file);
    auto const transcript =
        fs::path(file).extension() == ".md" ? readMarkdownExamples(in) : readTranscript(in);
    int failed = 0;
    for (auto const& problem : transcript.problems) {
        std::cout << file << ": " << problem << " (not a directive or a case's line)\n";
        ++failed;
    }
    World world(tools);
    for (auto const& directive : transcript.directives) {
        try {
            world.apply(directive);
        } catch (std::exception const& error) {
            std::cout << file << ":" << directive.line << ": " << error.what() << "\n";
            std::cout << "0 passed, 1 failed\n";
            return 1;
        }
    }
    int passed = 0;
    for (auto const& question : transcript.cases)
        check(file, question, world) ? ++passed : ++failed;
    if (transcript.cases.empty()) {
        std::cout << file << ": no cases found\n";
        ++failed;
    }
    std::cout << passed << " passed, " << failed << " failed\n";
    return failed == 0 ? 0 : 1;
}

} // namespace
} // namespace zor::transcripts

int main(int argc, char** argv) {
    if (argc != 6) {
        std::cerr << "usage: transcript_runner ROOT ZORQ ZORSETTINGS ZORACTION FILE\n";
        return 2;
    }
    zor::transcripts::Tools const tools{
        argv[1], {{"zorq", argv[2]}, {"zorsettings", argv[3]}, {"zoraction", argv[4]}}};
    std::string const file = argv[5];
    try {
        return zor::transcripts::runTranscript(tools, file);
    } catch (std::runtime_error const& error) {
        std::cerr << file << ": " << error.what() << "\n";
        return 2;
    }
}
