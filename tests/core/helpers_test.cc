// ASCII helpers, numerals and checked arithmetic.
#include <gtest/gtest.h>

#include <limits>

#include "evaluator/helpers.h"
#include "util/instant.h"

namespace {

constexpr integer kMax = std::numeric_limits<integer>::max();
constexpr integer kMin = std::numeric_limits<integer>::min();

TEST(CoreAscii, ClassifiesAndConvertsOnlyAsciiLetters) {
    EXPECT_EQ(Ascii::ToLower('A'), 'a');
    EXPECT_EQ(Ascii::ToLower('Z'), 'z');
    EXPECT_EQ(Ascii::ToLower('['), '[');
    EXPECT_EQ(Ascii::ToUpper('a'), 'A');
    EXPECT_EQ(Ascii::ToUpper('`'), '`');
    EXPECT_EQ(Ascii::ToUpper(0xE9), 0xE9); // not ASCII: unchanged
    EXPECT_EQ(Ascii::ToLower(static_cast<unsigned char>(0xC9)), 0xC9);
    EXPECT_TRUE(Ascii::IsUpper('Q'));
    EXPECT_FALSE(Ascii::IsUpper('q'));
    EXPECT_TRUE(Ascii::IsLower('q'));
    EXPECT_TRUE(Ascii::IsDigit('0'));
    EXPECT_FALSE(Ascii::IsDigit('/'));
    EXPECT_FALSE(Ascii::IsAlpha('@'));
}

TEST(CoreAscii, HexDigitsAreLowercaseAndHexValueReadsBothCases) {
    std::string digits;
    for (unsigned i = 0; i < 16; ++i)
        digits += Ascii::HexDigit(i);
    EXPECT_EQ(digits, "0123456789abcdef");
    EXPECT_EQ(Ascii::HexDigit(0x1F), 'f'); // only the low nibble counts
    EXPECT_EQ(Ascii::HexValue('a'), 10);
    EXPECT_EQ(Ascii::HexValue('F'), 15);
    EXPECT_EQ(Ascii::HexValue('9'), 9);
    EXPECT_EQ(Ascii::HexValue('g'), -1);
    EXPECT_EQ(Ascii::HexValue('%'), -1);
}

TEST(CoreCompareIgnoreCase, OrdersFoldedBytesThenLength) {
    EXPECT_EQ(CompareIgnoreCase("Hello", "hELLO"), 0);
    EXPECT_LT(CompareIgnoreCase("abc", "ABD"), 0);
    EXPECT_GT(CompareIgnoreCase("abd", "ABC"), 0);
    EXPECT_LT(CompareIgnoreCase("ab", "ABC"), 0);
    EXPECT_GT(CompareIgnoreCase("abc", "AB"), 0);
    EXPECT_EQ(CompareIgnoreCase("", ""), 0);
    // Letters fold to lowercase, so "Z" sorts after "[" (which sits between 'Z' and 'a').
    EXPECT_GT(CompareIgnoreCase("Z", "["), 0);
    EXPECT_LT(CompareIgnoreCase("[", "a"), 0);
    EXPECT_NE(CompareIgnoreCase("\xC9", "\xE9"), 0);
}

TEST(CoreCompareIgnoreCase, NComparesExactlyNBytes) {
    EXPECT_EQ(CompareIgnoreCaseN("SITE.example", "site.EXAMPLE", 12), 0);
    EXPECT_EQ(CompareIgnoreCaseN("abcX", "ABCy", 3), 0);
    EXPECT_NE(CompareIgnoreCaseN("abcX", "ABCy", 4), 0);
    EXPECT_EQ(CompareIgnoreCaseN("a", "b", 0), 0);
}

TEST(CoreNumerals, ReadUnsigned32BitDecimal) {
    EXPECT_EQ(ReadAsciiDecimalNumeral("0"), 0u);
    EXPECT_EQ(ReadAsciiDecimalNumeral("4294967295"), 4294967295u);
    EXPECT_EQ(ReadAsciiDecimalNumeral("007"), 7u);
    for (char const* bad : {"", "4294967296", "-1", "+1", " 1", "1 ", "12a", "0x10"})
        EXPECT_THROW(ReadAsciiDecimalNumeral(bad), MalformedText) << bad;
}

TEST(CoreNumerals, ReadSigned64BitDecimal) {
    EXPECT_EQ(ReadAsciiDecimalNumeral64("9223372036854775807"), kMax);
    EXPECT_EQ(ReadAsciiDecimalNumeral64("-9223372036854775808"), kMin);
    EXPECT_EQ(ReadAsciiDecimalNumeral64("-0"), 0);
    EXPECT_EQ(ReadAsciiDecimalNumeral64("-42"), -42);
    for (char const* bad : {"", "-", "9223372036854775808", "-9223372036854775809",
                            "99999999999999999999999", "1-", "--1", "1.0"})
        EXPECT_THROW(ReadAsciiDecimalNumeral64(bad), MalformedText) << bad;
    // A malformed numeral is "no object" to the evaluator.
    EXPECT_THROW(ReadAsciiDecimalNumeral64("x"), NoSuchObject);
}

TEST(CoreNumerals, WriteInAnyBaseWithoutAllocating) {
    EXPECT_EQ(Numeral(0).view(), "0");
    EXPECT_EQ(Numeral(-17).view(), "-17");
    EXPECT_EQ(Numeral(kMin).view(), "-9223372036854775808");
    EXPECT_EQ(Numeral(std::numeric_limits<std::uint64_t>::max()).view(), "18446744073709551615");
    EXPECT_EQ(Numeral(255, 16).view(), "ff");
    EXPECT_EQ(Numeral(5u, 2).view(), "101");
    EXPECT_EQ(Numeral(std::numeric_limits<std::uint64_t>::max(), 2).view(), std::string(64, '1'));
    EXPECT_STREQ(Numeral(1234).c_str(), "1234");
    EXPECT_EQ(Numeral(ReadAsciiDecimalNumeral64("-120")).str(), "-120");
    EXPECT_THROW(Numeral(1, 1), std::invalid_argument);
    EXPECT_THROW(Numeral(1, 17), std::invalid_argument);
}

TEST(CoreCheckedArithmetic, OverflowThrowsInsteadOfWrapping) {
    EXPECT_EQ(CheckedAdd(kMax - 1, 1), kMax);
    EXPECT_THROW(CheckedAdd(kMax, 1), IntegerOverflow);
    EXPECT_THROW(CheckedAdd(kMin, -1), IntegerOverflow);
    EXPECT_EQ(CheckedSubtract(kMin + 1, 1), kMin);
    EXPECT_THROW(CheckedSubtract(kMin, 1), IntegerOverflow);
    EXPECT_THROW(CheckedSubtract(0, kMin), IntegerOverflow);
    EXPECT_EQ(CheckedMultiply(-3037000499, 3037000499), -9223372030926249001);
    EXPECT_THROW(CheckedMultiply(kMax / 2 + 1, 2), IntegerOverflow);
    EXPECT_THROW(CheckedMultiply(kMin, -1), IntegerOverflow);
    EXPECT_THROW(CheckedNegate(kMin), IntegerOverflow);
    EXPECT_EQ(CheckedNegate(kMax), kMin + 1);
    EXPECT_STREQ(IntegerOverflow().what(), "integer overflow");
}

TEST(CoreCheckedArithmetic, DivisionTruncatesAndZeroDivisorThrows) {
    EXPECT_EQ(CheckedDivide(7, 2), 3);
    EXPECT_EQ(CheckedDivide(-7, 2), -3);
    EXPECT_EQ(CheckedModulo(7, 3), 1);
    EXPECT_EQ(CheckedModulo(-7, 3), -1);
    EXPECT_EQ(CheckedModulo(7, -3), 1);
    EXPECT_EQ(CheckedModulo(kMin, -1), 0);
    EXPECT_THROW(CheckedDivide(kMin, -1), IntegerOverflow);
    EXPECT_EQ(CheckedDivide(kMin, 1), kMin);
    EXPECT_THROW(CheckedDivide(1, 0), DivisionByZero);
    EXPECT_THROW(CheckedModulo(1, 0), DivisionByZero);
    EXPECT_STREQ(DivisionByZero().what(), "division by zero");
}

TEST(CoreTimeArithmetic, UnitsAndOperators) {
    EXPECT_EQ(january_1_1970(), moment{0});
    EXPECT_EQ(second_of().microseconds, 1000000);
    EXPECT_EQ(microsecond_of() * 1000, millisecond_of());
    EXPECT_EQ(second_of() * 60, minute_of());
    EXPECT_EQ(60 * minute_of(), hour_of());
    EXPECT_EQ(hour_of() * 24, day_of());
    EXPECT_EQ(day_of() * 7, week_of());
    moment later = january_1_1970() + second_of() * 90;
    EXPECT_EQ(later.microseconds, 90000000);
    EXPECT_EQ(later - january_1_1970(), minute_of() + second_of() * 30);
    EXPECT_EQ(later - minute_of(), january_1_1970() + second_of() * 30);
    EXPECT_EQ(minute_of() + later, later + minute_of());
    EXPECT_EQ(day_of() - hour_of(), hour_of() * 23);
    EXPECT_EQ(day_of() / 4, hour_of() * 6);
    EXPECT_EQ(day_of() / hour_of(), 24);
    EXPECT_THROW(day_of() / 0, DivisionByZero);
    EXPECT_THROW(day_of() / time_interval{0}, DivisionByZero);
    EXPECT_THROW(week_of() * kMax, IntegerOverflow);
    EXPECT_THROW(moment{kMax} + microsecond_of(), IntegerOverflow);
    EXPECT_THROW(moment{kMin} - moment{1}, IntegerOverflow);
    EXPECT_LT(january_1_1970(), later);
    EXPECT_GT(hertz{2}, hertz{1});
    EXPECT_LT(ipv4_address{0x0A000001}, ipv4_address{0xC0A80001});
}

TEST(CoreTimeArithmetic, NowIsCloseToTheSystemClock) {
    std::int64_t before = Instant::Now().UnixMicroseconds();
    moment now = moment_now();
    std::int64_t after = Instant::Now().UnixMicroseconds();
    EXPECT_LE(before, now.microseconds);
    EXPECT_LE(now.microseconds, after);
}

} // namespace
