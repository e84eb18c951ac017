#include "tools/zorq/input.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <unistd.h>

namespace zorq {
namespace {

using Lines = std::vector<std::string>;

TEST(ZorqInput, SkipsBlankAndCommentLines) {
    std::istringstream in("1 + 1\n\n   \n\t\n// a comment\n   // indented comment\n"
                          "\"a // b\"\r\nlast without end");
    EXPECT_EQ(expressionLines(in), (Lines{"1 + 1", "\"a // b\"", "last without end"}));
    EXPECT_TRUE(isSkippedLine(""));
    EXPECT_TRUE(isSkippedLine(" \t "));
    EXPECT_TRUE(isSkippedLine("//"));
    EXPECT_FALSE(isSkippedLine("/ 2"));
    EXPECT_FALSE(isSkippedLine("1 // 2"));
}

TEST(ZorqInput, CollectsArgumentsFilesAndStandardInputInOrder) {
    auto const folder =
        std::filesystem::temp_directory_path() / ("zorq-input-" + std::to_string(getpid()));
    std::filesystem::create_directories(folder);
    auto const file = folder / "exprs.txt";
    std::ofstream(file) << "// checks\n2\n\n3\n";
    std::istringstream standardInput("4\n5\n");
    auto const expressions = collectExpressions({{Input::Kind::Expression, "1"},
                                                 {Input::Kind::File, file.string()},
                                                 {Input::Kind::File, "-"},
                                                 {Input::Kind::Expression, "6"}},
                                                standardInput);
    EXPECT_EQ(expressions, (Lines{"1", "2", "3", "4", "5", "6"}));
    std::filesystem::remove_all(folder);
}

TEST(ZorqInput, MissingFileIsAUsageError) {
    std::istringstream standardInput;
    EXPECT_THROW(
        collectExpressions({{Input::Kind::File, "/nonexistent/zorq/exprs.txt"}}, standardInput),
        UsageError);
    EXPECT_THROW(collectExpressions({{Input::Kind::File, "/"}}, standardInput), UsageError);
}

} // namespace
} // namespace zorq
