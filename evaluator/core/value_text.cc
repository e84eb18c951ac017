// Text forms of frequencies, versions, IPv4 addresses and booleans.
#include <algorithm>
#include <array>

#include "evaluator/core/text_reader.h"
#include "evaluator/helpers.h"

std::string HertzText(hertz frequency) {
    struct Unit {
        std::uint64_t factor;
        char const* suffix;
    };
    static constexpr std::array<Unit, 3> kUnits = {
        {{1000000000, " GHz"}, {1000000, " MHz"}, {1000, " kHz"}}};
    auto magnitude = static_cast<std::uint64_t>(frequency.value);
    if (frequency.value < 0)
        magnitude = ~magnitude + 1;
    std::string text = frequency.value < 0 ? "-" : "";
    for (Unit const& unit : kUnits) {
        if (magnitude != 0 && magnitude % unit.factor == 0) {
            text += Numeral(magnitude / unit.factor).view();
            return text + unit.suffix;
        }
    }
    text += Numeral(magnitude).view();
    return text + " Hz";
}

std::string VersionText(version const& v) {
    std::string text;
    for (std::uint32_t i = 0; i < v.count; ++i) {
        if (i != 0)
            text += '.';
        text += Numeral(v.components[i]).view();
    }
    return text;
}

std::vector<std::uint64_t> TextToVersionComponents(ConstData text) {
    zor::core::TextReader reader(text);
    std::vector<std::uint64_t> components{reader.Number()};
    while (reader.Skip('.'))
        components.push_back(reader.Number());
    reader.ExpectEnd();
    return components;
}

std::strong_ordering CompareVersions(version const& a, version const& b) {
    std::uint32_t count = std::max(a.count, b.count);
    for (std::uint32_t i = 0; i < count; ++i) {
        std::uint64_t left = i < a.count ? a.components[i] : 0;
        std::uint64_t right = i < b.count ? b.components[i] : 0;
        if (left != right)
            return left <=> right;
    }
    return std::strong_ordering::equal;
}

std::string Ipv4AddressText(ipv4_address address) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8) {
        text += Numeral((address.value >> shift) & 0xFF).view();
        if (shift != 0)
            text += '.';
    }
    return text;
}

ipv4_address TextToIpv4Address(ConstData text) {
    zor::core::TextReader reader(text);
    std::uint32_t value = 0;
    for (int part = 0; part < 4; ++part) {
        if (part != 0)
            reader.Expect('.');
        std::uint64_t byte = reader.Digits(1, 3);
        if (byte > 255)
            zor::core::TextReader::Fail();
        value = value << 8 | static_cast<std::uint32_t>(byte);
    }
    reader.ExpectEnd();
    return ipv4_address{value};
}

std::string_view BooleanText(boolean value) {
    return value ? "True" : "False";
}
