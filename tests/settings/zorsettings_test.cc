// zorsettings' date and byte forms; the command itself is run by the
// transcript tests/transcripts/zorsettings.zt.
#include <gtest/gtest.h>

#include "tools/zorsettings/zorsettings.h"

TEST(ZorSettingsDates, FormatAndParseRoundTripToTheMicrosecond) {
    struct Case {
        char const* text;
        Instant instant;
    };
    for (Case const& c :
         {Case{"2025-11-21T10:51:42.123456Z", Instant::FromUnixMicroseconds(1763722302123456)},
          Case{"2001-01-01T00:00:00.000000Z", Instant(0)},
          Case{"2000-12-31T23:59:59.999999Z", Instant(-1)},
          Case{"1969-12-31T23:59:59.500000Z", Instant::FromUnixMicroseconds(-500000)},
          Case{"-", Instant::First()}}) {
        EXPECT_EQ(FormatInstant(c.instant), c.text);
        EXPECT_EQ(ParseInstant(c.text), c.instant) << c.text;
    }
    EXPECT_EQ(ParseInstant("2001-01-01T00:00:00Z"), Instant(0));
    EXPECT_EQ(ParseInstant("2001-01-01T00:00:00.5Z"), Instant(500000));
    for (char const* bad :
         {"", "yesterday", "2025-11-21 10:51:42Z", "2025-13-01T00:00:00Z", "2025-11-21T10:51:42",
          "2025-11-21T10:51:42.Z", "2025-11-21T10:51:42.1234567Z", "2025-11-21T10:5x:42Z"}) {
        EXPECT_EQ(ParseInstant(bad), std::nullopt) << bad;
    }
}

TEST(ZorSettingsPrintable, EscapesWhatWouldBreakALine) {
    EXPECT_EQ(Printable("plain caf\xc3\xa9"), "plain caf\xc3\xa9");
    EXPECT_EQ(Printable("tab\there\\"), "tab\\x09here\\x5c");
    EXPECT_EQ(Printable("bad\xff\xc3\xa9"), "bad\\xff\\xc3\\xa9");
}
