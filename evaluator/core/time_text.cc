// Text forms of times, time intervals and time ranges.
#include <algorithm>
#include <array>
#include <cstdio>
#include <optional>

#include "evaluator/core/text_reader.h"
#include "evaluator/helpers.h"

namespace {

using zor::core::TextReader;

constexpr std::int64_t kMicrosecondsPerSecond = 1000000;
constexpr std::int64_t kSecondsPerDay = 86400;
constexpr std::array<char const*, 12> kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                 "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
constexpr std::array<char const*, 7> kWeekdays = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};

constexpr std::int64_t FloorDivide(std::int64_t a, std::int64_t b) {
    std::int64_t quotient = a / b;
    return (a % b != 0 && (a < 0) != (b < 0)) ? quotient - 1 : quotient;
}

// Days since 1970-01-01 of a date in the proleptic Gregorian calendar.
constexpr std::int64_t DaysFromCivil(std::int64_t year, unsigned month, unsigned day) {
    year -= month <= 2;
    std::int64_t era = FloorDivide(year, 400);
    auto yearOfEra = static_cast<unsigned>(year - era * 400);
    unsigned dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
    unsigned dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + static_cast<std::int64_t>(dayOfEra) - 719468;
}

struct CivilDate {
    std::int64_t year;
    unsigned month;
    unsigned day;
};

constexpr CivilDate CivilFromDays(std::int64_t days) {
    days += 719468;
    std::int64_t era = FloorDivide(days, 146097);
    auto dayOfEra = static_cast<unsigned>(days - era * 146097);
    unsigned yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    unsigned dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    unsigned shiftedMonth = (5 * dayOfYear + 2) / 153;
    unsigned day = dayOfYear - (153 * shiftedMonth + 2) / 5 + 1;
    unsigned month = shiftedMonth < 10 ? shiftedMonth + 3 : shiftedMonth - 9;
    return {static_cast<std::int64_t>(yearOfEra) + era * 400 + (month <= 2), month, day};
}

static_assert(DaysFromCivil(1970, 1, 1) == 0);
static_assert(CivilFromDays(-1).year == 1969 && CivilFromDays(-1).day == 31);

// 0 for Sunday; 1970-01-01 was a Thursday.
constexpr unsigned WeekdayOf(std::int64_t days) {
    return static_cast<unsigned>((days % 7 + 7 + 4) % 7);
}

constexpr bool IsLeapYear(std::int64_t year) {
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

constexpr unsigned DaysInMonth(std::int64_t year, unsigned month) {
    constexpr unsigned kLengths[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && IsLeapYear(year) ? 29 : kLengths[month - 1];
}

// The index of name in names, compared without regard to case; fails when absent.
template <std::size_t N>
unsigned IndexOfName(std::array<char const*, N> const& names, std::string_view name) {
    for (unsigned i = 0; i < N; ++i)
        if (CompareIgnoreCase(ConstData(names[i]), ConstData(name)) == 0)
            return i;
    TextReader::Fail();
}

struct TimeOfDay {
    unsigned hour;
    unsigned minute;
    unsigned second;
};

// "hh:mm:ss", each field two digits and in range.
TimeOfDay ReadTimeOfDay(TextReader& reader) {
    TimeOfDay time{};
    time.hour = static_cast<unsigned>(reader.Digits(2, 2));
    reader.Expect(':');
    time.minute = static_cast<unsigned>(reader.Digits(2, 2));
    reader.Expect(':');
    time.second = static_cast<unsigned>(reader.Digits(2, 2));
    if (time.hour > 23 || time.minute > 59 || time.second > 59)
        TextReader::Fail();
    return time;
}

// "." (or ",") and up to maxDigits digits as microseconds, or 0 when no
// fraction comes next. Digits beyond the sixth are dropped.
std::int64_t ReadFraction(TextReader& reader, std::size_t maxDigits) {
    if (!reader.Skip('.') && !reader.Skip(','))
        return 0;
    std::size_t count = std::min(reader.DigitsAhead(), maxDigits);
    auto value = static_cast<std::int64_t>(reader.Digits(1, maxDigits));
    for (; count < 6; ++count)
        value *= 10;
    for (; count > 6; --count)
        value /= 10;
    return value;
}

// A sign, hours and minutes as minutes east of UTC. With colonAllowed the
// minutes may follow a ":" or be left out ("+02").
std::int64_t ReadZoneOffset(TextReader& reader, bool colonAllowed) {
    bool negative = reader.Skip('-');
    if (!negative)
        reader.Expect('+');
    auto hours = static_cast<std::int64_t>(reader.Digits(2, 2));
    std::int64_t minutes = 0;
    if (colonAllowed && reader.Skip(':')) {
        minutes = static_cast<std::int64_t>(reader.Digits(2, 2));
    } else if (reader.PeekDigit() || !colonAllowed) {
        minutes = static_cast<std::int64_t>(reader.Digits(2, 2));
    }
    if (hours > 23 || minutes > 59)
        TextReader::Fail();
    std::int64_t offset = hours * 60 + minutes;
    return negative ? -offset : offset;
}

// A civil date and time of day, less a zone offset in minutes.
moment MakeMoment(std::int64_t year, unsigned month, unsigned day, TimeOfDay time,
                  std::int64_t fraction, std::int64_t zoneMinutes) {
    if (month < 1 || month > 12 || day < 1 || day > DaysInMonth(year, month))
        TextReader::Fail();
    std::int64_t seconds = DaysFromCivil(year, month, day) * kSecondsPerDay + time.hour * 3600 +
                           time.minute * 60 + time.second - zoneMinutes * 60;
    return moment{seconds * kMicrosecondsPerSecond + fraction};
}

// "2026-11-21T10:04:05[.ffffff][Z|+hh:mm|+hhmm|+hh]"
moment ReadIsoTime(TextReader& reader) {
    auto year = static_cast<std::int64_t>(reader.Digits(4, 4));
    reader.Expect('-');
    auto month = static_cast<unsigned>(reader.Digits(2, 2));
    reader.Expect('-');
    auto day = static_cast<unsigned>(reader.Digits(2, 2));
    if (!reader.Skip('T') && !reader.Skip('t'))
        reader.Expect(' ');
    TimeOfDay time = ReadTimeOfDay(reader);
    std::int64_t fraction = ReadFraction(reader, 9);
    std::int64_t zone = 0;
    if (!reader.Skip('Z') && !reader.Skip('z') && !reader.AtEnd())
        zone = ReadZoneOffset(reader, true);
    reader.ExpectEnd();
    return MakeMoment(year, month, day, time, fraction, zone);
}

// "[Sat, ]21 Nov 2026 10:04:05 [+hhmm|-hhmm|GMT|UTC|UT|Z]"
// The weekday, when given, must be the date's own.
moment ReadMailTime(TextReader& reader) {
    std::optional<unsigned> weekday;
    if (reader.PeekLetter()) {
        weekday = IndexOfName(kWeekdays, reader.Letters());
        reader.Expect(',');
        reader.Blanks();
    }
    auto day = static_cast<unsigned>(reader.Digits(1, 2));
    reader.Blanks();
    unsigned month = IndexOfName(kMonths, reader.Letters()) + 1;
    reader.Blanks();
    auto year = static_cast<std::int64_t>(reader.Digits(4, 4));
    reader.Blanks();
    TimeOfDay time = ReadTimeOfDay(reader);
    std::int64_t zone = 0;
    if (!reader.AtEnd()) {
        reader.Blanks();
        if (reader.PeekLetter()) {
            std::string_view name = reader.Letters();
            if (CompareIgnoreCase(name, "GMT") != 0 && CompareIgnoreCase(name, "UTC") != 0 &&
                CompareIgnoreCase(name, "UT") != 0 && CompareIgnoreCase(name, "Z") != 0)
                TextReader::Fail();
        } else {
            zone = ReadZoneOffset(reader, false);
        }
    }
    reader.ExpectEnd();
    if (weekday && *weekday != WeekdayOf(DaysFromCivil(year, month, day)))
        TextReader::Fail();
    return MakeMoment(year, month, day, time, 0, zone);
}

bool LooksLikeIso(ConstData text) {
    return text.Length() > 4 && Ascii::IsDigit(text.begin()[0]) && text.begin()[4] == '-';
}

} // namespace

std::string TimeText(moment when) {
    std::int64_t seconds = FloorDivide(when.microseconds, kMicrosecondsPerSecond);
    std::int64_t days = FloorDivide(seconds, kSecondsPerDay);
    std::int64_t secondOfDay = seconds - days * kSecondsPerDay;
    CivilDate date = CivilFromDays(days);
    char text[64];
    int length = std::snprintf(
        text, sizeof text, "%s, %02u %s %04lld %02lld:%02lld:%02lld +0000",
        kWeekdays[WeekdayOf(days)], date.day, kMonths[date.month - 1],
        static_cast<long long>(date.year), static_cast<long long>(secondOfDay / 3600),
        static_cast<long long>(secondOfDay / 60 % 60), static_cast<long long>(secondOfDay % 60));
    return std::string(text, static_cast<std::size_t>(length));
}

moment TextToTime(ConstData text) {
    TextReader reader(text);
    return LooksLikeIso(text) ? ReadIsoTime(reader) : ReadMailTime(reader);
}

std::string TimeIntervalText(time_interval interval) {
    auto magnitude = static_cast<std::uint64_t>(interval.microseconds);
    if (interval.microseconds < 0)
        magnitude = ~magnitude + 1;
    constexpr auto kPerDay = static_cast<std::uint64_t>(kSecondsPerDay * kMicrosecondsPerSecond);
    std::uint64_t days = magnitude / kPerDay;
    std::uint64_t seconds = magnitude % kPerDay / kMicrosecondsPerSecond;
    std::uint64_t fraction = magnitude % kMicrosecondsPerSecond;

    std::string text;
    if (interval.microseconds < 0)
        text += '-';
    if (days != 0) {
        text += Numeral(days).view();
        text += days == 1 ? " day, " : " days, ";
    }
    char clock[32];
    int length = std::snprintf(
        clock, sizeof clock, "%02u:%02u:%02u", static_cast<unsigned>(seconds / 3600),
        static_cast<unsigned>(seconds / 60 % 60), static_cast<unsigned>(seconds % 60));
    if (fraction != 0)
        length += std::snprintf(clock + length, sizeof clock - static_cast<std::size_t>(length),
                                ".%06u", static_cast<unsigned>(fraction));
    text.append(clock, static_cast<std::size_t>(length));
    return text;
}

time_interval TextToTimeInterval(ConstData text) {
    TextReader reader(text);
    bool negative = reader.Skip('-');
    std::uint64_t days = 0;
    if (reader.DigitsAhead() != 2 || !reader.PeekAt(2, ':')) {
        days = reader.Digits(1, 9);
        reader.Blanks();
        std::string_view unit = reader.Letters();
        if (CompareIgnoreCase(unit, "day") != 0 && CompareIgnoreCase(unit, "days") != 0)
            TextReader::Fail();
        reader.Expect(',');
        reader.Blanks();
    }
    TimeOfDay time = ReadTimeOfDay(reader);
    std::int64_t fraction = ReadFraction(reader, 6);
    reader.ExpectEnd();

    // Nine digits of days (at most about 8.6e19 microseconds) can still overflow.
    std::int64_t microseconds = 0;
    std::int64_t daySeconds = 0;
    if (__builtin_mul_overflow(static_cast<std::int64_t>(days), kSecondsPerDay, &daySeconds) ||
        __builtin_mul_overflow(daySeconds + time.hour * 3600 + time.minute * 60 + time.second,
                               kMicrosecondsPerSecond, &microseconds) ||
        __builtin_add_overflow(microseconds, fraction, &microseconds))
        TextReader::Fail();
    return time_interval{negative ? -microseconds : microseconds};
}

std::string TimeRangeText(time_range const& range) {
    return TimeText(range.start) + " to " + TimeText(range.end);
}
