#include "files/mac_version.h"

#include <charconv>

#include "evaluator/errors.h"

namespace {

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

// Reads up to `most` digits at `at`; none when there is no digit.
std::optional<unsigned> Digits(std::string_view text, std::size_t& at, std::size_t most) {
    unsigned value = 0;
    std::size_t start = at;
    while (at < text.size() && at - start < most && IsDigit(text[at])) {
        value = value * 10 + static_cast<unsigned>(text[at++] - '0');
    }
    return at == start ? std::nullopt : std::optional<unsigned>(value);
}

std::optional<std::uint8_t> StageOf(char c) {
    switch (c) {
    case 'd':
        return bundle_stage::development;
    case 'a':
        return bundle_stage::alpha;
    case 'b':
        return bundle_stage::beta;
    case 'f':
        return bundle_stage::final;
    default:
        return std::nullopt;
    }
}

// ".digit" at `at`: the digit, else none (and `at` unchanged).
std::optional<unsigned> DottedDigit(std::string_view text, std::size_t& at) {
    if (at + 1 < text.size() && text[at] == '.' && IsDigit(text[at + 1])) {
        at += 2;
        return static_cast<unsigned>(text[at - 1] - '0');
    }
    return std::nullopt;
}

} // namespace

MacVersion::MacVersion(std::uint32_t number) : number_(number) {
    auto digitPair = [](std::uint32_t byte) { return (byte >> 4) * 10 + (byte & 0xF); };
    components_ = {digitPair(number >> 24), (number >> 20) & 0xF, (number >> 16) & 0xF};
    if ((number & 0xFFFF) != 0) {
        components_.push_back((number >> 8) & 0xFF);
        components_.push_back(number & 0xFF);
    }
}

std::string MacVersion::Text() const {
    std::string text;
    for (std::uint64_t component : components_) {
        if (!text.empty()) {
            text += '.';
        }
        text += std::to_string(component);
    }
    return text;
}

std::uint32_t VersionNumberFromString(std::string_view text) {
    std::size_t at = 0;
    auto major = Digits(text, at, 2);
    if (!major) {
        return 0;
    }
    unsigned minor = 0;
    unsigned bugfix = 0;
    if (auto dotted = DottedDigit(text, at)) {
        minor = *dotted;
        bugfix = DottedDigit(text, at).value_or(0);
    }
    std::uint32_t stage = bundle_stage::final;
    std::uint32_t revision = 0;
    if (at < text.size()) {
        auto named = StageOf(text[at++]);
        auto number = Digits(text, at, 3);
        if (!named || !number || *number > 255) {
            return 0;
        }
        stage = *named;
        revision = *number;
    }
    if (at != text.size()) {
        return 0;
    }
    return (*major / 10) << 28 | (*major % 10) << 24 | minor << 20 | bugfix << 16 | stage << 8 |
           revision;
}

MacVersion TextToVersion(std::string_view text) {
    std::size_t at = text.find_first_not_of(' ');
    if (at == std::string_view::npos || !IsDigit(text[at])) {
        throw NoSuchObject();
    }
    std::vector<std::uint64_t> components;
    for (;;) {
        std::uint64_t component = 0;
        auto [end, error] = std::from_chars(text.data() + at, text.data() + text.size(), component);
        if (error != std::errc()) {
            throw NoSuchObject();
        }
        components.push_back(component);
        at = static_cast<std::size_t>(end - text.data());
        if (at + 1 >= text.size() || text[at] != '.' || !IsDigit(text[at + 1])) {
            return MacVersion(std::move(components));
        }
        ++at;
    }
}

MacVersion version_of_file(MacintoshPlatform::FileItem const& item) {
    std::string_view name = item.Location().Name();
    std::size_t so = name.rfind(".so.");
    if (item.IsDirectory() || so == std::string_view::npos || so == 0) {
        throw NoSuchObject();
    }
    std::string_view numbers = name.substr(so + 4);
    bool dottedNumbers = numbers.find_first_not_of("0123456789.") == std::string_view::npos &&
                         numbers.find("..") == std::string_view::npos && !numbers.empty() &&
                         numbers.back() != '.';
    if (!dottedNumbers) {
        throw NoSuchObject();
    }
    return TextToVersion(numbers);
}
