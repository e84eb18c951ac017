#include "action/win_version.h"

#include <algorithm>

namespace {

constexpr std::uint32_t kMaxComponents = 4;
constexpr std::uint32_t kComponentLimit = 65536;

// -1, 0 or 1 over the leading components both versions have.
int CompareCommonComponents(WinVersion const& left, WinVersion const& right) {
    std::uint32_t const common = std::min({left.count, right.count, kMaxComponents});
    for (std::uint32_t i = 0; i < common; ++i) {
        if (left.components[i] != right.components[i])
            return left.components[i] < right.components[i] ? -1 : 1;
    }
    return 0;
}

bool EndsComponent(char c) {
    return c == '.' || c == ',';
}

} // namespace

std::string WinVersion::AsString() const {
    std::string text;
    std::uint32_t const used = std::min(count, kMaxComponents);
    for (std::uint32_t i = 0; i < used; ++i) {
        if (i != 0)
            text += '.';
        text += std::to_string(components[i]);
    }
    return text;
}

WinVersion WinVersionFromString(char const* text, std::size_t length) {
    if (text == nullptr || length == 0)
        return WinVersion{};
    WinVersion parsed;
    std::uint32_t stored = 0;
    std::uint32_t value = 0;
    for (std::size_t i = 0; i <= length; ++i) {
        bool const atEnd = i == length;
        if (atEnd || EndsComponent(text[i])) {
            // A component after the fourth means the text is longer than a version.
            if (stored == kMaxComponents)
                return WinVersion{};
            parsed.components[stored++] = static_cast<std::uint16_t>(value);
            value = 0;
            continue;
        }
        if (text[i] < '0' || text[i] > '9')
            return WinVersion{};
        value = value * 10 + static_cast<std::uint32_t>(text[i] - '0');
        if (value >= kComponentLimit)
            return WinVersion{};
    }
    parsed.count = stored;
    return parsed;
}

bool operator==(WinVersion const& left, WinVersion const& right) {
    return CompareCommonComponents(left, right) == 0;
}

bool operator<(WinVersion const& left, WinVersion const& right) {
    return CompareCommonComponents(left, right) < 0;
}

bool operator<=(WinVersion const& left, WinVersion const& right) {
    return CompareCommonComponents(left, right) <= 0;
}
