#include "util/plist_guard.h"

#include <cstdint>
#include <string_view>
#include <vector>

namespace {

// libplist parses binary containers recursively and frees and copies every
// tree recursively, so nesting is held to a depth far beyond any real
// Info.plist or preference file yet far below what exhausts a thread's stack
// (even with sanitizers). A binary list may refer to one object many times
// and libplist copies it at each reference: a million objects (about 100 MB
// in libplist, well under a second to build) is more than any real file
// holds, while a few hundred hostile bytes could otherwise ask for 2^60.
constexpr std::size_t kMaxNesting = 512;
constexpr std::uint64_t kMaxExpandedObjects = std::uint64_t{1} << 20;

constexpr std::string_view kNestedTooDeeply = "property list nested too deeply";
constexpr std::string_view kTooManyObjects = "property list expands to too many objects";
constexpr std::string_view kRefersToItself = "property list refers to itself";
constexpr std::string_view kNulInString = "a string holds a NUL character";
constexpr std::string_view kKeyNotString = "a dictionary key is not a string";
constexpr std::string_view kDamaged = "damaged binary property list";

using Hazard = std::optional<std::string>;

Hazard Because(std::string_view reason) {
    return std::string(reason);
}

// Binary property lists: "bplist00", objects, offset table, 32-byte trailer.
constexpr std::string_view kBinaryMagic = "bplist00";
constexpr std::size_t kTrailerSize = 32;
constexpr unsigned kAsciiString = 0x5; // object kinds: the high nibble of a marker
constexpr unsigned kUtf16String = 0x6;
constexpr unsigned kArray = 0xA;
constexpr unsigned kSet = 0xC;
constexpr unsigned kDictionary = 0xD;

bool IsString(unsigned kind) {
    return kind == kAsciiString || kind == kUtf16String;
}

bool IsContainer(unsigned kind) {
    return kind == kArray || kind == kSet || kind == kDictionary;
}

} // namespace

std::uint64_t ReadBigEndian(unsigned char const* bytes, std::size_t width) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < width; ++i) {
        value = value << 8 | bytes[i];
    }
    return value;
}

std::optional<std::size_t> BinaryPropertyListTable::OffsetOf(std::uint64_t index) const {
    if (index >= objects) {
        return std::nullopt;
    }
    std::uint64_t offset = ReadBigEndian(data + table + index * width, width);
    bool inside = offset >= kBinaryMagic.size() && offset < table;
    return inside ? std::optional<std::size_t>(offset) : std::nullopt;
}

std::optional<BinaryPropertyListTable> ReadBinaryPropertyListTable(ConstData bytes) {
    if (bytes.Length() < kBinaryMagic.size() + kTrailerSize ||
        !bytes.view().starts_with(kBinaryMagic)) {
        return std::nullopt;
    }
    unsigned char const* trailer = bytes.end() - kTrailerSize;
    std::size_t room = bytes.Length() - kTrailerSize;
    std::size_t width = trailer[6];
    std::size_t refWidth = trailer[7];
    std::uint64_t objects = ReadBigEndian(trailer + 8, 8);
    std::uint64_t top = ReadBigEndian(trailer + 16, 8);
    std::uint64_t table = ReadBigEndian(trailer + 24, 8);
    bool fits = width >= 1 && width <= 8 && refWidth >= 1 && refWidth <= 8 &&
                table >= kBinaryMagic.size() && table <= room &&
                objects <= (room - table) / width && top < objects;
    if (!fits) {
        return std::nullopt;
    }
    return BinaryPropertyListTable{
        bytes.begin(), static_cast<std::size_t>(table), width, refWidth, objects, top};
}

namespace {

// Where the elements of a string or container start and how many there are:
// the count is in the marker, or in an integer object after it when the
// marker says 0xF.
struct Extent {
    std::size_t start;
    std::uint64_t count;
};

std::optional<Extent> ExtentAt(BinaryPropertyListTable const& t, std::size_t at) {
    std::uint64_t count = t.data[at] & 0xF;
    std::size_t start = at + 1;
    if (count == 0xF) {
        if (start >= t.table || t.data[start] >> 4 != 0x1 || (t.data[start] & 0xF) > 3) {
            return std::nullopt;
        }
        std::size_t size = std::size_t{1} << (t.data[start] & 0xF);
        if (t.table - start - 1 < size) {
            return std::nullopt;
        }
        count = ReadBigEndian(t.data + start + 1, size);
        start += 1 + size;
    }
    return Extent{start, count};
}

// One container on the walk: its references (keys before values in a
// dictionary), the next one to follow and the objects counted so far.
struct Frame {
    std::uint64_t index;
    std::size_t refs;
    std::uint64_t refCount;
    std::uint64_t keys;
    std::uint64_t next;
    std::uint64_t objects;
};

// Follows every reference from the top object without recursion, counting
// each object as often as libplist would copy it.
class BinaryWalk {
public:
    explicit BinaryWalk(BinaryPropertyListTable const& t)
        : t_(t), state_(t.objects, State::New), expanded_(t.objects, 0) {}

    Hazard Run() {
        if (Hazard hazard = Reach(t_.top, false)) {
            return hazard;
        }
        while (!stack_.empty()) {
            Frame& frame = stack_.back();
            if (frame.next == frame.refCount) {
                if (Hazard hazard = Close()) {
                    return hazard;
                }
                continue;
            }
            std::uint64_t i = frame.next++;
            std::uint64_t child =
                ReadBigEndian(t_.data + frame.refs + i * t_.refWidth, t_.refWidth);
            if (Hazard hazard = Reach(child, i < frame.keys)) {
                return hazard;
            }
        }
        return std::nullopt;
    }

private:
    enum class State : unsigned char { New, Open, Done };

    // Counts an object reached by a reference; a container not seen before
    // is opened, to be counted once its own references are followed.
    Hazard Reach(std::uint64_t index, bool asKey) {
        std::optional<std::size_t> offset = t_.OffsetOf(index);
        if (!offset) {
            return Because(kDamaged);
        }
        unsigned kind = t_.data[*offset] >> 4;
        if (asKey && !IsString(kind)) {
            return Because(kKeyNotString);
        }
        if (state_[index] == State::Open) {
            return Because(kRefersToItself);
        }
        if (state_[index] == State::New && IsContainer(kind)) {
            return Open(index, *offset, kind);
        }
        if (state_[index] == State::New && IsString(kind)) {
            if (Hazard hazard = StringHazard(*offset, kind)) {
                return hazard;
            }
        }
        state_[index] = State::Done;
        expanded_[index] = IsContainer(kind) ? expanded_[index] : 1;
        return Add(expanded_[index]);
    }

    Hazard Open(std::uint64_t index, std::size_t offset, unsigned kind) {
        if (stack_.size() >= kMaxNesting) {
            return Because(kNestedTooDeeply);
        }
        std::optional<Extent> extent = ExtentAt(t_, offset);
        std::uint64_t perEntry = kind == kDictionary ? 2 : 1;
        if (!extent || extent->count > (t_.table - extent->start) / t_.refWidth / perEntry) {
            return Because(kDamaged);
        }
        state_[index] = State::Open;
        std::uint64_t keys = kind == kDictionary ? extent->count : 0;
        stack_.push_back(Frame{index, extent->start, extent->count * perEntry, keys, 0, 1});
        return std::nullopt;
    }

    Hazard Close() {
        Frame const frame = stack_.back();
        stack_.pop_back();
        state_[frame.index] = State::Done;
        expanded_[frame.index] = frame.objects;
        return Add(frame.objects);
    }

    // Adds to the enclosing container; the top object has none.
    Hazard Add(std::uint64_t objects) {
        if (stack_.empty()) {
            return std::nullopt;
        }
        stack_.back().objects += objects;
        return stack_.back().objects > kMaxExpandedObjects ? Because(kTooManyObjects)
                                                           : std::nullopt;
    }

    // libplist takes a string to end at its first NUL in places (its key
    // accessor asserts on it, a copied string keeps the longer length).
    Hazard StringHazard(std::size_t offset, unsigned kind) const {
        std::optional<Extent> extent = ExtentAt(t_, offset);
        std::size_t unit = kind == kUtf16String ? 2 : 1;
        if (!extent || extent->count > (t_.table - extent->start) / unit) {
            return Because(kDamaged);
        }
        for (std::uint64_t i = 0; i < extent->count; ++i) {
            unsigned char const* character = t_.data + extent->start + i * unit;
            if (character[0] == 0 && (unit == 1 || character[1] == 0)) {
                return Because(kNulInString);
            }
        }
        return std::nullopt;
    }

    BinaryPropertyListTable const& t_;
    std::vector<State> state_;
    std::vector<std::uint64_t> expanded_; // objects once copied, when Done
    std::vector<Frame> stack_;
};

Hazard BinaryHazard(ConstData bytes) {
    std::optional<BinaryPropertyListTable> t = ReadBinaryPropertyListTable(bytes);
    if (!t) {
        return Because(kDamaged);
    }
    return BinaryWalk(*t).Run();
}

// Where `what` starts at or after `from`; with `quoted`, text between double
// quotes is passed over, as libplist does inside tags and declarations.
std::size_t Find(std::string_view text, std::size_t from, std::string_view what, bool quoted) {
    for (std::size_t at = from; at < text.size(); ++at) {
        if (quoted && text[at] == '"') {
            at = text.find('"', at + 1);
            if (at == std::string_view::npos) {
                break;
            }
        }
        if (text.substr(at).starts_with(what)) {
            return at;
        }
    }
    return std::string_view::npos;
}

// Where the markup that starts at `at` (just after its '<') ends, skipped the
// way libplist skips it, and whether it is an element tag at all.
struct Markup {
    std::size_t end;
    bool isTag;
};

std::size_t After(std::size_t found, std::size_t length) {
    return found == std::string_view::npos ? found : found + length;
}

Markup MarkupAt(std::string_view text, std::size_t at) {
    std::string_view rest = text.substr(at);
    if (rest.starts_with("?")) {
        return {After(Find(text, at, "?>", true), 2), false};
    }
    if (rest.starts_with("!--")) {
        return {After(Find(text, at + 3, "-->", false), 3), false};
    }
    if (rest.starts_with("![CDATA[")) {
        return {After(Find(text, at, "]]>", false), 3), false};
    }
    if (rest.starts_with("!DOCTYPE")) {
        // An internal subset, opened before the first '>', ends at "]>".
        std::size_t close = Find(text, at, ">", true);
        std::size_t subset = Find(text.substr(0, close), at, "[", true);
        if (subset != std::string_view::npos) {
            return {After(Find(text, subset, "]>", true), 2), false};
        }
        return {After(close, 1), false};
    }
    // The name runs to white space or a bracket; only after it are quotes
    // passed over.
    std::size_t name = text.find_first_of(" \t\r\n<>", at);
    if (name != std::string_view::npos && text[name] != '>') {
        name = Find(text, name, ">", true);
    }
    return {name, true};
}

// Nesting of <array> and <dict> in XML text, counted from the tags; comments,
// declarations and character data are passed over as libplist passes them.
Hazard XmlHazard(std::string_view text) {
    std::size_t depth = 0;
    for (std::size_t at = text.find('<'); at != std::string_view::npos;) {
        Markup markup = MarkupAt(text, at + 1);
        if (markup.end == std::string_view::npos) {
            break;
        }
        std::string_view tag = text.substr(at + 1, markup.end - at - 1);
        bool closing = tag.starts_with('/');
        std::string_view name = closing ? tag.substr(1) : tag;
        bool container = name.starts_with("array") || name.starts_with("dict");
        bool empty = tag.ends_with('/');
        if (markup.isTag && container && closing) {
            depth -= depth > 0 ? 1 : 0;
        } else if (markup.isTag && container && !empty && ++depth > kMaxNesting) {
            return Because(kNestedTooDeeply);
        }
        at = text.find('<', markup.end);
    }
    return std::nullopt;
}

} // namespace

std::optional<std::string> PropertyListHazard(ConstData bytes) {
    std::string_view text = bytes.view();
    return text.starts_with(kBinaryMagic) ? BinaryHazard(bytes) : XmlHazard(text);
}
