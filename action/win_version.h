// Dotted version numbers of up to four components.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

// Four unsigned 16-bit components (major first) and how many are in use.
// The default, 0.0.0.0 with count 4, is also what a bad text parses to.
struct WinVersion {
    std::array<std::uint16_t, 4> components{};
    std::uint32_t count = 4;

    // The components in use joined by "." in decimal.
    std::string AsString() const;
};

// Parses "6", "6.0.14.0" or "6,0,14"; any fault yields WinVersion{}.
WinVersion WinVersionFromString(char const* text, std::size_t length);

// These compare only the components both sides have, so 6.0 == 6.0.14.0.
bool operator==(WinVersion const& left, WinVersion const& right);
bool operator<(WinVersion const& left, WinVersion const& right);
bool operator<=(WinVersion const& left, WinVersion const& right);
