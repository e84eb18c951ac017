// Character helpers for the ASCII range, independent of the locale.
#pragma once

namespace Ascii {

// The hex digit of a value 0..15, in lower case.
constexpr char HexDigit(unsigned value) {
    return "0123456789abcdef"[value & 0xF];
}

// The hex digit of a value 0..15, in upper case (as percent escapes prefer).
constexpr char UpperHexDigit(unsigned value) {
    return "0123456789ABCDEF"[value & 0xF];
}

// The value of a hex digit of either case, or -1 for any other character.
constexpr int HexValue(unsigned char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

constexpr bool IsAlpha(unsigned char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
constexpr bool IsDigit(unsigned char c) {
    return c >= '0' && c <= '9';
}

} // namespace Ascii
