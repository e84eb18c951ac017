#include "action/win_version.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <tuple>
#include <vector>

namespace {

// A version as "count:a.b.c.d".
std::string Describe(WinVersion const& version) {
    std::string text = std::to_string(version.count) + ":";
    for (std::uint16_t component : version.components)
        text += std::to_string(component) + ".";
    return text.substr(0, text.size() - 1);
}

std::string Parse(std::string const& text) {
    return Describe(WinVersionFromString(text.data(), text.size()));
}

} // namespace

// Empty components read as 0; the end of the text ends the last one. Bad
// texts give the error value; only length characters are read.
TEST(WinVersion, ParsesDotsCommasAndCounts) {
    EXPECT_EQ((std::vector<std::string>{Parse("6"), Parse("6.0"), Parse("6,0,14"),
                                        Parse("6.0.14.0"), Parse("65535.1"), Parse("1..2"),
                                        Parse("6."), Describe(WinVersionFromString("6.1junk", 3))}),
              (std::vector<std::string>{"1:6.0.0.0", "2:6.0.0.0", "3:6.0.14.0", "4:6.0.14.0",
                                        "2:65535.1.0.0", "3:1.0.2.0", "2:6.0.0.0", "2:6.1.0.0"}));
    for (std::string text : {"", "1.2.3.4.5", "1.2.3.4.", "6.a", "6-0", "70000", "65536",
                             "99999999999999999999", "1.2 "})
        EXPECT_EQ(Parse(text), "4:0.0.0.0") << text;
    EXPECT_EQ(Parse(std::string("6\0", 2)), "4:0.0.0.0");
    EXPECT_EQ(Describe(WinVersionFromString(nullptr, 3)), "4:0.0.0.0");
    EXPECT_EQ(WinVersionFromString("6.0.14", 3).AsString(), "6.0");
}

// Each case: left, right, then whether left <, <= and == right.
TEST(WinVersion, ComparisonsLookAtCommonComponentsOnly) {
    for (auto const& [left, right, expected] :
         std::vector<std::tuple<char const*, char const*, char const*>>{
             {"6.0.14.0", "6.0.15", "TTF"},
             {"6.1", "6.0.14.0", "FFF"},
             {"5", "5.9", "FTT"},
             {"2.9", "2.10", "TTF"},
             {"7", "6.9", "FFF"},
             {"6.9", "7", "TTF"}}) {
        WinVersion const a = WinVersionFromString(left, std::strlen(left));
        WinVersion const b = WinVersionFromString(right, std::strlen(right));
        std::string const actual = {a < b ? 'T' : 'F', a <= b ? 'T' : 'F', a == b ? 'T' : 'F'};
        EXPECT_EQ(actual, expected) << left << " " << right;
    }
}
