// Case-insensitive comparison and decimal numerals.
#include <algorithm>
#include <stdexcept>

#include "evaluator/core/text_reader.h"
#include "evaluator/helpers.h"

int CompareIgnoreCaseN(void const* a, void const* b, std::size_t n) {
    auto left = static_cast<unsigned char const*>(a);
    auto right = static_cast<unsigned char const*>(b);
    for (std::size_t i = 0; i < n; ++i) {
        int difference = Ascii::ToLower(left[i]) - Ascii::ToLower(right[i]);
        if (difference != 0)
            return difference;
    }
    return 0;
}

int CompareIgnoreCase(ConstData a, ConstData b) {
    std::size_t common = std::min(a.Length(), b.Length());
    if (int difference = CompareIgnoreCaseN(a.begin(), b.begin(), common))
        return difference;
    return a.Length() < b.Length() ? -1 : a.Length() > b.Length() ? 1 : 0;
}

std::uint32_t ReadAsciiDecimalNumeral(ConstData text) {
    zor::core::TextReader reader(text);
    std::uint64_t value = reader.Number();
    reader.ExpectEnd();
    if (value > UINT32_MAX)
        zor::core::TextReader::Fail();
    return static_cast<std::uint32_t>(value);
}

std::int64_t ReadAsciiDecimalNumeral64(ConstData text) {
    zor::core::TextReader reader(text);
    bool negative = reader.Skip('-');
    std::uint64_t magnitude = reader.Number();
    reader.ExpectEnd();
    constexpr auto limit = static_cast<std::uint64_t>(INT64_MAX);
    if (magnitude > limit + (negative ? 1 : 0))
        zor::core::TextReader::Fail();
    // Two's complement negation of the magnitude, done unsigned so INT64_MIN is reachable.
    return static_cast<std::int64_t>(negative ? ~magnitude + 1 : magnitude);
}

void Numeral::Write(std::uint64_t magnitude, bool negative, unsigned base) {
    if (base < 2 || base > 16)
        throw std::invalid_argument("Numeral base must be 2 to 16");
    std::size_t at = sizeof digits_ - 1;
    digits_[at] = '\0';
    do {
        digits_[--at] = Ascii::HexDigit(static_cast<unsigned>(magnitude % base));
        magnitude /= base;
    } while (magnitude != 0);
    if (negative)
        digits_[--at] = '-';
    begin_ = at;
}
