// Text forms of the core values: printing and the strict readers.
#include <gtest/gtest.h>

#include <limits>
#include <random>

#include "evaluator/helpers.h"

namespace {

constexpr std::int64_t kSecond = 1000000;

moment At(std::int64_t unixSeconds, std::int64_t microseconds = 0) {
    return moment{unixSeconds * kSecond + microseconds};
}

TEST(CoreTimeText, PrintsUtcMailForm) {
    EXPECT_EQ(TimeText(At(1795255445)), "Sat, 21 Nov 2026 10:04:05 +0000");
    EXPECT_EQ(TimeText(january_1_1970()), "Thu, 01 Jan 1970 00:00:00 +0000");
    EXPECT_EQ(TimeText(At(951868799)), "Tue, 29 Feb 2000 23:59:59 +0000");
    EXPECT_EQ(TimeText(At(253402300799)), "Fri, 31 Dec 9999 23:59:59 +0000");
    EXPECT_EQ(TimeText(At(-62135596800)), "Mon, 01 Jan 0001 00:00:00 +0000");
    EXPECT_EQ(TimeText(At(-2203891200)), "Thu, 01 Mar 1900 00:00:00 +0000");
    // Before 1970 the fraction rounds down to the earlier second.
    EXPECT_EQ(TimeText(moment{-1}), "Wed, 31 Dec 1969 23:59:59 +0000");
    EXPECT_EQ(TimeText(At(1795255445, 999999)), "Sat, 21 Nov 2026 10:04:05 +0000");
    // The extremes print without failing.
    EXPECT_FALSE(TimeText(moment{std::numeric_limits<std::int64_t>::min()}).empty());
    EXPECT_FALSE(TimeText(moment{std::numeric_limits<std::int64_t>::max()}).empty());
}

TEST(CoreTimeText, ReadsMailFormWithAnyZone) {
    moment expected = At(1795255445);
    EXPECT_EQ(TextToTime("Sat, 21 Nov 2026 10:04:05 +0000"), expected);
    EXPECT_EQ(TextToTime("Sat, 21 Nov 2026 12:04:05 +0200"), expected);
    EXPECT_EQ(TextToTime("Sat, 21 Nov 2026 04:34:05 -0530"), expected);
    EXPECT_EQ(TextToTime("Sun, 22 Nov 2026 09:34:05 +2330"), expected);
    EXPECT_EQ(TextToTime("21 Nov 2026 10:04:05 GMT"), expected);
    EXPECT_EQ(TextToTime("sat, 21 nov 2026 10:04:05 utc"), expected);
    EXPECT_EQ(TextToTime("Sat, 21 Nov 2026 10:04:05"), expected);
    EXPECT_EQ(TextToTime("Sat,  21 Nov 2026 10:04:05  +0000"), expected);
    EXPECT_EQ(TextToTime("Sun, 1 Nov 2026 10:04:05 +0000"), At(1795255445 - 20 * 86400));
    EXPECT_EQ(TextToTime("Tue, 29 Feb 2000 23:59:59 +0000"), At(951868799));
}

TEST(CoreTimeText, ReadsIso8601WithFractionAndOffset) {
    moment expected = At(1795255445);
    EXPECT_EQ(TextToTime("2026-11-21T10:04:05Z"), expected);
    EXPECT_EQ(TextToTime("2026-11-21T10:04:05"), expected);
    EXPECT_EQ(TextToTime("2026-11-21 10:04:05z"), expected);
    EXPECT_EQ(TextToTime("2026-11-21T11:04:05+01:00"), expected);
    EXPECT_EQ(TextToTime("2026-11-21T11:04:05+0100"), expected);
    EXPECT_EQ(TextToTime("2026-11-21T08:04:05-02"), expected);
    EXPECT_EQ(TextToTime("2026-11-21T10:04:05.5Z"), At(1795255445, 500000));
    EXPECT_EQ(TextToTime("2026-11-21T10:04:05,000001Z"), At(1795255445, 1));
    EXPECT_EQ(TextToTime("2026-11-21T10:04:05.123456789Z"), At(1795255445, 123456));
    EXPECT_EQ(TextToTime("1969-12-31T23:59:59.5Z"), moment{-500000});
}

TEST(CoreTimeText, RejectsEverythingElse) {
    for (char const* bad : {
             "",
             "now",
             "Sat, 21 Nov 2026",
             "Sat, 21 Nov 2026 10:04",
             "Sat, 21 Nov 2026 10:04:05 +000",
             "Sat, 21 Nov 2026 10:04:05 +00:00",
             "Sat, 21 Nov 2026 10:04:05 +2400",
             "Sat, 21 Nov 2026 10:04:05 +0060",
             "Sat, 21 Nov 2026 10:04:05 EST",
             "Sat, 21 Nov 2026 10:04:05 +0000 extra",
             "Sab, 21 Nov 2026 10:04:05 +0000",
             "Fri, 21 Nov 2026 10:04:05 +0000",
             "Sat 21 Nov 2026 10:04:05 +0000",
             "Sat, 21 Nox 2026 10:04:05 +0000",
             "Sat, 31 Nov 2026 10:04:05 +0000",
             "Sat, 0 Nov 2026 10:04:05 +0000",
             "Thu, 29 Feb 2001 10:04:05 +0000",
             "Sat, 21 Nov 26 10:04:05 +0000",
             "Sat, 21 Nov 2026 24:00:00 +0000",
             "Sat, 21 Nov 2026 10:60:00 +0000",
             "Sat, 21 Nov 2026 10:04:60 +0000",
             "Sat, 21 Nov 2026 1:04:05 +0000",
             "2026-11-21",
             "2026-13-21T10:04:05Z",
             "2026-00-21T10:04:05Z",
             "2026-11-21T10:04:05ZZ",
             "2026-11-21T10:04:05.Z",
             "2026-11-21T10:04:05.1234567890Z",
             "2026-11-21T10:04:05+1",
             "2026-11-21X10:04:05Z",
             "2026-1-21T10:04:05Z",
         }) {
        EXPECT_THROW(TextToTime(bad), MalformedText) << bad;
    }
}

TEST(CoreTimeText, PrintedTimesReadBack) {
    for (std::int64_t seconds : {std::int64_t{0}, std::int64_t{-1}, std::int64_t{951868799},
                                 std::int64_t{1795255445}, std::int64_t{-62135596800}}) {
        moment when = At(seconds);
        EXPECT_EQ(TextToTime(std::string_view(TimeText(when))), when) << seconds;
    }
}

TEST(CoreTimeIntervalText, PrintsDaysClockAndFraction) {
    EXPECT_EQ(TimeIntervalText(day_of() + hour_of() * 3 + minute_of() * 4 + second_of() * 5),
              "1 day, 03:04:05");
    EXPECT_EQ(TimeIntervalText(day_of() * 2), "2 days, 00:00:00");
    EXPECT_EQ(TimeIntervalText(second_of() + millisecond_of() * 500), "00:00:01.500000");
    EXPECT_EQ(TimeIntervalText(microsecond_of()), "00:00:00.000001");
    EXPECT_EQ(TimeIntervalText(time_interval{0}), "00:00:00");
    EXPECT_EQ(TimeIntervalText(minute_of() * -1), "-00:01:00");
    EXPECT_EQ(TimeIntervalText(day_of() * -3 - second_of()), "-3 days, 00:00:01");
    EXPECT_EQ(TimeIntervalText(hour_of() * 23 + minute_of() * 59 + second_of() * 59), "23:59:59");
    EXPECT_EQ(TimeIntervalText(time_interval{std::numeric_limits<std::int64_t>::min()}),
              "-106751991 days, 04:00:54.775808");
}

TEST(CoreTimeIntervalText, ReadsThePrintedFormBack) {
    constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
    for (std::int64_t microseconds :
         {std::int64_t{0}, std::int64_t{1}, std::int64_t{-1}, std::int64_t{1500000},
          std::int64_t{86400000000}, std::int64_t{-86400000001}, std::int64_t{97445000000}, kMax,
          kMax - 86400000000}) {
        time_interval interval{microseconds};
        EXPECT_EQ(TextToTimeInterval(std::string_view(TimeIntervalText(interval))), interval)
            << microseconds;
    }
    EXPECT_EQ(TextToTimeInterval("1 days, 00:00:00"), day_of());
    EXPECT_EQ(TextToTimeInterval("2 Day, 00:00:00.25"), day_of() * 2 + millisecond_of() * 250);
    EXPECT_EQ(TextToTimeInterval("-0 days, 01:00:00"), hour_of() * -1);
}

TEST(CoreTimeIntervalText, RejectsOtherText) {
    for (char const* bad :
         {"", "-", "1", "1 day", "1 day 00:00:00", "1 week, 00:00:00", "1:00:00", "00:00",
          "24:00:00", "00:60:00", "00:00:60", "00:00:00.", "00:00:00.1234567", "00:00:00 ",
          "--00:00:01", "999999999 days, 00:00:00", "1 day,00:00:00"}) {
        EXPECT_THROW(TextToTimeInterval(bad), MalformedText) << bad;
    }
}

TEST(CoreTimeRangeText, JoinsStartAndEnd) {
    EXPECT_EQ(TimeRangeText(time_range{january_1_1970(), At(1795255445)}),
              "Thu, 01 Jan 1970 00:00:00 +0000 to Sat, 21 Nov 2026 10:04:05 +0000");
}

TEST(CoreHertzText, UsesTheLargestWholeUnit) {
    EXPECT_EQ(HertzText(hertz{2400000000}), "2400 MHz");
    EXPECT_EQ(HertzText(hertz{2000000000}), "2 GHz");
    EXPECT_EQ(HertzText(hertz{1500}), "1500 Hz");
    EXPECT_EQ(HertzText(hertz{44000}), "44 kHz");
    EXPECT_EQ(HertzText(hertz{1}), "1 Hz");
    EXPECT_EQ(HertzText(hertz{0}), "0 Hz");
    EXPECT_EQ(HertzText(hertz{-3000000}), "-3 MHz");
    EXPECT_EQ(HertzText(hertz{std::numeric_limits<std::int64_t>::min()}),
              "-9223372036854775808 Hz");
}

TEST(CoreVersionText, PrintsReadsAndCompares) {
    std::vector<std::uint64_t> parts = TextToVersionComponents("10.4.11");
    EXPECT_EQ(parts, (std::vector<std::uint64_t>{10, 4, 11}));
    version v{parts.data(), static_cast<std::uint32_t>(parts.size())};
    EXPECT_EQ(VersionText(v), "10.4.11");
    EXPECT_EQ(TextToVersionComponents("18446744073709551615"),
              (std::vector<std::uint64_t>{18446744073709551615ULL}));
    for (char const* bad :
         {"", ".", "1.", ".1", "1..2", "1.a", "v1", "1.2 ", "18446744073709551616"})
        EXPECT_THROW(TextToVersionComponents(bad), MalformedText) << bad;

    std::uint64_t a[] = {10, 4};
    std::uint64_t b[] = {10, 4, 0};
    std::uint64_t c[] = {10, 10};
    std::uint64_t d[] = {9, 99, 99};
    EXPECT_EQ(CompareVersions({a, 2}, {b, 3}), std::strong_ordering::equal);
    EXPECT_EQ(CompareVersions({a, 2}, {c, 2}), std::strong_ordering::less);
    EXPECT_EQ(CompareVersions({c, 2}, {d, 3}), std::strong_ordering::greater);
    EXPECT_EQ(CompareVersions({a, 0}, {b, 1}), std::strong_ordering::less);
    EXPECT_EQ(VersionText({a, 0}), "");
}

TEST(CoreIpv4AddressText, DottedQuadBothWays) {
    EXPECT_EQ(Ipv4AddressText(ipv4_address{0xC0A80001}), "192.168.0.1");
    EXPECT_EQ(Ipv4AddressText(ipv4_address{0}), "0.0.0.0");
    EXPECT_EQ(Ipv4AddressText(ipv4_address{0xFFFFFFFF}), "255.255.255.255");
    EXPECT_EQ(TextToIpv4Address("10.0.0.255").value, 0x0A0000FFu);
    EXPECT_EQ(TextToIpv4Address("010.001.000.009").value, 0x0A010009u);
    for (char const* bad : {"", "1.2.3", "1.2.3.4.5", "256.0.0.1", "1.2.3.", "1..2.3", "1.2.3.4 ",
                            "0001.2.3.4", "a.b.c.d", "-1.2.3.4"})
        EXPECT_THROW(TextToIpv4Address(bad), MalformedText) << bad;
}

TEST(CoreBooleanText, TrueAndFalse) {
    EXPECT_EQ(BooleanText(true), "True");
    EXPECT_EQ(BooleanText(false), "False");
}

} // namespace

namespace {

// Random moments between years 0001 and 9999 print and read back to the
// second; random intervals read back exactly.
TEST(CoreTextForms, RandomValuesRoundTrip) {
    std::mt19937_64 random(20261121);
    std::uniform_int_distribution<std::int64_t> seconds(-62135596800, 253402300799);
    std::uniform_int_distribution<std::int64_t> micros(0, 999999);
    std::uniform_int_distribution<std::int64_t> any(std::numeric_limits<std::int64_t>::min() + 1,
                                                    std::numeric_limits<std::int64_t>::max());
    for (int i = 0; i < 20000; ++i) {
        moment when = At(seconds(random), micros(random));
        moment whole = At(seconds(random));
        ASSERT_EQ(TextToTime(std::string_view(TimeText(whole))), whole) << TimeText(whole);
        EXPECT_EQ(TextToTime(std::string_view(TimeText(when))).microseconds,
                  when.microseconds - (when.microseconds % kSecond + kSecond) % kSecond); // floored
        time_interval interval{any(random)};
        ASSERT_EQ(TextToTimeInterval(std::string_view(TimeIntervalText(interval))), interval);
    }
}

// Mutated valid texts are either read or rejected with MalformedText, never
// anything worse (the sanitizer build checks for overruns).
TEST(CoreTextForms, MutatedTextIsReadOrRejected) {
    std::mt19937 random(7);
    std::vector<std::string> seeds = {"Sat, 21 Nov 2026 10:04:05 +0000",
                                      "2026-11-21T10:04:05.5+01:00",
                                      "1 day, 03:04:05.250000",
                                      "192.168.0.1",
                                      "10.4.11",
                                      "-9223372036854775808"};
    std::string alphabet = "0123456789:.,+-TZ daysMonNovGMT";
    for (int i = 0; i < 20000; ++i) {
        std::string text = seeds[random() % seeds.size()];
        for (int edits = 1 + random() % 3; edits > 0 && !text.empty(); --edits) {
            std::size_t at = random() % text.size();
            switch (random() % 3) {
            case 0:
                text[at] = alphabet[random() % alphabet.size()];
                break;
            case 1:
                text.erase(at, 1);
                break;
            default:
                text.insert(at, 1, alphabet[random() % alphabet.size()]);
            }
        }
        ConstData data(text);
        auto readOrReject = [&](auto read) {
            try {
                read(data);
            } catch (MalformedText const&) {
            }
        };
        readOrReject([](ConstData d) { TextToTime(d); });
        readOrReject([](ConstData d) { TextToTimeInterval(d); });
        readOrReject([](ConstData d) { TextToIpv4Address(d); });
        readOrReject([](ConstData d) { TextToVersionComponents(d); });
        readOrReject([](ConstData d) { ReadAsciiDecimalNumeral64(d); });
    }
}

} // namespace
