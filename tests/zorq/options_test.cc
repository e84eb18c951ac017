#include "tools/zorq/options.h"

#include <gtest/gtest.h>
#include <initializer_list>

namespace zorq {
namespace {

Options parse(std::initializer_list<char const*> arguments) {
    return parseOptions(std::span<char const* const>(arguments.begin(), arguments.size()));
}

void expectUsageError(std::initializer_list<char const*> arguments, std::string const& fragment) {
    try {
        parse(arguments);
        ADD_FAILURE() << "expected a usage error mentioning " << fragment;
    } catch (UsageError const& error) {
        EXPECT_NE(std::string(error.what()).find(fragment), std::string::npos) << error.what();
    }
}

TEST(ZorqOptions, KeepsExpressionsAndFilesInCommandLineOrder) {
    auto const options = parse({"1 + 1", "-f", "a.txt", "--file", "-", "--file=b.txt", "x"});
    ASSERT_EQ(options.inputs.size(), 5u);
    EXPECT_EQ(options.inputs[0].kind, Input::Kind::Expression);
    EXPECT_EQ(options.inputs[0].text, "1 + 1");
    EXPECT_EQ(options.inputs[1].kind, Input::Kind::File);
    EXPECT_EQ(options.inputs[1].text, "a.txt");
    EXPECT_EQ(options.inputs[2].text, "-");
    EXPECT_EQ(options.inputs[2].kind, Input::Kind::File);
    EXPECT_EQ(options.inputs[3].text, "b.txt");
    EXPECT_EQ(options.inputs[4].kind, Input::Kind::Expression);
    EXPECT_EQ(options.inputs[4].text, "x");
}

TEST(ZorqOptions, NegativeNumbersAndDoubleDashMakeExpressions) {
    auto const options = parse({"-1 + 2", "- 3", "-", "--", "-t", "--json"});
    ASSERT_EQ(options.inputs.size(), 5u);
    for (auto const& input : options.inputs)
        EXPECT_EQ(input.kind, Input::Kind::Expression) << input.text;
    EXPECT_EQ(options.inputs[0].text, "-1 + 2");
    EXPECT_EQ(options.inputs[3].text, "-t");
    EXPECT_FALSE(options.time);
    EXPECT_FALSE(options.json);
}

TEST(ZorqOptions, Flags) {
    auto const none = parse({});
    EXPECT_FALSE(none.help || none.time || none.json || none.phrases);
    EXPECT_EQ(none.budget.steps, 0u);
    EXPECT_EQ(none.budget.time.count(), 0);

    auto const all = parse({"-t", "--json", "--phrases", "-h"});
    EXPECT_TRUE(all.time && all.json && all.phrases && all.help);
    EXPECT_TRUE(parse({"--time"}).time);
    EXPECT_TRUE(parse({"--help"}).help);
}

TEST(ZorqOptions, BudgetAndPreferences) {
    auto const options = parse({"--max-time", "250", "--max-steps=1000"});
    EXPECT_EQ(options.budget.time, std::chrono::milliseconds(250));
    EXPECT_EQ(options.budget.steps, 1000u);
    EXPECT_EQ(parse({"--preferences", "/tmp/prefs"}).preferences, "/tmp/prefs");
    EXPECT_EQ(parse({"--preferences=/a", "--preferences=/b"}).preferences, "/b");
    EXPECT_EQ(parse({}).preferences, "");
}

TEST(ZorqOptions, BadUsage) {
    expectUsageError({"-x"}, "unknown option -x");
    expectUsageError({"--bogus=1"}, "unknown option --bogus");
    expectUsageError({"--verbose"}, "unknown option --verbose");
    expectUsageError({"1", "-f"}, "-f needs a value");
    expectUsageError({"--max-steps"}, "--max-steps needs a value");
    expectUsageError({"--max-time", "abc"}, "\"abc\"");
    expectUsageError({"--max-time", "-5"}, "\"-5\"");
    expectUsageError({"--max-time", "10ms"}, "\"10ms\"");
    expectUsageError({"--max-steps="}, "whole number");
    expectUsageError({"--max-steps", "99999999999999999999999"}, "whole number");
    expectUsageError({"--max-time", "9223372036854776"}, "up to 9223372036854775");
    EXPECT_EQ(parse({"--max-time", "9223372036854775"}).budget.time.count(), 9223372036854775000);
    expectUsageError({"--json=yes"}, "--json takes no value");
    expectUsageError({"--plugin", "p.so"}, "unknown option --plugin");
    expectUsageError({"--preferences="}, "needs a folder");
    expectUsageError({"--preferences"}, "needs a value");
}

TEST(ZorqOptions, HelpMentionsEveryOption) {
    auto const help = usageText();
    for (char const* option :
         {"-f, --file", "-t, --time", "--json", "--phrases", "--max-time", "--max-steps",
          "--preferences", "-h, --help", "Exit status", "Examples"})
        EXPECT_NE(help.find(option), std::string::npos) << option;
}

} // namespace
} // namespace zorq
