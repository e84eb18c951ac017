#include "action/action_shell_parser.h"

#include <gtest/gtest.h>

#include <cstring>
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
    Lines Run(std::string const& text) {
        Stringy script(text);
        Lines executed;
        std::uint16_t lines = 0;
        while (GetCommand(script)) {
            bool isDownload = false;
            if (ProcessBlockControl(script, lines, isDownload))
                continue;
            executed.push_back(std::string(GetCommandName()) + "|" + GetCurrentArguments().str());
            if (GetCurrentCommand() == cCreateFileUntil)
                SkipCreateFile(script, lines);
        }
        return executed;
    }

    Lines asked;
};

// Recognises the first command of text; returns its code.
std::int32_t CodeOf(std::string const& text) {
    ActionShellParser parser;
    Stringy script(text);
    parser.GetCommand(script);
    return parser.GetCurrentCommand();
}

template <class Error> std::uint16_t ThrownLine(std::string const& text) {
    ScriptedParser parser;
    try {
        parser.Run(text);
    } catch (Error const& error) {
        return error.GetLineNumber();
    }
    ADD_FAILURE() << "no exception for: " << text;
    return 0;
}

} // namespace

TEST(CommandTable, NoKeywordIsHiddenBehindAnEarlierPrefix) {
    auto const& table = ActionShellParser::commandTable;
    for (std::size_t later = 0; later < ActionShellParser::NumCommands; ++later) {
        for (std::size_t earlier = 0; earlier < later; ++earlier) {
            EXPECT_NE(std::strncmp(table[later].name, table[earlier].name,
                                   std::strlen(table[earlier].name)),
                      0)
                << table[later].name << " is shadowed by " << table[earlier].name;
        }
    }
}

TEST(GetCommand, MatchesTheFirstRowThatPrefixesTheLineIgnoringCase) {
    EXPECT_EQ(CodeOf("IF x"), 54);
    EXPECT_EQ(CodeOf("if x"), 54);
    EXPECT_EQ(CodeOf("ifx"), 54);
    EXPECT_EQ(CodeOf("Regset64 \"k\""), 66);
    EXPECT_EQ(CodeOf("regset \"k\""), 4);
    EXPECT_EQ(CodeOf("setting delete a"), 41);
    EXPECT_EQ(CodeOf("setting a"), 40);
    EXPECT_EQ(CodeOf("copyfile a b"), 2);
    EXPECT_EQ(CodeOf("download now as a b"), 53);
    EXPECT_EQ(CodeOf("DOWNLOAD AS a b"), 52);
    EXPECT_EQ(CodeOf("download http://x"), 17);
    EXPECT_EQ(CodeOf("rundetached x"), 46);
    EXPECT_EQ(CodeOf("elseif x"), 55);
    EXPECT_EQ(CodeOf("// note"), 29);
    EXPECT_EQ(CodeOf("  \t\r\n  delete x"), 1);
}

TEST(GetCommand, SplitsArgumentsAndAdvancesPastBlankLines) {
    ActionShellParser parser;
    Stringy script("delete  two blanks\r\n\r\n\n   copy a b\rmove\nrun x");
    ASSERT_TRUE(parser.GetCommand(script));
    // Exactly one blank after the keyword is dropped.
    EXPECT_EQ(parser.GetCurrentArguments().str(), " two blanks");
    EXPECT_EQ(script.str(), "copy a b\rmove\nrun x");
    ASSERT_TRUE(parser.GetCommand(script));
    EXPECT_EQ(parser.GetCurrentArguments().str(), "a b");
    ASSERT_TRUE(parser.GetCommand(script));
    EXPECT_STREQ(parser.GetCommandName(), "move");
    EXPECT_EQ(parser.GetCurrentArguments().str(), "");
    ASSERT_TRUE(parser.GetCommand(script));
    EXPECT_EQ(parser.GetLineCounter(), 4);
    EXPECT_TRUE(script.empty());
    EXPECT_FALSE(parser.GetCommand(script));
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
    EXPECT_EQ(parser.GetCurrentCommand(), 0);
    EXPECT_EQ(script.str(), "delete x");
    EXPECT_TRUE(parser.GetCommand(script));
    EXPECT_EQ(parser.GetLineCounter(), 2);

    ActionShellParser lfOnly;
    Stringy rest("bogus\ndelete x\ndelete y");
    EXPECT_THROW(lfOnly.GetCommand(rest), UnknownCommand);
    EXPECT_EQ(lfOnly.GetCurrentArguments().str(), "bogus\ndelete x\ndelete y");
    EXPECT_TRUE(rest.empty());

    // A remainder of only white space is not empty, so it is read as a
    // command line and matches no keyword.
    Stringy blank(" \n ");
    EXPECT_THROW(ActionShellParser().GetCommand(blank), UnknownCommand);
    EXPECT_TRUE(blank.empty());
    EXPECT_EQ(ThrownLine<UnknownCommand>("delete a\ncopy b c\nfrobnicate\n"), 3);
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

TEST(BlockControl, IfElseifElseTakeExactlyOneBranchAndAskOnlyWhatIsNeeded) {
    struct Case {
        char const* first;
        char const* second;
        Lines executed;
        Lines asked;
    };
    for (Case const& c : {Case{"true", "true", {"run|a", "run|d"}, {"true"}},
                          Case{"false", "true", {"run|b", "run|d"}, {"false", "true"}},
                          Case{"false", "false", {"run|c", "run|d"}, {"false", "false"}}}) {
        ScriptedParser parser;
        EXPECT_EQ(parser.Run(std::string("if ") + c.first + "\nrun a\nelseif " + c.second +
                             "\nrun b\nelse\nrun c\nendif\nrun d"),
                  c.executed);
        EXPECT_EQ(parser.asked, c.asked);
        EXPECT_TRUE(parser.GetBlockList().empty());
    }
}

TEST(BlockControl, NothingInsideAFalseBlockRunsOrIsEvaluated) {
    ScriptedParser parser;
    Lines const executed =
        parser.Run("if false\nif true\nrun a\nelse\nrun b\nendif\nelseif inner\nrun c\n"
                   "else\nrun d\nendif");
    EXPECT_EQ(executed, Lines{"run|d"});
    EXPECT_EQ(parser.asked, (Lines{"false", "inner"}));
    EXPECT_TRUE(parser.GetBlockList().empty());
}

TEST(BlockControl, ElseInsideAFalseEnclosingBlockStaysFalse) {
    ScriptedParser parser;
    EXPECT_EQ(parser.Run("if false\nif false\nelse\nrun x\nendif\nendif\nrun y"), Lines{"run|y"});
}

TEST(BlockControl, MisplacedBlockCommandsThrowWithTheirLine) {
    EXPECT_EQ(ThrownLine<ElseifWithoutIf>("delete a\nelseif x"), 2);
    EXPECT_EQ(ThrownLine<ElseWithoutIf>("else"), 1);
    EXPECT_EQ(ThrownLine<EndifWithoutIf>("if true\nendif\nendif"), 3);
    EXPECT_EQ(ThrownLine<ElseifAfterElse>("if true\nelse\nelseif x\nendif"), 3);
    EXPECT_EQ(ThrownLine<ElseAfterElse>("if true\nelse\nelse\nendif"), 3);
}

TEST(BlockControl, DownloadLinesAreRecognised) {
    auto isDownload = [](std::string const& line) {
        ActionShellParser parser;
        Stringy script(line);
        parser.GetCommand(script);
        std::uint16_t lines = 0;
        bool download = false;
        EXPECT_FALSE(parser.ProcessBlockControl(script, lines, download));
        return download;
    };
    EXPECT_TRUE(isDownload("download http://x/a"));
    EXPECT_TRUE(isDownload("download save open http://x/a"));
    EXPECT_FALSE(isDownload("download now http://x/a"));
    EXPECT_FALSE(isDownload("download save now http://x/a"));
    EXPECT_TRUE(isDownload("download \"now\"x http://x/a"));
    EXPECT_TRUE(isDownload("download as a http://x/a"));
    EXPECT_TRUE(isDownload("prefetch a sha1:1 size:1 http://x/a"));
    EXPECT_FALSE(isDownload("download now as a http://x/a"));
    EXPECT_FALSE(isDownload("delete a"));
}

TEST(CreateFile, BodyEndsAtTheFirstLineContainingTheDelimiter) {
    ScriptedParser parser;
    Lines const executed =
        parser.Run("createfile until END\r\n  delete inside\r\nxxENDxx\r\nrun after");
    EXPECT_EQ(executed, (Lines{"createfile until|END", "run|after"}));
    EXPECT_EQ(parser.GetLineCounter(), 4);
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

// The text after a createfile body is not trimmed, so a blank line after a
// final body is a line of white space, which is no command.
TEST(CreateFile, BlankLineAfterAFinalBodyIsAnUnknownCommand) {
    EXPECT_EQ(ActionShellParser::GetNumberOfActionLines("createfile until END\r\nx\r\nEND\r\n"), 3);
    EXPECT_EQ(ThrownLine<UnknownCommand>("createfile until END\nx\nEND\n\n"), 4);
    EXPECT_EQ(ActionShellParser::GetNumberOfActionLines("createfile until END\nx\nEND\n\ndelete a"),
              4);
}

TEST(CreateFile, MissingDelimitersThrow) {
    EXPECT_EQ(ThrownLine<MissingCreateFileDelimiter>("delete a\ncreatefile until\nbody"), 2);
    EXPECT_EQ(ThrownLine<MissingCreateFileDelimiter>("createfile until END\nbody\nend"), 1);
    EXPECT_EQ(ThrownLine<MissingCreateFileDelimiter>("createfile until END"), 1);
    EXPECT_EQ(ThrownLine<MissingCreateFileDelimiter>("createfile until"), 1);
}

TEST(CreateFile, SkippedInFalseBranchesSoTheBodyIsNotParsed) {
    ScriptedParser parser;
    EXPECT_EQ(parser.Run("if false\ncreatefile until EOF\nnot a command\nEOF\nendif\nrun x"),
              Lines{"run|x"});
}

TEST(LineCount, CountsCommandsAndBodiesButNotBlankLines) {
    EXPECT_EQ(ActionShellParser::GetNumberOfActionLines(""), 0);
    EXPECT_EQ(ActionShellParser::GetNumberOfActionLines("delete a\n\n\n\ncopy a b\n"), 2);
    EXPECT_EQ(ActionShellParser::GetNumberOfActionLines(
                  "delete a\r\ncreatefile until END\r\nline 1\r\n\r\nEND\r\nrun x"),
              6);
    // Block control is not applied: both bodies are skipped and counted.
    EXPECT_EQ(ActionShellParser::GetNumberOfActionLines(
                  "if false\ncreatefile until E\nx\nE\nelse\ncreatefile until E\ny\nE\nendif"),
              9);
    try {
        ActionShellParser::GetNumberOfActionLines("delete a\nnonsense");
        ADD_FAILURE() << "no exception";
    } catch (UnknownCommand const& error) {
        EXPECT_EQ(error.GetLineNumber(), 2);
    }
}

TEST(LineList, NormalisesKeywordsAndListsBodyLines) {
    Lines lines{"existing"};
    ActionShellParser::BuildCommandLineList(
        "DELETE  a\rIf true\r\ncreatefile until END\n  x\n\nEND\nendif\n", lines);
    EXPECT_EQ(lines, (Lines{"existing", "delete  a", "if true", "createfile until END", "  x", "",
                            "END", "endif"}));
    Lines unterminated;
    EXPECT_THROW(ActionShellParser::BuildCommandLineList("createfile until END\nx", unterminated),
                 MissingCreateFileDelimiter);
}

TEST(ErrorStrings, EachErrorHasItsExactText) {
    auto message = [](auto const& error) {
        try {
            throw error;
        } catch (ActionSyntaxError const&) {
            return GetActionSyntaxErrorString();
        }
        return std::string("not thrown");
    };
    EXPECT_EQ(message(ElseifWithoutIf(1)), "ElseIf encountered without If.");
    EXPECT_EQ(message(ElseWithoutIf(1)), "Else encountered without If.");
    EXPECT_EQ(message(EndifWithoutIf(1)), "Endif encountered without If.");
    EXPECT_EQ(message(ElseifAfterElse(1)), "Elseif encountered after Else.");
    EXPECT_EQ(message(ElseAfterElse(1)), "Else encountered after Else.");
    EXPECT_EQ(message(MissingEndif(1)), "Missing Endif.");
    EXPECT_EQ(message(MissingCreateFileDelimiter(1)), "Missing 'createfile until' end delimiter.");
    EXPECT_EQ(message(SubstitutionError(1)), "Relevance substitution error.");
    EXPECT_EQ(message(UnknownCommand(1)), "Unknown action command.");
    EXPECT_EQ(message(PrefetchCommandSyntaxError(1)), "Prefetch command syntax error.");
    EXPECT_EQ(message(DownloadNameError(1)), "Download name is invalid.");
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
