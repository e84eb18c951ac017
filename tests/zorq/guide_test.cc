// Every example in docs/guide.md is run through zorq and must print what the
// guide says. An example is a fenced block that starts with a "Q:" line; the
// "A:" and "E:" lines after each "Q:" are its expected output.
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

#include "tests/zorq/subprocess.h"

namespace zorq::testing {
namespace {

struct Example {
    int line = 0; // of the Q: line in the guide
    std::string query;
    std::vector<std::string> expected;
};

struct Guide {
    std::vector<Example> examples;
    std::vector<std::string> problems; // lines in example blocks that are not Q:, A: or E:
};

bool isFence(std::string const& line) {
    return line.starts_with("```");
}

class GuideReader {
public:
    void read(std::string const& line) {
        ++number_;
        if (isFence(line)) {
            inFence_ = !inFence_;
            inExample_ = false;
            firstInFence_ = inFence_;
            return;
        }
        if (!inFence_)
            return;
        if (firstInFence_ && !line.empty()) {
            inExample_ = line.starts_with("Q: ");
            firstInFence_ = false;
        }
        if (inExample_)
            readExampleLine(line);
    }

    Guide take() { return std::move(guide_); }

private:
    void readExampleLine(std::string const& line) {
        if (line.starts_with("Q: "))
            guide_.examples.push_back({number_, line.substr(3), {}});
        else if (line.starts_with("A: ") || line.starts_with("E: "))
            guide_.examples.back().expected.push_back(line);
        else if (!line.empty())
            guide_.problems.push_back("line " + std::to_string(number_) + ": " + line);
    }

    int number_ = 0;
    bool inFence_ = false;
    bool firstInFence_ = false;
    bool inExample_ = false;
    Guide guide_;
};

Guide readGuide(std::istream& in) {
    GuideReader reader;
    for (std::string line; std::getline(in, line);)
        reader.read(line);
    return reader.take();
}

std::string joined(std::vector<std::string> const& lines) {
    std::string text;
    for (auto const& line : lines)
        text += line + "\n";
    return text;
}

TEST(ZorqGuide, ReaderFindsExampleBlocksOnly) {
    std::istringstream markdown("Text with Q: inline\n"
                                "```\nQ: 1 + 1\nA: 2\n\nQ: (1; 2)\nA: 1\nA: 2\n```\n"
                                "```sh\n$ zorq '1'\nA: 1\n```\n"
                                "```\nQ: length of 5\nE: column 1: x\noops\n```\n");
    auto const guide = readGuide(markdown);
    ASSERT_EQ(guide.examples.size(), 3u);
    EXPECT_EQ(guide.examples[0].line, 3);
    EXPECT_EQ(guide.examples[0].query, "1 + 1");
    EXPECT_EQ(guide.examples[0].expected, (std::vector<std::string>{"A: 2"}));
    EXPECT_EQ(guide.examples[1].expected, (std::vector<std::string>{"A: 1", "A: 2"}));
    EXPECT_EQ(guide.examples[2].expected, (std::vector<std::string>{"E: column 1: x"}));
    EXPECT_EQ(guide.problems, (std::vector<std::string>{"line 17: oops"}));
}

TEST(ZorqGuide, EveryExampleAnswersAsWritten) {
    std::ifstream file(GUIDE_PATH);
    ASSERT_TRUE(file) << GUIDE_PATH;
    auto const guide = readGuide(file);
    EXPECT_EQ(guide.problems, std::vector<std::string>{});
    EXPECT_GE(guide.examples.size(), 80u) << "the guide's examples were not found";
    for (auto const& example : guide.examples) {
        SCOPED_TRACE("docs/guide.md:" + std::to_string(example.line) + ": " + example.query);
        auto const outcome = zorq({"--", example.query});
        EXPECT_EQ(outcome.out, joined(example.expected));
        bool const expectsError =
            !example.expected.empty() && example.expected.back().starts_with("E: ");
        EXPECT_EQ(outcome.status, expectsError ? 1 : 0);
        EXPECT_EQ(outcome.err, "");
    }
}

} // namespace
} // namespace zorq::testing
