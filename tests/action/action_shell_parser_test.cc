#include "action/action_shell_parser.h"
#include "tests/action/repeat.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace {

using Lines = std::vector<std::string>;

// Takes a branch when its condition is the word true, and records each
// condition it was asked about.
class ScriptedParser : public ActionShellParser {
public:
    bool EvaluateCondition(Stringy const& condition) override {
        asked.push_back(condition.str());
        return condition.str() == "true";
    }

    // Runs script the way a host does and returns the lines it would execute.
    // The view form keeps long scripts linear; the Stringy form copies the
    // rest per line.
    template <class Text = Stringy> Lines Run(std::string const& text) {
        Text script(text);
        Lines executed;
        std::uint16_t lines = 0;
        while (GetCommand(script)) {
            bool isDownload = false;
            if (ProcessBlockControl(script, lines, isDownload))
                continue;
            executed.push_back(GetCommandName() + std::string(isDownload ? "*|" : "|") +
                               GetCurrentArguments().str());
            if (GetCurrentCommand() == cCreateFileUntil)
                SkipCreateFile(script, lines);
        }
        if (!GetBlockList().empty())
            throw MissingEndif(GetLineCounter());
        return executed;
    }

    Lines asked;
};

// What a host does with text: the lines it executes ("*" marks a download)
// and, after "?", the conditions it asks; or the fault it meets as
// "line: message".
std::string Trace(std::string const& text) {
    ScriptedParser parser;
    std::string trace;
    try {
        for (std::string const& line : parser.Run(text))
            trace += line + "; ";
    } catch (ActionSyntaxError const& error) {
        return std::to_string(error.GetLineNumber()) + ": " + GetActionSyntaxErrorString();
    }
    trace += "?";
    for (std::string const& condition : parser.asked)
        trace += " " + condition;
    return trace;
}

} // namespace

TEST(GetCommand, MatchesTheFirstRowThatPrefixesTheLineIgnoringCase) {
    auto code = [](char const* text) {
        ActionShellParser parser;
        Stringy script(text);
        parser.GetCommand(script);
        return parser.GetCurrentCommand();
    };
    EXPECT_EQ((std::vector<std::int32_t>{
                  code("IF x"), code("ifx"), code("Regset64 \"k\""), code("regset \"k\""),
                  code("setting delete a"), code("setting a"), code("copyfile a b"),
                  code("download now as a b"), code("DOWNLOAD AS a b"), code("download http://x"),
                  code("rundetached x"), code("elseif x"), code("// note"),
                  code("  \t\r\n  delete x"), code("regdelete64 k"), code("script64 x"),
                  code("runhidden x"), code("waithidden x"), code("waitdetached x")}),
              (std::vector<std::int32_t>{54, 54, 66, 4, 41, 40, 2, 53, 52, 17, 46, 55, 29, 1, 67,
                                         68, 63, 64, 47}));
}

// Exactly one blank after the keyword is dropped; blank lines are skipped and
// CR, LF or both end a line. Past the end no command is current.
TEST(GetCommand, SplitsArgumentsAndEndsWithNoCommand) {
    ScriptedParser parser;
    EXPECT_EQ(parser.Run("delete  two blanks\r\n\r\n\n   copy a b\rmove\nrun x"),
              (Lines{"delete| two blanks", "copy|a b", "move|", "run|x"}));
    EXPECT_EQ(parser.GetCurrentCommand(), 0);
    EXPECT_STREQ(parser.GetCommandName(), "unknown");
    EXPECT_EQ(parser.GetLineCounter(), 4);
}

// Only CR ends an unknown line, and the character before the CR is lost;
// hosts depend on this, so it is kept.
TEST(GetCommand, UnknownCommandSearchesOnlyForCarriageReturn) {
    ActionShellParser parser;
    Stringy script("bogus line\r\ndelete x");
    EXPECT_THROW(parser.GetCommand(script), UnknownCommand);
    EXPECT_EQ(parser.GetCurrentArguments().str(), "bogus lin");
    EXPECT_EQ(script.str(), "delete x");
    EXPECT_TRUE(parser.GetCommand(script));
    EXPECT_EQ(parser.GetLineCounter(), 2);
    Stringy rest("bogus\ndelete x\ndelete y");
    EXPECT_THROW(parser.GetCommand(rest), UnknownCommand);
    EXPECT_EQ(parser.GetCurrentArguments().str(), "bogus\ndelete x\ndelete y");
    EXPECT_TRUE(rest.empty());
}

TEST(GetCommand, RequiredVersionIsTheHighestMinimum) {
    for (auto const& [script, version] : std::vector<std::pair<std::string, std::string>>{
             {"delete a\ndelete b\n", "0.0.0.0"},
             {"delete a\nnotify client\nif true\nendif\ndelete b", "6.0.14.0"},
             {"delete a\nregset64 x\ndelete b", "6.0.0.0"}}) {
        ScriptedParser parser;
        parser.Run(script);
        EXPECT_EQ(parser.GetRequiredVersion().AsString(), version) << script;
    }
}

TEST(GetLine, TakesOnePhysicalLineWithAnyLineEndAndStopsAtNul) {
    ActionShellParser parser;
    ConstData text("a\r\nb\n\rc\rd\n\ne");
    ConstData line;
    Lines lines;
    while (parser.GetLine(text, line))
        lines.push_back(line.str());
    EXPECT_EQ(lines, (Lines{"a", "b", "c", "d", "", "e"}));
    EXPECT_EQ(parser.GetLineCounter(), 6);
    // The NUL is never consumed, so each later call gives an empty line.
    std::string const bytes("ab\0cd", 5);
    ConstData withNul(bytes);
    for (char const* expected : {"ab", ""}) {
        ASSERT_TRUE(parser.GetLine(withNul, line));
        EXPECT_EQ(line.str(), expected);
        EXPECT_EQ(withNul.Length(), 3u);
    }
}

// Exactly one branch runs and only the conditions needed are asked; nothing
// inside a false block runs or is evaluated, createfile bodies included. The
// text after a createfile body is not trimmed, so a blank line after a final
// body is a line of white space, which is no command.
TEST(BlockControl, TracesAndFaults) {
    for (auto const& [script, trace] : std::vector<std::pair<std::string, std::string>>{
             {"if true\nrun a\nelseif true\nrun b\nelse\nrun c\nendif\nrun d",
              "run|a; run|d; ? true"},
             {"if false\nrun a\nelseif true\nrun b\nelse\nrun c\nendif\nrun d",
              "run|b; run|d; ? false true"},
             {"if false\nrun a\nelseif false\nrun b\nelse\nrun c\nendif\nrun d",
              "run|c; run|d; ? false false"},
             {"if false\nif true\nrun a\nelse\nrun b\nendif\nelseif inner\nrun c\nelse\nrun "
              "d\nendif",
              "run|d; ? false inner"},
             {"if false\nif false\nelse\nrun x\nendif\nendif\nrun y", "run|y; ? false"},
             {"if false\ncreatefile until EOF\nnot a command\nEOF\nendif\nrun x", "run|x; ? false"},
             {"createfile until END\r\n  delete inside\r\nxxENDxx\r\nrun after",
              "createfile until|END; run|after; ?"},
             {"createfile until \"@end\"\nsee @end here\n\"@end\"\nrun after",
              "createfile until|\"@end\"; run|after; ?"},
             {"delete a\nelseif x", "2: ElseIf encountered without If."},
             {"else", "1: Else encountered without If."},
             {"if true\nendif\nendif", "3: Endif encountered without If."},
             {"if true\nelse\nelseif x\nendif", "3: Elseif encountered after Else."},
             {"if true\nelse\nelse\nendif", "3: Else encountered after Else."},
             {"delete a\nif x\nrun b", "3: Missing Endif."},
             {"delete a\ncopy b c\nfrobnicate\n", "3: Unknown action command."},
             {" \n ", "1: Unknown action command."},
             {"createfile until END\nx\nEND\n\n", "4: Unknown action command."},
             {"delete a\ncreatefile until\nbody", "2: Missing 'createfile until' end delimiter."},
             {"createfile until END\nbody\nend", "1: Missing 'createfile until' end delimiter."},
             {"createfile until END", "1: Missing 'createfile until' end delimiter."},
             {"createfile until", "1: Missing 'createfile until' end delimiter."},
             {"download http://x/a", "download*|http://x/a; ?"},
             {"download save open http://x/a", "download*|save open http://x/a; ?"},
             {"download now http://x/a", "download|now http://x/a; ?"},
             {"download save now http://x/a", "download|save now http://x/a; ?"},
             {"download \"now\"x http://x/a", "download*|\"now\"x http://x/a; ?"},
             {"download as a http://x/a", "download as*|a http://x/a; ?"},
             {"prefetch a sha1:1 size:1 http://x/a", "prefetch*|a sha1:1 size:1 http://x/a; ?"},
             {"download now as a http://x/a", "download now as|a http://x/a; ?"}}) {
        EXPECT_EQ(Trace(script), trace) << script;
    }
}

TEST(CreateFile, BodyKeepsLeadingBlanksAndQuotedDelimiters) {
    ActionShellParser parser;
    Stringy script("createfile until \"@end\"\n  body\n\"@end\"\ndelete x");
    parser.GetCommand(script);
    EXPECT_EQ(script.str(), "  body\n\"@end\"\ndelete x");
    std::uint16_t lines = 10;
    parser.SkipCreateFile(script, lines);
    EXPECT_EQ(lines, 12);
    EXPECT_EQ(script.str(), "delete x");
    EXPECT_EQ(parser.GetLineCounter(), 3);
}

// Block control is not applied when counting: both bodies are skipped and counted.
TEST(LineCount, CountsCommandsAndBodiesButNotBlankLines) {
    for (auto const& [script, count] : std::vector<std::pair<std::string, int>>{
             {"", 0},
             {"delete a\n\n\n\ncopy a b\n", 2},
             {"delete a\r\ncreatefile until END\r\nline 1\r\n\r\nEND\r\nrun x", 6},
             {"createfile until END\r\nx\r\nEND\r\n", 3},
             {"createfile until END\nx\nEND\n\ndelete a", 4},
             {"if false\ncreatefile until E\nx\nE\nelse\ncreatefile until E\ny\nE\nendif", 9}}) {
        EXPECT_EQ(ActionShellParser::GetNumberOfActionLines(script), count) << script;
    }
    EXPECT_THROW(ActionShellParser::GetNumberOfActionLines("delete a\nnonsense"), UnknownCommand);
}

TEST(LineList, NormalisesKeywordsAndListsBodyLines) {
    Lines lines{"existing"};
    ActionShellParser::BuildCommandLineList(
        "DELETE  a\rIf true\r\ncreatefile until END\n  x\n\nEND\nendif\n", lines);
    EXPECT_EQ(lines, (Lines{"existing", "delete  a", "if true", "createfile until END", "  x", "",
                            "END", "endif"}));
    EXPECT_THROW(ActionShellParser::BuildCommandLineList("createfile until END\nx", lines),
                 MissingCreateFileDelimiter);
}

// Faults no script here raises (the download faults are checked by zoraction's tests), and the text
// given when no fault is current.
TEST(ErrorStrings, RemainingTexts) {
    auto message = [](auto const& error) {
        try {
            throw error;
        } catch (ActionSyntaxError const&) {
            return GetActionSyntaxErrorString();
        }
    };
    EXPECT_EQ(message(SubstitutionError(1)), "Relevance substitution error.");
    // The end-delimiter fault has no text of its own.
    EXPECT_EQ(message(MissingCreateFileEndDelimiter(1)), "Non-specific syntax error.");
    EXPECT_EQ(message(ActionSyntaxError(1)), "Non-specific syntax error.");
    try {
        throw NoSuchObject();
    } catch (DebuggableException const&) {
        EXPECT_EQ(GetActionSyntaxErrorString(), "Unknown ActionSyntaxError.");
    }
    EXPECT_EQ(GetActionSyntaxErrorString(), "Unknown ActionSyntaxError.");
}

// NUL bytes are ordinary bytes in command lines, but GetLine never reads past
// one, so a createfile body whose delimiter lies beyond a NUL has no readable end.
TEST(BadInput, NulBytes) {
    std::string const script("delete a\0b\nrun x\0\n", 18);
    EXPECT_EQ(ActionShellParser::GetNumberOfActionLines(script), 2);
    Lines lines;
    ActionShellParser::BuildCommandLineList(script, lines);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], std::string("delete a\0b", 10));
    // A NUL where a keyword should be is no command.
    EXPECT_EQ(Trace(std::string("\0delete", 7)), "1: Unknown action command.");
    std::string const body("createfile until END\nab\0END\ndelete x", 36);
    EXPECT_THROW(ActionShellParser::BuildCommandLineList(body, lines),
                 MissingCreateFileEndDelimiter);
    EXPECT_THROW(ScriptedParser().Run<ConstData>(body), MissingCreateFileEndDelimiter);
    EXPECT_EQ(Trace(body), "2: Non-specific syntax error.");
}

TEST(BadInput, MegabyteLinesAndDeepNesting) {
    std::string const longWord(1 << 20, 'x');
    Lines lines;
    ActionShellParser::BuildCommandLineList("delete " + longWord + "\r\nrun y", lines);
    EXPECT_EQ(lines, (Lines{"delete " + longWord, "run y"}));
    constexpr std::size_t kDepth = 100000;
    std::string const balanced =
        Repeat("if true\n", kDepth) + "run deep\n" + Repeat("endif\n", kDepth);
    EXPECT_EQ(ScriptedParser().Run<ConstData>(balanced), Lines{"run|deep"});
    // The line counter is 16 bits wide and wraps on such long scripts.
    EXPECT_EQ(ActionShellParser::GetNumberOfActionLines(balanced),
              static_cast<std::uint16_t>(2 * kDepth + 1));
    EXPECT_THROW(ScriptedParser().Run<ConstData>(Repeat("if true\n", kDepth)), MissingEndif);
}
