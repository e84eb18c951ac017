// Character classes of URL syntax (RFC 3986, section 2 and appendix A).
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace url_chars {

enum : std::uint8_t {
    cUnreserved = 1, // ALPHA DIGIT - . _ ~
    cSubDelim = 2,   // ! $ & ' ( ) * + , ; =
    cGenDelim = 4,   // : / ? # [ ] @
    cSchemeRest = 8, // ALPHA DIGIT + - .
};

constexpr std::array<std::uint8_t, 256> MakeTable() {
    std::array<std::uint8_t, 256> table{};
    auto mark = [&table](std::string_view chars, std::uint8_t flag) {
        for (char c : chars)
            table[static_cast<unsigned char>(c)] |= flag;
    };
    for (int c = 0; c < 256; ++c) {
        bool alpha = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
        bool digit = c >= '0' && c <= '9';
        if (alpha || digit)
            table[c] |= cUnreserved | cSchemeRest;
    }
    mark("-._~", cUnreserved);
    mark("!$&'()*+,;=", cSubDelim);
    mark(":/?#[]@", cGenDelim);
    mark("+-.", cSchemeRest);
    return table;
}

inline constexpr std::array<std::uint8_t, 256> cTable = MakeTable();

constexpr bool Is(unsigned char c, std::uint8_t flags) {
    return (cTable[c] & flags) != 0;
}
constexpr bool IsUnreserved(unsigned char c) {
    return Is(c, cUnreserved);
}
constexpr bool IsSubDelim(unsigned char c) {
    return Is(c, cSubDelim);
}
// A character that may stand unescaped in a path segment.
constexpr bool IsPChar(unsigned char c) {
    return Is(c, cUnreserved | cSubDelim) || c == ':' || c == '@';
}
// A character that may stand unescaped anywhere in a URL (besides '%').
constexpr bool IsURLChar(unsigned char c) {
    return Is(c, cUnreserved | cSubDelim | cGenDelim);
}

// ASCII lower case, for schemes and host names (which are case-insensitive).
constexpr char Lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

} // namespace url_chars
