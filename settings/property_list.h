// Property-list trees over libplist: ownership, parsing of XML and binary
// text, binary serialisation, and the text rules of plist strings.
#pragma once

#include <plist/plist.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "util/exception.h"

// Owns one property-list tree and frees it once; hands it over on move.
class AutoCFPropertyList {
public:
    AutoCFPropertyList() = default;
    explicit AutoCFPropertyList(plist_t node) : node_(node) {}
    AutoCFPropertyList(AutoCFPropertyList&& other) noexcept : node_(other.Release()) {}
    AutoCFPropertyList& operator=(AutoCFPropertyList&& other) noexcept;
    AutoCFPropertyList(AutoCFPropertyList const&) = delete;
    AutoCFPropertyList& operator=(AutoCFPropertyList const&) = delete;
    ~AutoCFPropertyList();

    plist_t Get() const { return node_; }
    plist_t Release();
    explicit operator bool() const { return node_ != nullptr; }

private:
    plist_t node_ = nullptr;
};

// A read-only reference to a node that keeps the tree holding it alive, the
// way a retained property-list reference does. Nobody changes a shared tree.
using SharedCFPropertyList = std::shared_ptr<void>;

// Bytes that are neither an XML nor a binary property list.
class PropertyListParseError : public ExceptionPL {
public:
    using ExceptionPL::ExceptionPL;
};

// Parses XML or binary property-list bytes. The bytes are edited in place
// first: binary dates are set to values that libplist reads back to the
// exact microsecond and that fit its 32-bit seconds (see the .cc). Bytes
// libplist cannot parse safely (util/plist_guard.h) are refused with the reason.
AutoCFPropertyList ParsePropertyList(std::string& bytes);

// The binary form of a tree, written in time that grows with the tree's
// size: equal strings are stored once, and dates so that they read back to
// the microsecond. Nothing when the tree holds a kind other than
// dictionaries, arrays, strings, data and dates, or a string with a NUL.
std::optional<std::string> WriteBinaryPropertyList(plist_t tree);

// The binary form of any tree: WriteBinaryPropertyList, else libplist's writer.
std::string SerializeBinaryPropertyList(plist_t tree);

// True when a plist string can carry the bytes unchanged: valid UTF-8 with
// no NUL (libplist keeps strings NUL-terminated and re-encodes non-ASCII).
bool IsPropertyListText(std::string_view bytes);
