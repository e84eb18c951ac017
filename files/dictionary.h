// Dictionaries of named values, as property lists and device attributes give
// them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "util/bytes.h"

// One value of a dictionary. Scalars have a text form, and Data (raw bytes
// from a device) is its bytes; arrays, nested dictionaries, dates and
// property-list data are kept as Other, without one.
struct DictionaryValue {
    enum class Kind : std::uint8_t { String, Integer, Real, Boolean, Data, Other };
    Kind kind = Kind::Other;
    std::string text;         // the string, the bytes, or the number or truth value as text
    std::int64_t integer = 0; // for Integer

    static DictionaryValue String(std::string text);
    static DictionaryValue Integer(std::int64_t value);
    static DictionaryValue Data(std::string bytes);
};

class OSXDictionary {
public:
    using Entry = std::pair<std::string, DictionaryValue>;

    OSXDictionary() = default;
    // Of a key given more than once, the last value counts.
    explicit OSXDictionary(std::vector<Entry> entries);

    // Adds or replaces the value of `key`.
    void Set(std::string key, DictionaryValue value);
    DictionaryValue const* Find(std::string_view key) const;
    // The text of a String value; none for absent keys and other kinds.
    std::optional<std::string> FindString(std::string_view key) const;
    // In bytewise order of the keys.
    std::vector<Entry> const& Entries() const { return entries_; }
    bool empty() const { return entries_.empty(); }

private:
    std::vector<Entry> entries_;
};

// The value of `key` as a C string: a String's or Data's bytes up to the
// first NUL; none for absent keys and other kinds.
std::optional<std::string> cstring_of_dictionary(std::string_view key, OSXDictionary const& table);

// The top-level dictionary of a property list in XML or binary form; none
// when the bytes are no property list, its top level is no dictionary, it
// has more than 4096 arrays and dictionaries (so that nesting stays shallow),
// or, in binary form, its shared objects would expand to more than 2^18
// values.
std::optional<OSXDictionary> ParsePropertyListDictionary(ConstData bytes);
