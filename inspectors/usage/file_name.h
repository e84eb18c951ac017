// An application's exact file name as the agent's usage log keys it: up to
// 255 UTF-16 units. Bytes that are not UTF-8 are kept as the lone surrogates
// U+DC80..U+DCFF, one per byte, so any name converts back to the very bytes
// it came from.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "util/bytes.h"

struct FileName {
    static constexpr std::size_t cMaxUnits = 255;
    std::uint16_t length = 0;
    std::array<char16_t, cMaxUnits> units{};

    friend bool operator==(FileName const&, FileName const&) = default;
};
static_assert(sizeof(FileName) == 512, "a file name is 512 bytes");

// Throws NoSuchObject for a name longer than 255 units: no file has it.
FileName ExactFileName(ConstData name);
std::string Utf8Of(FileName const& name);
