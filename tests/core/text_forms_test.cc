// The text forms of the core values against random and damaged input: what
// prints reads back, and anything else is read or rejected, never worse.
#include <gtest/gtest.h>

#include <limits>
#include <random>

#include "evaluator/helpers.h"

namespace {

constexpr std::int64_t kSecond = 1000000;

moment At(std::int64_t unixSeconds, std::int64_t microseconds = 0) {
    return moment{unixSeconds * kSecond + microseconds};
}

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
    for (int i = 0; i < 5000; ++i) {
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
