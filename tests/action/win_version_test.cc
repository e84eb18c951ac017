#include "action/win_version.h"

#include <gtest/gtest.h>

#include <string>

namespace {

WinVersion Parse(std::string const& text) {
    return WinVersionFromString(text.data(), text.size());
}

WinVersion Version(std::uint16_t a, std::uint16_t b, std::uint16_t c, std::uint16_t d,
                   std::uint32_t count) {
    return WinVersion{{a, b, c, d}, count};
}

void ExpectIdentical(WinVersion const& actual, WinVersion const& expected) {
    EXPECT_EQ(actual.components, expected.components);
    EXPECT_EQ(actual.count, expected.count);
}

} // namespace

TEST(WinVersion, ParsesDotsCommasAndCounts) {
    ExpectIdentical(Parse("6"), Version(6, 0, 0, 0, 1));
    ExpectIdentical(Parse("6.0"), Version(6, 0, 0, 0, 2));
    ExpectIdentical(Parse("6,0,14"), Version(6, 0, 14, 0, 3));
    ExpectIdentical(Parse("6.0.14.0"), Version(6, 0, 14, 0, 4));
    ExpectIdentical(Parse("65535.1"), Version(65535, 1, 0, 0, 2));
    // Empty components read as 0; the end of the text ends the last one.
    ExpectIdentical(Parse("1..2"), Version(1, 0, 2, 0, 3));
    ExpectIdentical(Parse("6."), Version(6, 0, 0, 0, 2));
}

TEST(WinVersion, BadTextsGiveTheErrorValue) {
    WinVersion const error = Version(0, 0, 0, 0, 4);
    for (std::string text : {"", "1.2.3.4.5", "1.2.3.4.", "6.a", "6-0", "70000", "65536",
                             "99999999999999999999", "1.2 "})
        ExpectIdentical(Parse(text), error);
    ExpectIdentical(WinVersionFromString(nullptr, 3), error);
    std::string const withNul("6\0", 2);
    ExpectIdentical(Parse(withNul), error);
    // Only length characters are read.
    ExpectIdentical(WinVersionFromString("6.1junk", 3), Version(6, 1, 0, 0, 2));
}

TEST(WinVersion, AsStringPrintsCountComponents) {
    EXPECT_EQ(Version(6, 0, 14, 0, 4).AsString(), "6.0.14.0");
    EXPECT_EQ(Version(6, 0, 14, 0, 2).AsString(), "6.0");
    EXPECT_EQ(Version(65535, 0, 0, 0, 1).AsString(), "65535");
    EXPECT_EQ(WinVersion{}.AsString(), "0.0.0.0");
}

TEST(WinVersion, ComparisonsLookAtCommonComponentsOnly) {
    // left, right, left < right, left <= right, left == right
    struct Case {
        char const* left;
        char const* right;
        bool less, lessOrEqual, equal;
    };
    for (Case const& c :
         {Case{"6.0.14.0", "6.0.15", true, true, false},
          Case{"6.1", "6.0.14.0", false, false, false}, Case{"5", "5.9", false, true, true},
          Case{"2.9", "2.10", true, true, false}, Case{"7", "6.9", false, false, false},
          Case{"6.9", "7", true, true, false}}) {
        EXPECT_EQ(Parse(c.left) < Parse(c.right), c.less) << c.left << " " << c.right;
        EXPECT_EQ(Parse(c.left) <= Parse(c.right), c.lessOrEqual) << c.left << " " << c.right;
        EXPECT_EQ(Parse(c.left) == Parse(c.right), c.equal) << c.left << " " << c.right;
    }
}
