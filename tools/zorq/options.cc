#include "tools/zorq/options.h"

#include <array>
#include <charconv>
#include <cstdint>
#include <limits>
#include <optional>

namespace zorq {
namespace {

// Hands out the arguments one at a time; options that take a value pull it
// from the next argument.
class ArgumentReader {
public:
    explicit ArgumentReader(std::span<char const* const> arguments) : arguments_(arguments) {}

    bool done() const { return next_ == arguments_.size(); }
    std::string_view take() { return arguments_[next_++]; }

    std::string_view valueFor(std::string_view option) {
        if (done())
            throw UsageError("option " + std::string(option) + " needs a value");
        return take();
    }

private:
    std::span<char const* const> arguments_;
    std::size_t next_ = 0;
};

// "-1 + 2" and "- x" are expressions; "-t" and "--json" are options.
bool looksLikeOption(std::string_view argument) {
    if (argument.size() < 2 || argument[0] != '-')
        return false;
    char const second = argument[1];
    return second == '-' || (second >= 'a' && second <= 'z') || (second >= 'A' && second <= 'Z');
}

std::uint64_t parseCount(std::string_view option, std::string_view text, std::uint64_t most) {
    std::uint64_t value = 0;
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc() || end != text.data() + text.size() || value > most)
        throw UsageError("option " + std::string(option) + " needs a whole number up to " +
                         std::to_string(most) + ", not \"" + std::string(text) + "\"");
    return value;
}

// Options that take no value.
struct Flag {
    std::string_view shortName;
    std::string_view longName;
    void (*apply)(Options&);
};

constexpr std::array flags{
    Flag{"-h", "--help", [](Options& options) { options.help = true; }},
    Flag{"-t", "--time", [](Options& options) { options.time = true; }},
    Flag{"", "--json", [](Options& options) { options.json = true; }},
    Flag{"", "--phrases", [](Options& options) { options.phrases = true; }},
};

// Options that take a value, from the next argument or after "=".
struct Setting {
    std::string_view shortName;
    std::string_view longName;
    void (*apply)(Options&, std::string_view);
};

// The budget is kept in microseconds of a signed 64-bit count.
constexpr std::uint64_t mostMilliseconds = std::numeric_limits<std::int64_t>::max() / 1000;

constexpr std::array settings{
    Setting{"-f", "--file",
            [](Options& options, std::string_view file) {
                options.inputs.push_back({Input::Kind::File, std::string(file)});
            }},
    Setting{"", "--max-time",
            [](Options& options, std::string_view text) {
                options.budget.time =
                    std::chrono::milliseconds(parseCount("--max-time", text, mostMilliseconds));
            }},
    Setting{"", "--max-steps",
            [](Options& options, std::string_view text) {
                options.budget.steps =
                    parseCount("--max-steps", text, std::numeric_limits<std::uint64_t>::max());
            }},
    Setting{"", "--preferences",
            [](Options& options, std::string_view folder) {
                if (folder.empty())
                    throw UsageError("option --preferences needs a folder");
                options.preferences = std::string(folder);
            }},
    Setting{"", "--agent-state",
            [](Options& options, std::string_view file) {
                if (file.empty())
                    throw UsageError("option --agent-state needs a file");
                options.agentState = std::string(file);
            }},
};

template <typename Option, std::size_t count>
Option const* find(std::array<Option, count> const& options, std::string_view name) {
    for (auto const& option : options) {
        if (name == option.longName || (!option.shortName.empty() && name == option.shortName))
            return &option;
    }
    return nullptr;
}

// Applies one option; a long option may carry its value after "=".
void applyOption(Options& options, std::string_view argument, ArgumentReader& reader) {
    std::string_view name = argument;
    std::optional<std::string_view> attached;
    if (argument.starts_with("--")) {
        if (auto const equals = argument.find('='); equals != std::string_view::npos) {
            name = argument.substr(0, equals);
            attached = argument.substr(equals + 1);
        }
    }
    if (auto const* setting = find(settings, name)) {
        setting->apply(options, attached ? *attached : reader.valueFor(name));
        return;
    }
    auto const* flag = find(flags, name);
    if (flag == nullptr)
        throw UsageError("unknown option " + std::string(name));
    if (attached)
        throw UsageError("option " + std::string(name) + " takes no value");
    flag->apply(options);
}

} // namespace

Options parseOptions(std::span<char const* const> arguments) {
    Options options;
    ArgumentReader reader(arguments);
    bool optionsEnded = false;
    while (!reader.done()) {
        std::string_view const argument = reader.take();
        if (optionsEnded || !looksLikeOption(argument)) {
            options.inputs.push_back({Input::Kind::Expression, std::string(argument)});
        } else if (argument == "--") {
            optionsEnded = true;
        } else {
            applyOption(options, argument, reader);
        }
    }
    return options;
}

std::string usageText() {
    return R"usage(Usage: zorq [OPTION]... [EXPRESSION]...
Evaluate query-language expressions and print their answers.

Each answer is printed on its own line as "A: text"; a failure as
"E: message" (syntax and binding errors start with the column of the
offending text). With no expression and no -f, zorq reads expressions
interactively with line editing and history (~/.zorq_history) when
standard input is a terminal, and one per line from standard input
otherwise.

Input:
  -f, --file FILE      evaluate each line of FILE ("-" reads standard input);
                       blank lines and lines starting with // are skipped
  --                   treat every later argument as an expression
                       (an argument such as "-1 + 2" already is one)
Output:
  -t, --time           print "T: <microseconds> us" after each expression:
                       the time taken to compile and evaluate it
  --json               print one JSON object per expression: expression,
                       type, plural, answers, error (null or kind, column,
                       message) and time_us (so -t adds nothing)
  --phrases            list every registered phrase with its kind, plural,
                       object, index and result types (JSON lines with --json)
Limits:
  --max-time MS        stop an evaluation after MS milliseconds
  --max-steps N        stop an evaluation after N steps
Agent:
  --preferences DIR    read and write the agent's settings in the folder DIR
                       (one property list per domain) instead of the default
  --agent-state FILE   answer questions about the agent (its actions, action
                       lock, version and servers) from the JSON agent-state
                       FILE; without it they fail: no agent context is available
  -h, --help           show this help

Exit status: 0 when every expression evaluated, 1 when any failed,
2 for bad usage (unknown option, unreadable file, missing folder, a faulty
agent-state file).

Examples:
  zorq '1 + 2 * 3'
      A: 7
  zorq '"abc" & "def"' 'length of "hello"'
      A: abcdef
      A: 5
  zorq '(1; 2; 3) whose (it > 1)'
      A: 2
      A: 3
  zorq --json 'number of (1; 2; 3)'
      {"expression":"number of (1; 2; 3)","type":"integer","plural":false,...}
  zorq -t -f checks.txt
  zorq --phrases | grep 'of string'
)usage";
}

} // namespace zorq
