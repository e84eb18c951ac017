// A look at property-list bytes before libplist 2.2 parses them: some
// hostile inputs make it abort, recurse past the stack or build without bound.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "util/bytes.h"

// Why libplist must not be given these bytes, or nothing when it may parse
// them. Binary lists ("bplist00") are walked through their object table:
// refused when damaged, nested too deeply, referring to themselves,
// expanding to too many objects once every shared object is copied, or
// holding a string with a NUL character. Other bytes are taken as XML and
// refused when their <array> and <dict> tags nest too deeply.
std::optional<std::string> PropertyListHazard(ConstData bytes);

// The object table of a binary property list as its 32-byte trailer
// describes it: objects lie between the 8-byte magic and `table`.
struct BinaryPropertyListTable {
    unsigned char const* data;
    std::size_t table;    // where the offsets start
    std::size_t width;    // of an offset
    std::size_t refWidth; // of an object reference
    std::uint64_t objects;
    std::uint64_t top; // the object at the top level

    // Where an object starts; none when that lies outside the objects.
    std::optional<std::size_t> OffsetOf(std::uint64_t index) const;
};

// An unsigned integer stored in `width` bytes, most significant first, as
// binary lists store every number.
std::uint64_t ReadBigEndian(unsigned char const* bytes, std::size_t width);

// None when the bytes are no binary list or its table does not fit in them.
std::optional<BinaryPropertyListTable> ReadBinaryPropertyListTable(ConstData bytes);
