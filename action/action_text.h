// Small text helpers shared by the action-script code; inline because the
// parser calls them for every line.
#pragma once

#include <string_view>

#include "action/arg_parser.h"

namespace ActionText {

constexpr char Lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

// Leading white space (the argument tokenizer's set) removed.
inline std::string_view TrimLeading(std::string_view text) {
    std::size_t start = 0;
    while (start < text.size() && ArgParser::IsWhiteSpace(text[start]))
        ++start;
    return text.substr(start);
}

// White space removed at both ends.
inline std::string_view Strip(std::string_view text) {
    text = TrimLeading(text);
    while (!text.empty() && ArgParser::IsWhiteSpace(text.back()))
        text.remove_suffix(1);
    return text;
}

// ASCII case-insensitive comparisons.
inline bool StartsWithIgnoringCase(std::string_view text, std::string_view prefix) {
    if (text.size() < prefix.size())
        return false;
    for (std::size_t i = 0; i < prefix.size(); ++i) {
        if (Lower(text[i]) != Lower(prefix[i]))
            return false;
    }
    return true;
}

inline bool EqualsIgnoringCase(std::string_view left, std::string_view right) {
    return left.size() == right.size() && StartsWithIgnoringCase(left, right);
}

} // namespace ActionText
