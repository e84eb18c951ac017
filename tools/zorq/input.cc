#include "tools/zorq/input.h"

#include <filesystem>
#include <fstream>
#include <iterator>

namespace zorq {
namespace {

std::vector<std::string> readFile(std::string const& name, std::istream& standardInput) {
    if (name == "-")
        return expressionLines(standardInput);
    std::ifstream file(name);
    // A folder opens but reads as empty; it is not a file of expressions.
    if (!file || std::filesystem::is_directory(name))
        throw UsageError("cannot read file " + name);
    return expressionLines(file);
}

} // namespace

bool isSkippedLine(std::string_view line) {
    auto const first = line.find_first_not_of(" \t");
    return first == std::string_view::npos || line.substr(first).starts_with("//");
}

std::vector<std::string> expressionLines(std::istream& in) {
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) {
        if (line.ends_with('\r'))
            line.pop_back();
        if (!isSkippedLine(line))
            lines.push_back(std::move(line));
    }
    return lines;
}

std::vector<std::string> collectExpressions(std::vector<Input> const& inputs,
                                            std::istream& standardInput) {
    std::vector<std::string> expressions;
    for (auto const& input : inputs) {
        if (input.kind == Input::Kind::Expression) {
            expressions.push_back(input.text);
            continue;
        }
        auto lines = readFile(input.text, standardInput);
        expressions.insert(expressions.end(), std::make_move_iterator(lines.begin()),
                           std::make_move_iterator(lines.end()));
    }
    return expressions;
}

} // namespace zorq
