#include "files/dictionary.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <limits>
#include <memory>
#include <vector>

#include <plist/plist.h>

#include "util/plist_guard.h"

namespace {

struct PlistFree {
    void operator()(void* plist) const { plist_free(static_cast<plist_t>(plist)); }
};
using AutoPlist = std::unique_ptr<void, PlistFree>;

// libplist hands out iterators and keys allocated with malloc.
struct MallocFree {
    void operator()(void* memory) const { std::free(memory); }
};
using AutoMalloc = std::unique_ptr<void, MallocFree>;

std::string RealText(double value) {
    char digits[32];
    auto result = std::to_chars(digits, digits + sizeof digits, value);
    return std::string(digits, result.ptr);
}

DictionaryValue ValueOf(plist_t node) {
    DictionaryValue value;
    switch (plist_get_node_type(node)) {
    case PLIST_STRING: {
        std::uint64_t length = 0;
        char const* text = plist_get_string_ptr(node, &length);
        return DictionaryValue::String(text ? std::string(text, length) : std::string());
    }
    case PLIST_UINT: {
        std::uint64_t number = 0;
        plist_get_uint_val(node, &number);
        return DictionaryValue::Integer(static_cast<std::int64_t>(number));
    }
    case PLIST_REAL: {
        double number = 0;
        plist_get_real_val(node, &number);
        value.kind = DictionaryValue::Kind::Real;
        value.text = RealText(number);
        return value;
    }
    case PLIST_BOOLEAN: {
        std::uint8_t truth = 0;
        plist_get_bool_val(node, &truth);
        value.kind = DictionaryValue::Kind::Boolean;
        value.text = truth ? "true" : "false";
        return value;
    }
    default:
        return value;
    }
}

OSXDictionary DictionaryOf(plist_t dict) {
    std::vector<OSXDictionary::Entry> entries;
    plist_dict_iter rawIterator = nullptr;
    plist_dict_new_iter(dict, &rawIterator);
    AutoMalloc iterator(rawIterator);
    for (;;) {
        char* rawKey = nullptr;
        plist_t node = nullptr;
        plist_dict_next_item(dict, rawIterator, &rawKey, &node);
        AutoMalloc key(rawKey);
        if (!node || !rawKey) {
            return OSXDictionary(std::move(entries));
        }
        entries.emplace_back(rawKey, ValueOf(node));
    }
}

} // namespace

DictionaryValue DictionaryValue::String(std::string text) {
    DictionaryValue value;
    value.kind = Kind::String;
    value.text = std::move(text);
    return value;
}

DictionaryValue DictionaryValue::Integer(std::int64_t number) {
    DictionaryValue value;
    value.kind = Kind::Integer;
    value.integer = number;
    value.text = std::to_string(number);
    return value;
}

DictionaryValue DictionaryValue::Data(std::string bytes) {
    DictionaryValue value;
    value.kind = Kind::Data;
    value.text = std::move(bytes);
    return value;
}

OSXDictionary::OSXDictionary(std::vector<Entry> entries) : entries_(std::move(entries)) {
    auto byKey = [](Entry const& a, Entry const& b) { return a.first < b.first; };
    std::stable_sort(entries_.begin(), entries_.end(), byKey);
    // Keeps the last of each run of equal keys.
    auto last = std::unique(entries_.rbegin(), entries_.rend(),
                            [](Entry const& a, Entry const& b) { return a.first == b.first; });
    entries_.erase(entries_.begin(), last.base());
}

void OSXDictionary::Set(std::string key, DictionaryValue value) {
    auto at =
        std::lower_bound(entries_.begin(), entries_.end(), key,
                         [](Entry const& entry, std::string const& k) { return entry.first < k; });
    if (at != entries_.end() && at->first == key) {
        at->second = std::move(value);
    } else {
        entries_.emplace(at, std::move(key), std::move(value));
    }
}

DictionaryValue const* OSXDictionary::Find(std::string_view key) const {
    auto at =
        std::lower_bound(entries_.begin(), entries_.end(), key,
                         [](Entry const& entry, std::string_view k) { return entry.first < k; });
    return at != entries_.end() && at->first == key ? &at->second : nullptr;
}

std::optional<std::string> OSXDictionary::FindString(std::string_view key) const {
    DictionaryValue const* value = Find(key);
    if (!value || value->kind != DictionaryValue::Kind::String) {
        return std::nullopt;
    }
    return value->text;
}

std::optional<std::string> cstring_of_dictionary(std::string_view key, OSXDictionary const& table) {
    DictionaryValue const* value = table.Find(key);
    if (!value || (value->kind != DictionaryValue::Kind::String &&
                   value->kind != DictionaryValue::Kind::Data)) {
        return std::nullopt;
    }
    return value->text.substr(0, value->text.find('\0'));
}

std::optional<OSXDictionary> ParsePropertyListDictionary(ConstData bytes) {
    if (bytes.empty() || bytes.Length() > std::numeric_limits<std::uint32_t>::max() ||
        PropertyListHazard(bytes)) {
        return std::nullopt;
    }
    plist_t raw = nullptr;
    plist_from_memory(reinterpret_cast<char const*>(bytes.begin()),
                      static_cast<std::uint32_t>(bytes.Length()), &raw);
    AutoPlist root(raw);
    if (!raw || plist_get_node_type(raw) != PLIST_DICT) {
        return std::nullopt;
    }
    return DictionaryOf(raw);
}
