// Small text helpers shared by the action-script code.
#pragma once

#include <string_view>

namespace ActionText {

// Leading white space (the argument tokenizer's set) removed.
std::string_view TrimLeading(std::string_view text);
// White space removed at both ends.
std::string_view Strip(std::string_view text);
// ASCII case-insensitive comparisons.
bool EqualsIgnoringCase(std::string_view left, std::string_view right);
bool StartsWithIgnoringCase(std::string_view text, std::string_view prefix);

} // namespace ActionText
