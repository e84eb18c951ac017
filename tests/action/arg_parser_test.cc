#include "action/arg_parser.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

namespace {

// Every argument of text, split the way a command line is.
std::vector<std::string> Split(std::string text, bool keepQuotes) {
    std::vector<std::string> arguments;
    ArgParser parser;
    for (char const* arg = parser.GetFirstArg(text.data(), keepQuotes); arg != nullptr;
         arg = parser.GetNextArg(keepQuotes))
        arguments.emplace_back(arg);
    return arguments;
}

using Args = std::vector<std::string>;

} // namespace

TEST(ArgParser, SplitsOnWhiteSpaceAndJoinsQuotedText) {
    struct Case {
        char const* text;
        Args dropped; // quotes removed
        Args kept;    // quotes kept
    };
    for (Case const& c : std::initializer_list<Case>{
             {"", {}, {}},
             {" \t\r\n\b ", {}, {}},
             {"a\bb\tc\rd\ne  f", {"a", "b", "c", "d", "e", "f"}, {"a", "b", "c", "d", "e", "f"}},
             // No other control character separates.
             {"a\vb\fc", {"a\vb\fc"}, {"a\vb\fc"}},
             {R"(copy "my file" there)",
              {"copy", "my file", "there"},
              {"copy", "\"my file\"", "there"}},
             {R"(x"y z"w)", {"xy zw"}, {"x\"y z\"w"}},
             {R"(a "b c)", {"a", "b c"}, {"a", "\"b c"}},
             {R"("" b)", {"", "b"}, {"\"\"", "b"}},
             {R"(a""b)", {"ab"}, {"a\"\"b"}},
             {R"("a"b"c)", {"abc"}, {"\"a\"b\"c"}},
             {R"("a b"c d)", {"a bc", "d"}, {"\"a b\"c", "d"}},
             // A lone quote is an argument only while quotes are kept.
             {"\"", {}, {"\""}},
             {"a \"", {"a"}, {"a", "\""}},
         }) {
        EXPECT_EQ(Split(c.text, false), c.dropped) << "[" << c.text << "]";
        EXPECT_EQ(Split(c.text, true), c.kept) << "[" << c.text << "]";
    }
}

// Arguments point into the caller's buffer, which gets their ends written in;
// a new first call restarts the split.
TEST(ArgParser, ArgumentsArePointersIntoTheCallersBuffer) {
    std::string buffer = "one  two";
    std::string other = "c";
    ArgParser parser;
    EXPECT_EQ(parser.GetFirstArg(buffer.data(), false), buffer.data());
    EXPECT_EQ(parser.GetNextArg(false), buffer.data() + 5);
    EXPECT_EQ(buffer[3], '\0');
    EXPECT_EQ(parser.GetNextArg(false), nullptr);
    EXPECT_EQ(parser.GetNextArg(false), nullptr);
    parser.GetFirstArg(buffer.data(), false);
    EXPECT_EQ(parser.GetFirstArg(other.data(), false), other.data());
    EXPECT_EQ(parser.GetNextArg(false), nullptr);
    EXPECT_EQ(parser.GetFirstArg(nullptr, false), nullptr);
    EXPECT_EQ(parser.GetNextArg(false), nullptr);
}
