#include "files/dictionary.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <limits>
#include <memory>
#include <vector>

#include <plist/plist.h>

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

std::uint64_t BigEndian(unsigned char const* bytes, std::size_t width) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < width; ++i) {
        value = value << 8 | bytes[i];
    }
    return value;
}

std::size_t Occurrences(std::string_view text, std::string_view word) {
    std::size_t count = 0;
    for (std::size_t at = text.find(word); at != std::string_view::npos;
         at = text.find(word, at + 1)) {
        ++count;
    }
    return count;
}

// The object table of a binary property list, as its trailer describes it.
struct BinaryTable {
    ConstData bytes;
    std::size_t room;     // bytes before the trailer
    std::size_t width;    // of an offset
    std::size_t refWidth; // of an object reference
    std::uint64_t objects;
    std::uint64_t top;   // the object at the top level
    std::uint64_t table; // where the offsets start
};

// None when the trailer or the offset table does not fit in the bytes.
std::optional<BinaryTable> ReadTrailer(ConstData bytes) {
    constexpr std::size_t kTrailer = 32;
    if (bytes.Length() < 8 + kTrailer) {
        return std::nullopt;
    }
    unsigned char const* trailer = bytes.end() - kTrailer;
    BinaryTable t{bytes,
                  bytes.Length() - kTrailer,
                  trailer[6],
                  trailer[7],
                  BigEndian(trailer + 8, 8),
                  BigEndian(trailer + 16, 8),
                  BigEndian(trailer + 24, 8)};
    bool fits = t.width >= 1 && t.width <= 8 && t.refWidth >= 1 && t.refWidth <= 8 &&
                t.table <= t.room && t.objects <= (t.room - t.table) / t.width;
    return fits ? std::optional<BinaryTable>(t) : std::nullopt;
}

std::optional<std::size_t> ObjectOffset(BinaryTable const& t, std::uint64_t index) {
    if (index >= t.objects) {
        return std::nullopt;
    }
    std::uint64_t offset = BigEndian(t.bytes.begin() + t.table + index * t.width, t.width);
    return offset < t.room ? std::optional<std::size_t>(offset) : std::nullopt;
}

// The element count of the object at `at` and where its payload starts.
std::optional<std::pair<std::uint64_t, std::size_t>> CountAt(BinaryTable const& t, std::size_t at) {
    unsigned char const* bytes = t.bytes.begin();
    std::uint64_t count = bytes[at] & 0xF;
    std::size_t payload = at + 1;
    if (count == 0xF) {
        if (payload >= t.room || bytes[payload] >> 4 != 0x1) {
            return std::nullopt;
        }
        std::size_t size = std::size_t(1) << (bytes[payload] & 0x3);
        if (payload + 1 + size > t.room) {
            return std::nullopt;
        }
        count = BigEndian(bytes + payload + 1, size);
        payload += 1 + size;
    }
    return std::pair(count, payload);
}

// Whether the object at `at` is a string without NUL characters, the only
// kind of dictionary key libplist can hand out (its key accessor asserts
// that a key's length is that of a C string).
bool IsPlainString(BinaryTable const& t, std::size_t at) {
    unsigned kind = t.bytes.begin()[at] >> 4;
    auto counted = CountAt(t, at);
    if ((kind != 0x5 && kind != 0x6) || !counted) {
        return false;
    }
    auto [count, payload] = *counted;
    std::uint64_t unit = kind == 0x6 ? 2 : 1;
    if (count > (t.room - payload) / unit) {
        return false;
    }
    for (std::uint64_t i = 0; i < count; ++i) {
        unsigned char const* character = t.bytes.begin() + payload + i * unit;
        if (character[0] == 0 && (unit == 1 || character[1] == 0)) {
            return false;
        }
    }
    return true;
}

// The object table of a binary property list checked for what would make
// libplist abort, recurse too deeply or build too much.
class BinaryShape {
public:
    explicit BinaryShape(BinaryTable const& t)
        : t_(t), offsets_(t.objects), plain_(t.objects), expanded_(t.objects), active_(t.objects) {
        for (std::uint64_t i = 0; i < t.objects; ++i) {
            offsets_[i] = ObjectOffset(t, i);
            plain_[i] = offsets_[i] && IsPlainString(t, *offsets_[i]);
        }
    }

    // Arrays, sets and dictionaries; none when a dictionary has a key that
    // is no plain string.
    std::optional<std::size_t> Containers() const {
        std::size_t containers = 0;
        for (std::uint64_t i = 0; i < t_.objects; ++i) {
            unsigned kind = KindOf(i);
            if (kind == 0xD && !HasPlainKeys(*offsets_[i])) {
                return std::nullopt;
            }
            containers += IsContainer(kind);
        }
        return containers;
    }

    // The nodes libplist builds for the top object, counting a shared object
    // once per reference (libplist copies it each time), and at most
    // `limit` + 1. None for a cycle or a reference to no object. Recurses
    // once per nested container, so call it only when they are few.
    std::optional<std::uint64_t> ExpandedNodes(std::uint64_t limit) {
        return Expand(t_.top, limit);
    }

private:
    static bool IsContainer(unsigned kind) { return kind == 0xA || kind == 0xC || kind == 0xD; }

    unsigned KindOf(std::uint64_t index) const {
        return offsets_[index] ? t_.bytes.begin()[*offsets_[index]] >> 4 : 0;
    }

    // The references a container holds (keys before values in a
    // dictionary); none when they do not fit in the bytes.
    std::optional<std::pair<std::uint64_t, std::size_t>> References(std::size_t at,
                                                                    unsigned kind) const {
        auto counted = CountAt(t_, at);
        std::uint64_t perEntry = kind == 0xD ? 2 : 1;
        if (!counted || counted->first > (t_.room - counted->second) / t_.refWidth / perEntry) {
            return std::nullopt;
        }
        return std::pair(counted->first * perEntry, counted->second);
    }

    std::uint64_t Reference(std::size_t payload, std::uint64_t i) const {
        return BigEndian(t_.bytes.begin() + payload + i * t_.refWidth, t_.refWidth);
    }

    bool HasPlainKeys(std::size_t at) const {
        auto refs = References(at, 0xD);
        if (!refs) {
            return false;
        }
        for (std::uint64_t i = 0; i < refs->first / 2; ++i) {
            std::uint64_t key = Reference(refs->second, i);
            if (key >= plain_.size() || !plain_[key]) {
                return false;
            }
        }
        return true;
    }

    std::optional<std::uint64_t> Expand(std::uint64_t index, std::uint64_t limit) {
        if (index >= t_.objects || !offsets_[index] || active_[index]) {
            return std::nullopt;
        }
        unsigned kind = KindOf(index);
        if (!IsContainer(kind) || expanded_[index] != 0) {
            return IsContainer(kind) ? expanded_[index] : 1;
        }
        auto refs = References(*offsets_[index], kind);
        if (!refs) {
            return std::nullopt;
        }
        active_[index] = true;
        std::uint64_t total = 1;
        for (std::uint64_t i = 0; i < refs->first && total <= limit; ++i) {
            auto nodes = Expand(Reference(refs->second, i), limit);
            if (!nodes) {
                return std::nullopt;
            }
            total = std::min(total + *nodes, limit + 1);
        }
        active_[index] = false;
        expanded_[index] = total;
        return total;
    }

    BinaryTable const& t_;
    std::vector<std::optional<std::size_t>> offsets_;
    std::vector<bool> plain_;
    std::vector<std::uint64_t> expanded_; // 0 until counted
    std::vector<bool> active_;            // being counted: a reference back is a cycle
};

// A binary property list libplist can parse safely: plain dictionary keys,
// at most `maxContainers` containers, at most `maxNodes` nodes built.
bool BinaryIsBounded(ConstData bytes, std::size_t maxContainers, std::uint64_t maxNodes) {
    auto t = ReadTrailer(bytes);
    if (!t) {
        return false;
    }
    BinaryShape shape(*t);
    auto containers = shape.Containers();
    if (!containers || *containers > maxContainers) {
        return false;
    }
    auto nodes = shape.ExpandedNodes(maxNodes);
    return nodes && *nodes <= maxNodes;
}

// libplist parses nested containers recursively, so deep nesting could
// overflow the stack, and it copies a binary object for every reference to
// it, so a few shared objects could expand without bound. The containers are
// counted first (for XML, every "<array" and "<dict", also in comments),
// which bounds the depth, and a binary list's expansion is counted too.
bool NestingIsBounded(ConstData bytes) {
    constexpr std::size_t kMaxContainers = 4096;
    constexpr std::uint64_t kMaxNodes = 1 << 18;
    std::string_view const text = bytes.view();
    if (text.starts_with("bplist")) {
        return BinaryIsBounded(bytes, kMaxContainers, kMaxNodes);
    }
    return Occurrences(text, "<array") + Occurrences(text, "<dict") <= kMaxContainers;
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

std::optional<OSXDictionary> ParsePropertyListDictionary(ConstData bytes) {
    if (bytes.empty() || bytes.Length() > std::numeric_limits<std::uint32_t>::max() ||
        !NestingIsBounded(bytes)) {
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
