// Every example in docs/regex.md must answer what the page says. An example
// block is a fenced block whose first line starts with "Q:"; the "A:" and "E:"
// lines after a "Q:" are its expected output, as zorq prints it.
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "evaluator/evaluator.h"
#include "tests/framework/loaded_plugin.h"

namespace {

struct Example {
    int line = 0;
    std::string query;
    std::vector<std::string> expected;
};

std::vector<Example> ReadExamples(char const* path) {
    std::ifstream page(path);
    if (!page) {
        throw std::runtime_error(std::string("cannot read ") + path);
    }
    std::vector<Example> examples;
    bool inFence = false;
    bool inExample = false;
    bool firstLine = false;
    int number = 0;
    for (std::string line; std::getline(page, line);) {
        ++number;
        if (line.starts_with("```")) {
            inFence = !inFence;
            inExample = false;
            firstLine = inFence;
        } else if (inFence && firstLine) {
            inExample = line.starts_with("Q: ");
            firstLine = false;
        }
        if (!inExample) {
            continue;
        }
        if (line.starts_with("Q: ")) {
            examples.push_back({number, line.substr(3), {}});
        } else if (line.starts_with("A: ") || line.starts_with("E: ")) {
            examples.back().expected.push_back(line);
        } else {
            ADD_FAILURE() << path << ":" << number << ": not an example line: " << line;
        }
    }
    return examples;
}

// The lines zorq prints for an expression.
std::vector<std::string> Output(std::string const& query) {
    std::vector<std::string> lines;
    try {
        for (std::string const& answer : zor::Expression::compile(query).answers()) {
            lines.push_back("A: " + answer);
        }
    } catch (zor::ExpressionError const& error) {
        std::string const where =
            error.column() > 0 ? "column " + std::to_string(error.column()) + ": " : "";
        lines.push_back("E: " + where + error.what());
    }
    return lines;
}

} // namespace

TEST(RegexGuide, EveryExampleAnswersAsWritten) {
    LoadedPlugin const plugin(ZOR_PLUGIN_PATH);
    std::vector<Example> const examples = ReadExamples("docs/regex.md");
    EXPECT_GE(examples.size(), 20u);
    for (Example const& example : examples) {
        EXPECT_EQ(Output(example.query), example.expected)
            << "docs/regex.md:" << example.line << ": " << example.query;
    }
}
