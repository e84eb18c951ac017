// The check of property-list bytes before libplist parses them: hostile
// binary lists built here object by object, and hostile XML nesting.
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

// A marker with its count: in the low nibble, or in an integer after it.
std::string Marker(unsigned kind, std::size_t count) {
    if (count < 15) {
        return std::string(1, static_cast<char>(kind << 4 | count));
    }
    return std::string(1, static_cast<char>(kind << 4 | 0xF)) + '\x11' + BigEndian(count, 2);
}

std::string Ascii(std::string const& text) {
    return Marker(0x5, text.size()) + text;
}

std::string Utf16(std::string const& units) { // two bytes a character
    return Marker(0x6, units.size() / 2) + units;
}

// References are two bytes wide in the lists built here.
std::string Refs(std::vector<std::uint64_t> const& refs) {
    std::string out;
    for (std::uint64_t ref : refs) {
        out += BigEndian(ref, 2);
    }
    return out;
}

std::string Array(std::vector<std::uint64_t> const& refs) {
    return Marker(0xA, refs.size()) + Refs(refs);
}

std::string Dict(std::vector<std::uint64_t> const& keys, std::vector<std::uint64_t> const& values) {
    return Marker(0xD, keys.size()) + Refs(keys) + Refs(values);
}

struct Trailer {
    int width = 4;
    int refWidth = 2;
    std::uint64_t top = 0;
    std::int64_t tableShift = 0; // moves the recorded start of the offset table
};

// A binary property list of the objects (the first at the top by default).
std::string Binary(std::vector<std::string> const& objects, Trailer trailer = {}) {
    std::string bytes = "bplist00";
    std::string offsets;
    for (std::string const& object : objects) {
        offsets += BigEndian(bytes.size(), trailer.width);
        bytes += object;
    }
    std::uint64_t table = bytes.size() + trailer.tableShift;
    return bytes + offsets + std::string(6, '\0') + static_cast<char>(trailer.width) +
           static_cast<char>(trailer.refWidth) + BigEndian(objects.size(), 8) +
           BigEndian(trailer.top, 8) + BigEndian(table, 8);
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
constexpr char kCycle[] = "property list refers to itself";
constexpr char kNul[] = "a string holds a NUL character";
constexpr char kDamaged[] = "damaged binary property list";

TEST(PropertyListHazard, PlainBinaryListsPass) {
    // {"k": [1, "k"]}: a string shared as key and value, an integer top.
    EXPECT_EQ(Hazard(Binary({Dict({1}, {2}), Ascii("k"), Array({3, 1}), "\x10\x01"})),
              std::nullopt);
    EXPECT_EQ(Hazard(Binary({"\x10\x07"})), std::nullopt);
    // An empty dictionary reached twice is shared, not a cycle.
    EXPECT_EQ(Hazard(Binary({Array({1, 2}), Dict({}, {}), Array({1})})), std::nullopt);
    EXPECT_EQ(Hazard(Binary({Utf16(std::string("\0o\0k", 4))})), std::nullopt);
}

TEST(PropertyListHazard, BinaryNestingIsBoundedWithoutRecursion) {
    EXPECT_EQ(Hazard(Chain(512)), std::nullopt);
    EXPECT_EQ(Hazard(Chain(513)), kDeep);
    EXPECT_EQ(Hazard(Chain(60000)), kDeep);
}

TEST(PropertyListHazard, CyclesAreRefused) {
    EXPECT_EQ(Hazard(Binary({Array({0})})), kCycle);
    // A dictionary value leading back to the top through an array.
    EXPECT_EQ(Hazard(Binary({Dict({1}, {2}), Ascii("k"), Array({3, 0}), "\x10\x01"})), kCycle);
}

TEST(PropertyListHazard, SharedObjectsCountOncePerReference) {
    // k arrays each referring twice to the next: 2^k - 1 objects once copied.
    EXPECT_EQ(Hazard(Chain(20, 2)), std::nullopt);
    EXPECT_EQ(Hazard(Chain(21, 2)), kTooMany);
    EXPECT_EQ(Hazard(Chain(200, 15)), kTooMany);
    // One string referred to by a wide array, itself referred to many times.
    std::vector<std::uint64_t> wide(1100, 2);
    std::vector<std::uint64_t> outer(1000, 1);
    EXPECT_EQ(Hazard(Binary({Array(outer), Array(wide), Ascii("s")})), kTooMany);
    outer.resize(900);
    EXPECT_EQ(Hazard(Binary({Array(outer), Array(wide), Ascii("s")})), std::nullopt);
}

TEST(PropertyListHazard, StringsWithNulAndKeysThatAreNoStrings) {
    EXPECT_EQ(Hazard(Binary({Dict({1}, {2}), Ascii(std::string("k\0", 2)), Ascii("v")})), kNul);
    EXPECT_EQ(Hazard(Binary({Dict({1}, {2}), Ascii("k"), Ascii(std::string("v\0w", 3))})), kNul);
    EXPECT_EQ(Hazard(Binary({Dict({1}, {2}), Utf16(std::string("\0k\0\0", 4)), Ascii("v")})), kNul);
    EXPECT_EQ(Hazard(Binary({Dict({1}, {2}), "\x10\x05", Ascii("v")})),
              "a dictionary key is not a string");
    // Only what libplist reaches from the top matters.
    EXPECT_EQ(Hazard(Binary({Array({}), Ascii(std::string("\0", 1))})), std::nullopt);
}

TEST(PropertyListHazard, DamagedBinaryListsAreRefused) {
    std::string good = Binary({Array({1}), Ascii("s")});
    ASSERT_EQ(Hazard(good), std::nullopt);
    std::string const damaged[] = {
        "bplist00",
        good.substr(0, good.size() - 1),                         // trailer cut short
        Binary({Array({1}), Ascii("s")}, {.width = 0}),          // no offset width
        Binary({Array({1}), Ascii("s")}, {.refWidth = 9}),       // reference too wide
        Binary({Array({1}), Ascii("s")}, {.top = 2}),            // no such top object
        Binary({Array({1}), Ascii("s")}, {.tableShift = 2}),     // offsets past the table
        Binary({Array({1}), Ascii("s")}, {.tableShift = -4}),    // objects past the table
        Binary({Array({5}), Ascii("s")}),                        // reference to no object
        Binary({"\xA3" + Refs({1})}),                            // references run out
        Binary({Array({1}), "\x55sh"}),                          // characters run out
        Binary({Array({1}), "\x5F\x14" + std::string(16, 'x')}), // 128-bit length
    };
    for (std::string const& bytes : damaged) {
        EXPECT_EQ(Hazard(bytes), kDamaged) << bytes.size();
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

TEST(PropertyListHazard, XmlNestingIsCountedFromTheTags) {
    EXPECT_EQ(Hazard(NestedXml(511)), std::nullopt);
    EXPECT_EQ(Hazard(NestedXml(512)), kDeep);
    EXPECT_EQ(Hazard(NestedXml(500000)), kDeep);
    std::string wide;
    for (int i = 0; i < 5000; ++i) {
        wide += "<key>k</key><array><dict/></array>";
    }
    EXPECT_EQ(Hazard("<plist><dict>" + wide + "</dict></plist>"), std::nullopt);
}

TEST(PropertyListHazard, XmlClosingTagsOnlyCountWhereLibplistSeesThem) {
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
