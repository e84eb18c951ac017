#include "action/arg_parser.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
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

// A literal model of the tokenizer: each removed quote shifts the whole rest
// of the buffer left by one. The parser squeezes quotes out differently and
// must still return the same arguments.
class ShiftingModel {
public:
    static bool White(char c) { return ArgParser::IsWhiteSpace(c); }
    static void Delete(char* p) { std::memmove(p, p + 1, std::strlen(p + 1) + 1); }

    char* First(char* buffer, bool keep) {
        next_ = nullptr;
        while (*buffer && White(*buffer))
            ++buffer;
        return *buffer ? Take(buffer, keep) : nullptr;
    }
    char* Next(bool keep) {
        if (!next_ || !*next_)
            return nullptr;
        char* p = next_;
        next_ = nullptr;
        return Take(p, keep);
    }

private:
    char* Take(char* p, bool keep) {
        char* start = p;
        if (*p == '"') {
            if (!keep)
                start = ++p;
            else
                ++p;
            if (*start == '\0')
                return nullptr;
            if (!CloseQuote(p, keep))
                return Finish(p, start);
        }
        while (*p && !White(*p)) {
            if (*p != '"') {
                ++p;
                continue;
            }
            if (keep)
                ++p;
            else
                Delete(p);
            if (!CloseQuote(p, keep))
                break;
        }
        return Finish(p, start);
    }
    // Moves p past the closing quote; false when the text ends first.
    static bool CloseQuote(char*& p, bool keep) {
        while (*p && *p != '"')
            ++p;
        if (!*p)
            return false;
        if (keep)
            ++p;
        else
            Delete(p);
        return true;
    }
    char* Finish(char* p, char* start) {
        if (*p) {
            *p++ = '\0';
            while (*p && White(*p))
                ++p;
            if (*p)
                next_ = p;
        }
        return start;
    }
    char* next_ = nullptr;
};

Args SplitWithModel(std::string text, bool keepQuotes) {
    Args arguments;
    ShiftingModel model;
    for (char* arg = model.First(text.data(), keepQuotes); arg; arg = model.Next(keepQuotes))
        arguments.emplace_back(arg);
    return arguments;
}

} // namespace

TEST(ArgParser, WhiteSpaceIsExactlyFiveCharacters) {
    std::string white;
    for (int c = 1; c < 256; ++c) {
        if (ArgParser::IsWhiteSpace(static_cast<char>(c)))
            white += static_cast<char>(c);
    }
    EXPECT_EQ(white, std::string("\b\t\n\r "));
}

TEST(ArgParser, EmptyOrBlankBufferHasNoArguments) {
    ArgParser parser;
    EXPECT_EQ(parser.GetFirstArg(nullptr, false), nullptr);
    EXPECT_EQ(parser.GetNextArg(false), nullptr);
    EXPECT_EQ(Split("", false), Args{});
    EXPECT_EQ(Split(" \t\r\n\b ", true), Args{});
}

TEST(ArgParser, QuotedWordsFormOneArgument) {
    EXPECT_EQ(Split(R"(copy "my file" there)", false), (Args{"copy", "my file", "there"}));
    EXPECT_EQ(Split(R"(copy "my file" there)", true), (Args{"copy", "\"my file\"", "there"}));
    EXPECT_EQ(Split(R"(x"y z"w)", false), (Args{"xy zw"}));
    EXPECT_EQ(Split(R"(x"y z"w)", true), (Args{"x\"y z\"w"}));
    EXPECT_EQ(Split(R"(a "b c)", false), (Args{"a", "b c"}));
    EXPECT_EQ(Split(R"(a "b c)", true), (Args{"a", "\"b c"}));
    EXPECT_EQ(Split(R"("" b)", false), (Args{"", "b"}));
}

TEST(ArgParser, LoneQuoteDependsOnKeepingQuotes) {
    EXPECT_EQ(Split("\"", false), Args{});
    EXPECT_EQ(Split("\"", true), (Args{"\""}));
    EXPECT_EQ(Split("a \"", false), (Args{"a"}));
    EXPECT_EQ(Split("a \"", true), (Args{"a", "\""}));
}

TEST(ArgParser, BackspaceAndLineEndsSeparateArguments) {
    EXPECT_EQ(Split("a\bb\tc\rd\ne  f", false), (Args{"a", "b", "c", "d", "e", "f"}));
}

TEST(ArgParser, ArgumentsArePointersIntoTheCallersBuffer) {
    std::string buffer = "one  two";
    ArgParser parser;
    char* first = parser.GetFirstArg(buffer.data(), false);
    char* second = parser.GetNextArg(false);
    EXPECT_EQ(first, buffer.data());
    EXPECT_EQ(second, buffer.data() + 5);
    EXPECT_EQ(buffer[3], '\0');
    EXPECT_EQ(parser.GetNextArg(false), nullptr);
    EXPECT_EQ(parser.GetNextArg(false), nullptr);
}

TEST(ArgParser, FirstArgRestartsTheSplit) {
    std::string a = "a b";
    std::string c = "c";
    ArgParser parser;
    parser.GetFirstArg(a.data(), false);
    EXPECT_STREQ(parser.GetFirstArg(c.data(), false), "c");
    EXPECT_EQ(parser.GetNextArg(false), nullptr);
}

TEST(ArgParser, AgreesWithShiftingModelOnRandomText) {
    std::mt19937 random(7);
    std::string const alphabet = "ab \"\t\b";
    std::uniform_int_distribution<std::size_t> pick(0, alphabet.size() - 1);
    std::uniform_int_distribution<int> length(0, 14);
    for (int round = 0; round < 20000; ++round) {
        std::string text;
        for (int i = length(random); i > 0; --i)
            text += alphabet[pick(random)];
        for (bool keep : {false, true})
            ASSERT_EQ(Split(text, keep), SplitWithModel(text, keep))
                << "text [" << text << "] keep " << keep;
    }
}
