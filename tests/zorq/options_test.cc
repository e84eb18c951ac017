#include "tools/zorq/options.h"

#include <gtest/gtest.h>
#include <initializer_list>

namespace zorq {
namespace {

Options parse(std::initializer_list<char const*> arguments) {
    return parseOptions(std::span<char const* const>(arguments.begin(), arguments.size()));
}

// Each input as "E:text" or "F:text", in command-line order.
std::vector<std::string> inputs(Options const& options) {
    std::vector<std::string> result;
    for (auto const& input : options.inputs)
        result.push_back((input.kind == Input::Kind::File ? "F:" : "E:") + input.text);
    return result;
}

TEST(ZorqOptions, InputsKeepTheirOrderAndDashesOnlyStartOptionsBeforeDoubleDash) {
    EXPECT_EQ(inputs(parse({"1 + 1", "-f", "a.txt", "--file", "-", "--file=b.txt", "-1 + 2", "- 3",
                            "-", "--", "-t", "--json"})),
              (std::vector<std::string>{"E:1 + 1", "F:a.txt", "F:-", "F:b.txt", "E:-1 + 2", "E:- 3",
                                        "E:-", "E:-t", "E:--json"}));
}

// Every transcript runs with the defaults; -t, --json, --phrases, --help and
// the "=" forms of the budget options are in zorq-cli.zt and zorq/*.zt. Here
// the other spellings.
TEST(ZorqOptions, FlagsBudgetAndPreferences) {
    auto const all = parse({"--time", "-h", "--max-time", "250", "--max-steps", "7",
                            "--preferences=/a", "--preferences", "/b"});
    EXPECT_TRUE(all.time && all.help);
    EXPECT_EQ(all.budget.time, std::chrono::milliseconds(250));
    EXPECT_EQ(all.budget.steps, 7u);
    EXPECT_EQ(all.preferences, "/b");
    EXPECT_EQ(parse({"--max-time", "9223372036854775"}).budget.time.count(), 9223372036854775000);
}

TEST(ZorqOptions, BadUsageSaysWhatIsWrong) {
    struct Case {
        std::initializer_list<char const*> arguments;
        char const* fragment;
    } const cases[] = {
        {{"-x"}, "unknown option -x"},
        {{"--bogus=1"}, "unknown option --bogus"},
        {{"--plugin", "p.so"}, "unknown option --plugin"},
        {{"1", "-f"}, "-f needs a value"},
        {{"--max-steps"}, "--max-steps needs a value"},
        {{"--max-time", "abc"}, "\"abc\""},
        {{"--max-time", "-5"}, "\"-5\""},
        {{"--max-time", "10ms"}, "\"10ms\""},
        {{"--max-steps="}, "whole number"},
        {{"--max-steps", "99999999999999999999999"}, "whole number"},
        {{"--max-time", "9223372036854776"}, "up to 9223372036854775"},
        {{"--json=yes"}, "--json takes no value"},
        {{"--preferences="}, "needs a folder"},
        {{"--preferences"}, "needs a value"},
    };
    for (Case const& c : cases) {
        try {
            parse(c.arguments);
            ADD_FAILURE() << "expected a usage error mentioning " << c.fragment;
        } catch (UsageError const& error) {
            EXPECT_NE(std::string(error.what()).find(c.fragment), std::string::npos)
                << error.what();
        }
    }
}

} // namespace
} // namespace zorq
