#include "settings/property_list.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <optional>
#include <vector>

AutoCFPropertyList& AutoCFPropertyList::operator=(AutoCFPropertyList&& other) noexcept {
    if (this != &other) {
        plist_free(node_);
        node_ = other.Release();
    }
    return *this;
}

AutoCFPropertyList::~AutoCFPropertyList() {
    plist_free(node_);
}

plist_t AutoCFPropertyList::Release() {
    plist_t node = node_;
    node_ = nullptr;
    return node;
}

namespace {

// Binary property lists: "bplist00", objects, offset table, 32-byte trailer.
constexpr std::string_view kBinaryMagic = "bplist00";
constexpr std::size_t kTrailerSize = 32;
constexpr unsigned char kDateMarker = 0x33; // followed by a big-endian float64
constexpr std::size_t kDateObjectSize = 9;
constexpr unsigned char kAsciiStringMarker = 0x50; // high nibble; low nibble: length
constexpr unsigned char kUtf16StringMarker = 0x60;
constexpr double kMicrosecondsPerSecond = 1000000.0;

// libplist keeps a date's seconds in 32 bits; outside this span they wrap.
constexpr double kEarliestDate = std::numeric_limits<std::int32_t>::min();
constexpr double kLatestDate = std::numeric_limits<std::int32_t>::max() + 0.999999;

std::uint64_t ReadBigEndian(unsigned char const* bytes, std::size_t count) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < count; ++i) {
        value = (value << 8) | bytes[i];
    }
    return value;
}

void WriteBigEndian(unsigned char* bytes, std::uint64_t value) {
    for (int i = 7; i >= 0; --i) {
        bytes[i] = static_cast<unsigned char>(value & 0xff);
        value >>= 8;
    }
}

struct SecondsAndMicroseconds {
    std::int64_t seconds;
    std::int64_t microseconds;
    friend bool operator==(SecondsAndMicroseconds, SecondsAndMicroseconds) = default;
};

// What libplist 2.2 makes of a stored date: both parts truncated toward
// zero (it then reports the magnitude of the microseconds).
SecondsAndMicroseconds AsLibplistReadsIt(double date) {
    auto seconds = static_cast<std::int64_t>(date);
    auto microseconds =
        static_cast<std::int64_t>((date - static_cast<double>(seconds)) * kMicrosecondsPerSecond);
    return {seconds, microseconds};
}

// The stored date rounded to the nearest microsecond and clamped to what
// libplist can return, nudged away from zero until libplist's truncation
// yields exactly that microsecond (the nudge is far below a microsecond).
// libplist drops the sign of the microseconds, so a date in the second
// before the epoch would read as its mirror image after it: such dates
// become the epoch itself, which keeps their order.
double DateThatReadsBackExactly(double stored) {
    double date = std::isnan(stored) ? 0.0 : std::clamp(stored, kEarliestDate, kLatestDate);
    if (date > -1.0 && date < 0.0) {
        date = 0.0;
    }
    std::int64_t total = std::llround(date * kMicrosecondsPerSecond);
    SecondsAndMicroseconds wanted{total / 1000000, total % 1000000};
    double exact = static_cast<double>(wanted.seconds) +
                   static_cast<double>(wanted.microseconds) / kMicrosecondsPerSecond;
    double away = total < 0 ? -std::numeric_limits<double>::infinity()
                            : std::numeric_limits<double>::infinity();
    while (AsLibplistReadsIt(exact) != wanted) {
        exact = std::nextafter(exact, away);
    }
    return exact;
}

void FixDateAt(unsigned char* object) {
    double stored = std::bit_cast<double>(ReadBigEndian(object + 1, 8));
    WriteBigEndian(object + 1, std::bit_cast<std::uint64_t>(DateThatReadsBackExactly(stored)));
}

// Where the characters of a string (or the references of a container) start
// and how many there are; the count follows the marker, or an integer
// object when the marker says 0xF.
struct CountedExtent {
    std::uint64_t start;
    std::uint64_t count;
};

std::optional<CountedExtent> ExtentOf(unsigned char const* data, std::uint64_t offset,
                                      std::uint64_t limit) {
    std::uint64_t count = data[offset] & 0x0f;
    std::uint64_t start = offset + 1;
    if (count == 0x0f) {
        if (start >= limit || (data[start] & 0xf0) != 0x10 || (data[start] & 0x0f) > 3) {
            return std::nullopt;
        }
        std::size_t size = std::size_t{1} << (data[start] & 0x0f);
        if (limit - start - 1 < size) {
            return std::nullopt;
        }
        count = ReadBigEndian(data + start + 1, size);
        start += 1 + size;
    }
    return CountedExtent{start, count};
}

// libplist aborts on a dictionary key that holds a NUL character.
bool HoldsNul(unsigned char const* data, std::uint64_t offset, std::uint64_t limit) {
    unsigned char kind = data[offset] & 0xf0;
    std::optional<CountedExtent> extent = ExtentOf(data, offset, limit);
    if (!extent || extent->start > limit) {
        return false; // malformed: libplist refuses it
    }
    std::uint64_t width = kind == kUtf16StringMarker ? 2 : 1;
    std::uint64_t length = std::min(extent->count, (limit - extent->start) / width) * width;
    for (std::uint64_t i = 0; i < length; i += width) {
        if (data[extent->start + i] == 0 && (width == 1 || data[extent->start + i + 1] == 0)) {
            return true;
        }
    }
    return false;
}

// libplist parses recursively and copies a shared object at every reference,
// so a small hostile file could exhaust the stack or the memory. Files nested
// deeper than this, or that expand to more objects, are refused.
constexpr std::uint64_t kMaxNesting = 512;
constexpr std::uint64_t kMaxExpandedObjects = 50000000;
constexpr unsigned char kArrayMarker = 0xa0;
constexpr unsigned char kSetMarker = 0xc0;
constexpr unsigned char kDictMarker = 0xd0;

struct BinaryLayout {
    unsigned char const* data;
    std::uint64_t tableStart;
    std::size_t offsetSize;
    std::size_t refSize;
    std::uint64_t objectCount;

    std::uint64_t OffsetOf(std::uint64_t index) const {
        return ReadBigEndian(data + tableStart + index * offsetSize, offsetSize);
    }
};

// One container on the walk: where its references are and which is next.
struct Frame {
    std::uint64_t index;
    std::uint64_t refsStart;
    std::uint64_t refCount;
    std::uint64_t next;
    std::uint64_t objects;
};

// The references of a container object (keys and values for a dictionary);
// none for other objects and for references that run out of the data.
Frame FrameFor(BinaryLayout const& layout, std::uint64_t index) {
    Frame frame{index, 0, 0, 0, 1};
    std::uint64_t offset = layout.OffsetOf(index);
    if (offset < kBinaryMagic.size() || offset >= layout.tableStart) {
        return frame;
    }
    unsigned char kind = layout.data[offset] & 0xf0;
    if (kind != kArrayMarker && kind != kSetMarker && kind != kDictMarker) {
        return frame;
    }
    std::optional<CountedExtent> extent = ExtentOf(layout.data, offset, layout.tableStart);
    std::uint64_t perEntry = kind == kDictMarker ? 2 : 1;
    if (!extent || extent->start > layout.tableStart ||
        extent->count > (layout.tableStart - extent->start) / layout.refSize / perEntry) {
        return frame;
    }
    frame.refsStart = extent->start;
    frame.refCount = extent->count * perEntry;
    return frame;
}

// Walks the objects reachable from the top one without recursion, counting
// each as often as libplist would copy it.
void CheckBinaryShape(BinaryLayout const& layout, std::uint64_t top) {
    enum class State : unsigned char { New, Open, Done };
    std::vector<State> state(layout.objectCount, State::New);
    std::vector<std::uint64_t> expanded(layout.objectCount, 1);
    std::vector<Frame> stack{FrameFor(layout, top)};
    state[top] = State::Open;
    while (!stack.empty()) {
        Frame& frame = stack.back();
        if (frame.next == frame.refCount) {
            std::uint64_t objects = frame.objects;
            state[frame.index] = State::Done;
            expanded[frame.index] = objects;
            stack.pop_back();
            if (!stack.empty()) {
                stack.back().objects += objects;
                if (stack.back().objects > kMaxExpandedObjects) {
                    throw PropertyListParseError("property list expands to too many objects");
                }
            }
            continue;
        }
        std::uint64_t child = ReadBigEndian(
            layout.data + frame.refsStart + frame.next * layout.refSize, layout.refSize);
        ++frame.next;
        if (child >= layout.objectCount) {
            continue; // libplist refuses it
        }
        if (state[child] == State::Open) {
            throw PropertyListParseError("property list refers to itself");
        }
        if (state[child] == State::Done) {
            frame.objects += expanded[child];
            continue;
        }
        if (stack.size() >= kMaxNesting) {
            throw PropertyListParseError("property list nested too deeply");
        }
        state[child] = State::Open;
        stack.push_back(FrameFor(layout, child));
    }
}

// Nesting of <array> and <dict> in XML text, counted from the tags alone.
void CheckXmlNesting(std::string_view text) {
    std::uint64_t depth = 0;
    for (std::size_t at = text.find('<'); at != std::string_view::npos;
         at = text.find('<', at + 1)) {
        std::string_view tag = text.substr(at + 1);
        bool closing = tag.starts_with('/');
        std::string_view name = closing ? tag.substr(1) : tag;
        if (!name.starts_with("array") && !name.starts_with("dict")) {
            continue;
        }
        std::size_t end = tag.find('>');
        bool empty = end != std::string_view::npos && end > 0 && tag[end - 1] == '/';
        if (closing) {
            depth -= depth > 0 ? 1 : 0;
        } else if (!empty && ++depth > kMaxNesting) {
            throw PropertyListParseError("property list nested too deeply");
        }
    }
}

// Walks the offset table of a binary property list: fixes every date object
// in place and refuses strings with NUL characters. Anything malformed is
// left for libplist to reject.
void PrepareBinary(std::string& bytes) {
    if (bytes.size() < kBinaryMagic.size() + kTrailerSize ||
        std::string_view(bytes).substr(0, kBinaryMagic.size()) != kBinaryMagic) {
        return;
    }
    auto* data = reinterpret_cast<unsigned char*>(bytes.data());
    unsigned char const* trailer = data + bytes.size() - kTrailerSize;
    std::size_t offsetSize = trailer[6];
    std::uint64_t objectCount = ReadBigEndian(trailer + 8, 8);
    std::uint64_t tableStart = ReadBigEndian(trailer + 24, 8);
    std::uint64_t tableLimit = bytes.size() - kTrailerSize;
    if (offsetSize < 1 || offsetSize > 8 || tableStart > tableLimit ||
        objectCount > (tableLimit - tableStart) / offsetSize) {
        return;
    }
    BinaryLayout layout{data, tableStart, offsetSize, trailer[7], objectCount};
    std::uint64_t top = ReadBigEndian(trailer + 16, 8);
    if (layout.refSize < 1 || layout.refSize > 8 || top >= objectCount) {
        return;
    }
    auto offsetOf = [&](std::uint64_t i) { return layout.OffsetOf(i); };
    // Objects may overlap in a hostile file, so every date is fixed before
    // any string is checked.
    for (std::uint64_t i = 0; i < objectCount; ++i) {
        std::uint64_t offset = offsetOf(i);
        if (offset >= kBinaryMagic.size() && offset < tableStart &&
            tableStart - offset >= kDateObjectSize && data[offset] == kDateMarker) {
            FixDateAt(data + offset);
        }
    }
    for (std::uint64_t i = 0; i < objectCount; ++i) {
        std::uint64_t offset = offsetOf(i);
        if (offset < kBinaryMagic.size() || offset >= tableStart) {
            continue;
        }
        unsigned char kind = data[offset] & 0xf0;
        if ((kind == kAsciiStringMarker || kind == kUtf16StringMarker) &&
            HoldsNul(data, offset, tableStart)) {
            throw PropertyListParseError("a string holds a NUL character");
        }
    }
    CheckBinaryShape(layout, top);
}

// Length of the UTF-8 sequence that starts with lead, 0 when it cannot start one.
int SequenceLength(unsigned char lead) {
    if (lead < 0x80) {
        return 1;
    }
    if (lead >= 0xc2 && lead <= 0xdf) {
        return 2;
    }
    if (lead >= 0xe0 && lead <= 0xef) {
        return 3;
    }
    if (lead >= 0xf0 && lead <= 0xf4) {
        return 4;
    }
    return 0;
}

// The allowed range of the second byte excludes overlong forms, UTF-16
// surrogates and code points above U+10FFFF.
bool SecondByteFits(unsigned char lead, unsigned char second) {
    switch (lead) {
    case 0xe0:
        return second >= 0xa0 && second <= 0xbf;
    case 0xed:
        return second >= 0x80 && second <= 0x9f;
    case 0xf0:
        return second >= 0x90 && second <= 0xbf;
    case 0xf4:
        return second >= 0x80 && second <= 0x8f;
    default:
        return second >= 0x80 && second <= 0xbf;
    }
}

} // namespace

AutoCFPropertyList ParsePropertyList(std::string& bytes) {
    if (bytes.size() > std::numeric_limits<std::uint32_t>::max()) {
        throw PropertyListParseError("property list larger than 4 GiB");
    }
    PrepareBinary(bytes);
    if (!std::string_view(bytes).starts_with(kBinaryMagic)) {
        CheckXmlNesting(bytes);
    }
    plist_t tree = nullptr;
    plist_from_memory(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &tree);
    if (tree == nullptr) {
        throw PropertyListParseError("not a property list");
    }
    return AutoCFPropertyList(tree);
}

std::string SerializeBinaryPropertyList(plist_t tree) {
    char* bytes = nullptr;
    std::uint32_t length = 0;
    plist_to_bin(tree, &bytes, &length);
    std::unique_ptr<char, void (*)(char*)> owner(bytes, plist_to_bin_free);
    if (bytes == nullptr) {
        throw ExceptionPL("libplist could not write the binary property list");
    }
    return std::string(bytes, length);
}

bool IsPropertyListText(std::string_view bytes) {
    auto const* p = reinterpret_cast<unsigned char const*>(bytes.data());
    auto const* end = p + bytes.size();
    while (p < end) {
        int length = SequenceLength(*p);
        if (length == 0 || *p == 0 || end - p < length ||
            (length > 1 && !SecondByteFits(p[0], p[1]))) {
            return false;
        }
        for (int i = 2; i < length; ++i) {
            if ((p[i] & 0xc0) != 0x80) {
                return false;
            }
        }
        p += length;
    }
    return true;
}
