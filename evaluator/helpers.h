// Value helpers shared by the evaluator and the inspector libraries: ASCII
// classification, decimal numerals, checked integer arithmetic, time
// arithmetic, and the text forms of the core value types.
#pragma once

#include <compare>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "evaluator/errors.h"
#include "evaluator/values.h"
#include "util/ascii.h"
#include "util/bytes.h"

// Text that does not read as the value asked for. It is a NoSuchObject, so a
// cast of such text simply has no value.
class MalformedText : public NoSuchObject {
public:
    const char* what() const noexcept override { return "MalformedText"; }
};

// The result of integer or time arithmetic does not fit in 64 bits.
class IntegerOverflow : public DebuggableException {
public:
    const char* what() const noexcept override { return "integer overflow"; }
};

// The byte forms the evaluator needs beside the ASCII helpers of
// util/ascii.h (whose HexDigit gives lowercase digits, "0".."9", "a".."f").
namespace Ascii {
constexpr bool IsUpper(unsigned char c) {
    return c >= 'A' && c <= 'Z';
}
constexpr bool IsLower(unsigned char c) {
    return c >= 'a' && c <= 'z';
}
constexpr unsigned char ToLower(unsigned char c) {
    return IsUpper(c) ? static_cast<unsigned char>(c + ('a' - 'A')) : c;
}
constexpr unsigned char ToUpper(unsigned char c) {
    return IsLower(c) ? static_cast<unsigned char>(c - ('a' - 'A')) : c;
}
} // namespace Ascii

// Byte order after folding ASCII letters to lowercase: negative, zero or
// positive as a sorts before, with or after b.
int CompareIgnoreCase(ConstData a, ConstData b);
// The same over exactly n bytes of each.
int CompareIgnoreCaseN(void const* a, void const* b, std::size_t n);

// Reads unsigned decimal digits (nothing else, not empty) that fit in 32 bits;
// otherwise throws MalformedText.
std::uint32_t ReadAsciiDecimalNumeral(ConstData text);
// Reads decimal digits with an optional leading "-" that fit in a signed
// 64-bit value; otherwise throws MalformedText.
std::int64_t ReadAsciiDecimalNumeral64(ConstData text);

// The digits of a number in a base from 2 to 16 (lowercase letters), held
// in place without allocating. A negative value gets a leading "-".
class Numeral {
public:
    template <std::integral N> explicit Numeral(N value, unsigned base = 10) {
        if constexpr (std::is_signed_v<N>) {
            auto magnitude = static_cast<std::uint64_t>(value);
            Write(value < 0 ? ~magnitude + 1 : magnitude, value < 0, base);
        } else {
            Write(static_cast<std::uint64_t>(value), false, base);
        }
    }

    std::string_view view() const { return {digits_ + begin_, sizeof digits_ - 1 - begin_}; }
    ConstData Data() const { return ConstData(view()); }
    std::string str() const { return std::string(view()); }
    char const* c_str() const { return digits_ + begin_; }

private:
    void Write(std::uint64_t magnitude, bool negative, unsigned base);

    char digits_[66]; // 64 binary digits, a sign and the terminating NUL
    std::size_t begin_ = 0;
};

// Checked 64-bit arithmetic: IntegerOverflow when the result does not fit,
// DivisionByZero for a zero divisor. Division truncates toward zero and the
// remainder takes the sign of the dividend.
integer CheckedAdd(integer a, integer b);
integer CheckedSubtract(integer a, integer b);
integer CheckedMultiply(integer a, integer b);
integer CheckedDivide(integer a, integer b);
integer CheckedModulo(integer a, integer b);
integer CheckedNegate(integer a);

// Time arithmetic. Moments are microseconds since 1970-01-01 00:00:00 UTC.
moment moment_now();
constexpr moment january_1_1970() {
    return moment{0};
}
constexpr time_interval microsecond_of() {
    return time_interval{1};
}
constexpr time_interval millisecond_of() {
    return time_interval{1000};
}
constexpr time_interval second_of() {
    return time_interval{1000000};
}
constexpr time_interval minute_of() {
    return time_interval{60 * second_of().microseconds};
}
constexpr time_interval hour_of() {
    return time_interval{60 * minute_of().microseconds};
}
constexpr time_interval day_of() {
    return time_interval{24 * hour_of().microseconds};
}
constexpr time_interval week_of() {
    return time_interval{7 * day_of().microseconds};
}

time_interval operator*(time_interval const& interval, integer const& factor);
time_interval operator*(integer const& factor, time_interval const& interval);
time_interval operator/(time_interval const& interval, integer const& divisor);
integer operator/(time_interval const& interval, time_interval const& divisor);
time_interval operator+(time_interval const& a, time_interval const& b);
time_interval operator-(time_interval const& a, time_interval const& b);
moment operator+(moment const& when, time_interval const& interval);
moment operator+(time_interval const& interval, moment const& when);
moment operator-(moment const& when, time_interval const& interval);
time_interval operator-(moment const& later, moment const& earlier);

constexpr bool operator==(moment a, moment b) {
    return a.microseconds == b.microseconds;
}
constexpr auto operator<=>(moment a, moment b) {
    return a.microseconds <=> b.microseconds;
}
constexpr bool operator==(time_interval a, time_interval b) {
    return a.microseconds == b.microseconds;
}
constexpr auto operator<=>(time_interval a, time_interval b) {
    return a.microseconds <=> b.microseconds;
}
constexpr bool operator==(hertz a, hertz b) {
    return a.value == b.value;
}
constexpr auto operator<=>(hertz a, hertz b) {
    return a.value <=> b.value;
}
constexpr bool operator==(ipv4_address a, ipv4_address b) {
    return a.value == b.value;
}
constexpr auto operator<=>(ipv4_address a, ipv4_address b) {
    return a.value <=> b.value;
}

// Text forms. Times print in UTC as "Sat, 21 Nov 2026 10:04:05 +0000".
std::string TimeText(moment when);
// Reads "Sat, 21 Nov 2026 10:04:05 +0000" (the weekday is optional but, when
// given, must be the date's own; the zone is any +hhmm/-hhmm, GMT, UTC or Z,
// or absent for UTC) and ISO 8601 "2026-11-21T10:04:05.25+02:00" (fraction
// optional, no zone meaning UTC). Anything else throws MalformedText.
moment TextToTime(ConstData text);

// "1 day, 03:04:05", "2 days, 00:00:00", "00:00:01.500000", "-00:01:00".
std::string TimeIntervalText(time_interval interval);
// Reads the printed form back; anything else throws MalformedText.
time_interval TextToTimeInterval(ConstData text);

// "start to end", both as TimeText.
std::string TimeRangeText(time_range const& range);

// "2400 MHz": the largest of Hz, kHz, MHz, GHz that keeps the number whole.
std::string HertzText(hertz frequency);

// Components joined by ".".
std::string VersionText(version const& v);
// Dotted decimal components, each fitting in 64 bits; otherwise MalformedText.
std::vector<std::uint64_t> TextToVersionComponents(ConstData text);
// Component by component, a missing component counting as 0.
std::strong_ordering CompareVersions(version const& a, version const& b);

// Dotted quad, most significant byte first.
std::string Ipv4AddressText(ipv4_address address);
// Four dot-separated decimal bytes (1 to 3 digits each); otherwise MalformedText.
ipv4_address TextToIpv4Address(ConstData text);

// "True" or "False".
std::string_view BooleanText(boolean value);
