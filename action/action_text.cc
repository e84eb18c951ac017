#include "action/action_text.h"

#include "action/arg_parser.h"

namespace {

char Lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

} // namespace

namespace ActionText {

std::string_view TrimLeading(std::string_view text) {
    std::size_t start = 0;
    while (start < text.size() && ArgParser::IsWhiteSpace(text[start]))
        ++start;
    return text.substr(start);
}

std::string_view Strip(std::string_view text) {
    text = TrimLeading(text);
    while (!text.empty() && ArgParser::IsWhiteSpace(text.back()))
        text.remove_suffix(1);
    return text;
}

bool EqualsIgnoringCase(std::string_view left, std::string_view right) {
    return left.size() == right.size() && StartsWithIgnoringCase(left, right);
}

bool StartsWithIgnoringCase(std::string_view text, std::string_view prefix) {
    if (text.size() < prefix.size())
        return false;
    for (std::size_t i = 0; i < prefix.size(); ++i) {
        if (Lower(text[i]) != Lower(prefix[i]))
            return false;
    }
    return true;
}

} // namespace ActionText
