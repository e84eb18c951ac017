// Helpers no phrase shows whole: case-blind ordering, unsigned numerals,
// numerals in any base, and a version with no components.
#include <gtest/gtest.h>

#include <limits>

#include "evaluator/helpers.h"

namespace {

TEST(CoreCompareIgnoreCase, OrdersFoldedBytesThenLength) {
    EXPECT_EQ(CompareIgnoreCase("Hello", "hELLO"), 0);
    EXPECT_LT(CompareIgnoreCase("abc", "ABD"), 0);
    EXPECT_GT(CompareIgnoreCase("abd", "ABC"), 0);
    EXPECT_LT(CompareIgnoreCase("ab", "ABC"), 0);
    EXPECT_GT(CompareIgnoreCase("abc", "AB"), 0);
    // Letters fold to lowercase, so "Z" sorts after "[" (which sits between 'Z' and 'a').
    EXPECT_GT(CompareIgnoreCase("Z", "["), 0);
    EXPECT_NE(CompareIgnoreCase("\xC9", "\xE9"), 0);
    EXPECT_EQ(CompareIgnoreCaseN("abcX", "ABCy", 3), 0);
    EXPECT_NE(CompareIgnoreCaseN("abcX", "ABCy", 4), 0);
}

TEST(CoreNumerals, ReadUnsigned32BitAndWriteInAnyBase) {
    EXPECT_EQ(ReadAsciiDecimalNumeral("4294967295"), 4294967295u);
    EXPECT_EQ(ReadAsciiDecimalNumeral("007"), 7u);
    for (char const* bad : {"", "4294967296", "-1", "+1", " 1", "12a"})
        EXPECT_THROW(ReadAsciiDecimalNumeral(bad), MalformedText) << bad;
    EXPECT_EQ(Numeral(std::numeric_limits<std::uint64_t>::max()).view(), "18446744073709551615");
    EXPECT_EQ(Numeral(5u, 2).view(), "101");
    EXPECT_STREQ(Numeral(1234).c_str(), "1234");
    EXPECT_THROW(Numeral(1, 1), std::invalid_argument);
    EXPECT_THROW(Numeral(1, 17), std::invalid_argument);
}

TEST(CoreVersions, NoComponentsPrintsNothingAndSortsFirst) {
    std::uint64_t one[] = {1};
    EXPECT_EQ(VersionText({one, 0}), "");
    EXPECT_EQ(CompareVersions({one, 0}, {one, 1}), std::strong_ordering::less);
}

} // namespace
