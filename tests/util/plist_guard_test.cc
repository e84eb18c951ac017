// Hostile binary lists built object by object, and hostile XML nesting.
#include "util/plist_guard.h"

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

std::string BigEndian(std::uint64_t value, int width) {
    std::string out;
    for (int i = width - 1; i >= 0; --i) {
        out += static_cast<char>(value >> (8 * i));
    }
    return out;
}

// References are two bytes wide in the lists built here.
std::string Refs(std::vector<std::uint64_t> const& refs) {
    std::string out;
    for (std::uint64_t ref : refs) {
        out += BigEndian(ref, 2);
    }
    return out;
}

// Objects of fewer than 15 elements, counted in the marker's low nibble.
std::string Ascii(std::string const& text) {
    return static_cast<char>(0x50 | text.size()) + text;
}

std::string Array(std::vector<std::uint64_t> const& refs) {
    return static_cast<char>(0xA0 | refs.size()) + Refs(refs);
}

std::string Dict(std::vector<std::uint64_t> const& keys, std::vector<std::uint64_t> const& values) {
    return static_cast<char>(0xD0 | keys.size()) + Refs(keys) + Refs(values);
}

// A binary property list of the objects, the first at the top.
std::string Binary(std::vector<std::string> const& objects) {
    std::string bytes = "bplist00";
    std::string offsets;
    for (std::string const& object : objects) {
        offsets += BigEndian(bytes.size(), 4);
        bytes += object;
    }
    return bytes + offsets + std::string(6, '\0') + "\x04\x02" + BigEndian(objects.size(), 8) +
           BigEndian(0, 8) + BigEndian(bytes.size(), 8);
}

// `count` arrays, each referring `copies` times to the next; the last is empty.
std::string Chain(std::size_t count, std::size_t copies = 1) {
    std::vector<std::string> objects;
    for (std::size_t i = 0; i + 1 < count; ++i) {
        objects.push_back(Array(std::vector<std::uint64_t>(copies, i + 1)));
    }
    objects.push_back(Array({}));
    return Binary(objects);
}

std::optional<std::string> Hazard(std::string const& bytes) {
    return PropertyListHazard(ConstData(bytes));
}

constexpr char kDeep[] = "property list nested too deeply";
constexpr char kTooMany[] = "property list expands to too many objects";
constexpr char kNul[] = "a string holds a NUL character";
constexpr char kDamaged[] = "damaged binary property list";

TEST(PropertyListHazard, BinaryListsPassOrNameTheirHazard) {
    std::string good = Binary({Array({1}), Ascii("s")});
    // One byte of the trailer changed, counted from the end.
    auto patched = [&good](std::size_t fromEnd, char value) {
        std::string bytes = good;
        bytes[bytes.size() - fromEnd] = value;
        return bytes;
    };
    std::pair<std::string, std::optional<std::string>> const cases[] = {
        {good, std::nullopt},
        // {"k": [1, "k"]}: a string shared as key and value.
        {Binary({Dict({1}, {2}), Ascii("k"), Array({3, 1}), "\x10\x01"}), std::nullopt},
        // An empty dictionary reached twice is shared, not a cycle.
        {Binary({Array({1, 2}), Dict({}, {}), Array({1})}), std::nullopt},
        {Binary({"\x62" + std::string("\0o\0k", 4)}), std::nullopt},
        {Chain(512), std::nullopt},
        {Chain(513), kDeep},
        // k arrays each referring twice to the next: 2^k - 1 objects once copied.
        {Chain(20, 2), std::nullopt},
        {Chain(21, 2), kTooMany},
        {Chain(200, 14), kTooMany},
        {Binary({Array({0})}), "property list refers to itself"},
        {Binary({Dict({1}, {2}), Ascii(std::string("k\0", 2)), Ascii("v")}), kNul},
        {Binary({Dict({1}, {2}), Ascii("k"), Ascii(std::string("v\0w", 3))}), kNul},
        {Binary({Dict({1}, {2}), "\x62" + std::string("\0k\0\0", 4), Ascii("v")}), kNul},
        {Binary({Dict({1}, {2}), "\x10\x05", Ascii("v")}), "a dictionary key is not a string"},
        {"bplist00", kDamaged},
        {good.substr(0, good.size() - 1), kDamaged},  // trailer cut short
        {patched(26, 0), kDamaged},                   // no offset width
        {patched(25, 9), kDamaged},                   // reference too wide
        {patched(9, 2), kDamaged},                    // no such top object
        {patched(1, 15), kDamaged},                   // offsets past the end
        {patched(1, 9), kDamaged},                    // objects past the table
        {Binary({Array({5}), Ascii("s")}), kDamaged}, // reference to no object
        {Binary({"\xA3" + Refs({1})}), kDamaged},     // references run out
        {Binary({Array({1}), "\x55sh"}), kDamaged},   // characters run out
        {Binary({Array({1}), "\x5F\x14" + std::string(16, 'x')}), kDamaged}, // 128-bit count
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        EXPECT_EQ(Hazard(cases[i].first), cases[i].second) << "case " << i;
    }
}

// `depth` nested arrays, each opening with `filler`, in an XML plist.
std::string NestedXml(std::size_t depth, std::string const& filler = "") {
    std::string text = "<?xml version=\"1.0\"?><plist version=\"1.0\">";
    for (std::size_t i = 0; i < depth; ++i) {
        text += "<array>" + filler;
    }
    text += "<dict/><array /><dict></dict>";
    for (std::size_t i = 0; i < depth; ++i) {
        text += "</array>";
    }
    return text + "</plist>";
}

TEST(PropertyListHazard, XmlNestingIsCountedFromTheTagsLibplistSees) {
    EXPECT_EQ(Hazard(NestedXml(511)), std::nullopt);
    EXPECT_EQ(Hazard(NestedXml(512)), kDeep);
    std::string wide;
    for (int i = 0; i < 5000; ++i) {
        wide += "<array><dict/></array>";
    }
    EXPECT_EQ(Hazard("<plist><array>" + wide + "</array></plist>"), std::nullopt);
    // Closing tags inside what libplist passes over must not hide nesting.
    std::string const fillers[] = {
        "<!-- </array> -->",        "<string><![CDATA[</array>]]></string>",
        "<? \"?></array>\" ?>",     "<!DOCTYPE x [ <!ELEMENT a \"]></array>\"> ]>",
        "<true a=\"/></array>\"/>",
    };
    for (std::string const& filler : fillers) {
        EXPECT_EQ(Hazard(NestedXml(600, filler)), kDeep) << filler;
        EXPECT_EQ(Hazard(NestedXml(100, filler)), std::nullopt) << filler;
    }
    // A self-closing tag is only one where the '>' ends the tag.
    EXPECT_EQ(Hazard(NestedXml(300, "<dict a=\"/>\">")), kDeep);
}

} // namespace
