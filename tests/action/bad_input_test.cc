// Hostile scripts: each must end in a syntax error or a result, and fast.
#include "action/action_shell_parser.h"
#include "action/mirror_download_parser.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

constexpr std::size_t kMegabyte = 1 << 20;

// Runs script like a host: every command, createfile bodies skipped, and the
// block list checked at the end. Returns the number of executed lines. The
// view form keeps this linear; the Stringy form copies the rest per line.
std::size_t RunLikeHost(std::string const& text) {
    ActionShellParser parser;
    ConstData script(text);
    std::uint16_t lines = 0;
    std::size_t executed = 0;
    while (parser.GetCommand(script)) {
        bool isDownload = false;
        if (parser.ProcessBlockControl(script, lines, isDownload))
            continue;
        ++executed;
        if (parser.GetCurrentCommand() == ActionShellParser::cCreateFileUntil)
            parser.SkipCreateFile(script, lines);
    }
    if (!parser.GetBlockList().empty())
        throw MissingEndif(parser.GetLineCounter());
    return executed;
}

std::size_t DownloadCount(std::string const& script) {
    MirrorDownloadActionParser parser;
    DownloadList list;
    WinVersion version;
    parser.BuildMirrorDownloadList(Stringy(script), list, version);
    return list.GetCount();
}

std::string Repeat(std::string const& piece, std::size_t times) {
    std::string text;
    text.reserve(piece.size() * times);
    for (std::size_t i = 0; i < times; ++i)
        text += piece;
    return text;
}

} // namespace

// NUL bytes are ordinary bytes in command lines, but GetLine never reads past
// one, so a createfile body whose delimiter lies beyond a NUL has no readable end.
TEST(BadInput, NulBytes) {
    std::string const script("delete a\0b\nrun x\0\n", 18);
    EXPECT_EQ(ActionShellParser::GetNumberOfActionLines(script), 2);
    std::vector<std::string> lines;
    ActionShellParser::BuildCommandLineList(script, lines);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], std::string("delete a\0b", 10));
    // A NUL where a keyword should be is no command.
    EXPECT_THROW(RunLikeHost(std::string("\0delete", 7)), UnknownCommand);
    // Download arguments end at a NUL, as the tokenizer reads C strings.
    EXPECT_EQ(DownloadCount(std::string("download \0http://s/a", 20)), 0u);

    std::string const body("createfile until END\nab\0END\ndelete x", 36);
    EXPECT_THROW(ActionShellParser::BuildCommandLineList(body, lines),
                 MissingCreateFileEndDelimiter);
    try {
        RunLikeHost(body);
        ADD_FAILURE() << "no exception";
    } catch (MissingCreateFileEndDelimiter const& error) {
        EXPECT_EQ(error.GetLineNumber(), 2);
    }
}

TEST(BadInput, MegabyteLinesAndDeepNesting) {
    std::string const longWord(kMegabyte, 'x');
    std::vector<std::string> lines;
    ActionShellParser::BuildCommandLineList("delete " + longWord + "\r\nrun y", lines);
    EXPECT_EQ(lines, (std::vector<std::string>{"delete " + longWord, "run y"}));
    // Quote-heavy arguments stay linear in the tokenizer.
    EXPECT_EQ(DownloadCount("download " + Repeat("\"a\" ", kMegabyte / 4) + "\n"), 1u);
    EXPECT_EQ(DownloadCount("download http://s/a\ncontinue if " + Repeat("{(x ", kMegabyte / 4) +
                            "size = 5)}\n"),
              1u);

    constexpr std::size_t kDepth = 100000;
    std::string const balanced =
        Repeat("if true\n", kDepth) + "download http://s/deep\n" + Repeat("endif\n", kDepth);
    EXPECT_EQ(RunLikeHost(balanced), 1u);
    EXPECT_EQ(DownloadCount(balanced), 1u);
    // The line counter is 16 bits wide and wraps on such long scripts.
    EXPECT_EQ(ActionShellParser::GetNumberOfActionLines(balanced),
              static_cast<std::uint16_t>(2 * kDepth + 1));
    EXPECT_THROW(RunLikeHost(Repeat("if true\n", kDepth)), MissingEndif);
}
