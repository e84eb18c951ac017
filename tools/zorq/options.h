// The command line of zorq: what to evaluate and how to show it.
#pragma once

#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "evaluator/evaluator.h"

namespace zorq {

// A command line zorq cannot act on; main() reports it and exits with 2.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// One source of expressions, in command-line order.
struct Input {
    enum class Kind { Expression, File };
    Kind kind;
    std::string text; // the expression, or the file name ("-" is standard input)
};

struct Options {
    std::vector<Input> inputs;
    bool help = false;
    bool time = false;
    bool json = false;
    bool phrases = false;
    zor::Budget budget;
    std::string preferences; // the settings store's folder; empty keeps its default
    std::string agentState;  // the agent-state file; empty: an agent that knows only its settings
};

// Parses the arguments after the program name; throws UsageError.
Options parseOptions(std::span<char const* const> arguments);

// The text of --help.
std::string usageText();

} // namespace zorq
