#include "settings/property_list.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <optional>
#include <unordered_map>
#include <vector>

#include "util/plist_guard.h"

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

constexpr unsigned char kDateMarker = 0x33; // followed by a big-endian float64
constexpr std::size_t kDateObjectSize = 9;
constexpr double kMicrosecondsPerSecond = 1000000.0;

// libplist keeps a date's seconds in 32 bits; outside this span they wrap.
constexpr double kEarliestDate = std::numeric_limits<std::int32_t>::min();
constexpr double kLatestDate = std::numeric_limits<std::int32_t>::max() + 0.999999;

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

// Sets every date object of a binary property list to a value libplist
// reads back exactly. Anything malformed is left for the guard to refuse.
void FixDates(std::string& bytes) {
    std::optional<BinaryPropertyListTable> t =
        ReadBinaryPropertyListTable(ConstData(bytes.data(), bytes.size()));
    for (std::uint64_t i = 0; t && i < t->objects; ++i) {
        std::optional<std::size_t> offset = t->OffsetOf(i);
        if (offset && t->table - *offset >= kDateObjectSize && t->data[*offset] == kDateMarker) {
            FixDateAt(reinterpret_cast<unsigned char*>(bytes.data()) + *offset);
        }
    }
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
    // Dates are fixed first: in a hostile file they may overlap the strings
    // the guard checks.
    FixDates(bytes);
    if (std::optional<std::string> hazard =
            PropertyListHazard(ConstData(bytes.data(), bytes.size()))) {
        throw PropertyListParseError(*hazard);
    }
    plist_t tree = nullptr;
    plist_from_memory(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &tree);
    if (tree == nullptr) {
        throw PropertyListParseError("not a property list");
    }
    return AutoCFPropertyList(tree);
}

namespace {

// Object markers of the binary form.
constexpr unsigned char kDataMarker = 0x40;
constexpr unsigned char kAsciiMarker = 0x50;
constexpr unsigned char kUtf16Marker = 0x60;
constexpr unsigned char kArrayMarker = 0xa0;
constexpr unsigned char kDictionaryMarker = 0xd0;
constexpr unsigned char kIntegerMarker = 0x10;
constexpr std::uint64_t kLongCount = 15; // from here the count follows as an integer

// Bytes needed for value as a big-endian unsigned number: 1, 2, 4 or 8.
std::size_t WidthFor(std::uint64_t value) {
    return value <= 0xff ? 1 : value <= 0xffff ? 2 : value <= 0xffffffff ? 4 : 8;
}

void AppendBigEndian(std::string& out, std::uint64_t value, std::size_t width) {
    for (std::size_t i = width; i-- > 0;) {
        out.push_back(static_cast<char>((value >> (8 * i)) & 0xff));
    }
}

// UTF-8 text as big-endian UTF-16 code units; the text must be valid.
std::u16string AsUtf16(std::string_view text) {
    std::u16string units;
    units.reserve(text.size());
    auto const* p = reinterpret_cast<unsigned char const*>(text.data());
    auto const* end = p + text.size();
    while (p < end) {
        int length = SequenceLength(*p);
        std::uint32_t code = length == 1 ? *p : (*p & (0x7f >> length));
        for (int i = 1; i < length; ++i) {
            code = (code << 6) | (p[i] & 0x3f);
        }
        p += length;
        if (code >= 0x10000) {
            code -= 0x10000;
            units.push_back(static_cast<char16_t>(0xd800 + (code >> 10)));
            code = 0xdc00 + (code & 0x3ff);
        }
        units.push_back(static_cast<char16_t>(code));
    }
    return units;
}

// A date node's value as stored. libplist hands out its fraction truncated
// to the microsecond below and without its sign, so the node is compared
// with the nodes each candidate makes; a node that matches none was read
// from a file, where the fraction was already made exact.
double StoredDate(plist_t date) {
    std::int32_t seconds = 0;
    std::int32_t microseconds = 0;
    plist_get_date_val(date, &seconds, &microseconds);
    int sign = seconds < 0 ? -1 : 1;
    for (int candidateSign : {sign, seconds == 0 ? -1 : sign}) {
        for (std::int32_t fraction : {microseconds + 1, microseconds}) {
            AutoCFPropertyList candidate(plist_new_date(seconds, candidateSign * fraction));
            if (plist_compare_node_value(date, candidate.Get()) != 0) {
                return static_cast<double>(seconds) +
                       candidateSign * fraction / kMicrosecondsPerSecond;
            }
        }
    }
    return static_cast<double>(seconds) + sign * microseconds / kMicrosecondsPerSecond;
}

// The binary writer for the kinds the stores write (dictionaries, arrays,
// strings, data, dates). It numbers every object once, sharing equal
// strings, so its cost grows with the size of the tree alone.
class BinaryWriter {
public:
    // False when the tree holds a kind this writer leaves to libplist.
    bool Number(plist_t tree) { return Visit(tree).has_value(); }

    // The numbered tree as a binary list with its first object on top.
    std::string Write() const {
        std::string out = "bplist00";
        std::size_t refWidth = WidthFor(objects_.size() - 1);
        std::vector<std::uint64_t> offsets;
        offsets.reserve(objects_.size());
        for (Object const& object : objects_) {
            offsets.push_back(out.size());
            WriteObject(out, object, refWidth);
        }
        std::uint64_t table = out.size();
        std::size_t offsetWidth = WidthFor(table);
        for (std::uint64_t offset : offsets) {
            AppendBigEndian(out, offset, offsetWidth);
        }
        out.append(6, '\0');
        out.push_back(static_cast<char>(offsetWidth));
        out.push_back(static_cast<char>(refWidth));
        AppendBigEndian(out, objects_.size(), 8);
        AppendBigEndian(out, 0, 8); // the top object is the first one
        AppendBigEndian(out, table, 8);
        return out;
    }

private:
    struct Object {
        plist_type kind;
        plist_t node;          // data and dates
        std::string_view text; // strings
        std::size_t firstRef;  // containers: their references in refs_
        std::size_t count;
    };

    std::optional<std::uint64_t> Visit(plist_t node) {
        switch (plist_get_node_type(node)) {
        case PLIST_STRING: {
            std::uint64_t length = 0;
            char const* text = plist_get_string_ptr(node, &length);
            std::string_view view(text, length);
            // Never written by a store (text with NUL is data), and no
            // binary string may hold one: left to libplist, as before.
            if (view.find('\0') != std::string_view::npos) {
                return std::nullopt;
            }
            return Text(view);
        }
        case PLIST_DATA:
        case PLIST_DATE:
            objects_.push_back({plist_get_node_type(node), node, {}, 0, 0});
            return objects_.size() - 1;
        case PLIST_ARRAY:
            return Container(node, PLIST_ARRAY, plist_array_get_size(node));
        case PLIST_DICT:
            return Container(node, PLIST_DICT, plist_dict_get_size(node));
        default:
            return std::nullopt;
        }
    }

    // Each distinct text becomes one object; keys reuse it as often as they occur.
    std::uint64_t Text(std::string_view text) {
        auto [found, added] = strings_.try_emplace(text, objects_.size());
        if (added) {
            objects_.push_back({PLIST_STRING, nullptr, text, 0, 0});
        }
        return found->second;
    }

    std::uint64_t Key(char* owned) {
        std::unique_ptr<char, void (*)(void*)> key(owned, std::free);
        std::string_view text(owned);
        if (auto found = strings_.find(text); found != strings_.end()) {
            return found->second;
        }
        keys_.push_back(std::move(key));
        return Text(text);
    }

    // References go to refs_ at places reserved before the children are
    // numbered, since children add containers of their own.
    std::optional<std::uint64_t> Container(plist_t node, plist_type kind, std::uint32_t count) {
        std::size_t index = objects_.size();
        std::size_t first = refs_.size();
        std::size_t perItem = kind == PLIST_DICT ? 2 : 1;
        objects_.push_back({kind, node, {}, first, count});
        refs_.resize(first + perItem * count);
        if (kind == PLIST_ARRAY) {
            plist_array_iter rawIterator = nullptr;
            plist_array_new_iter(node, &rawIterator);
            std::unique_ptr<void, void (*)(void*)> iterator(rawIterator, std::free);
            for (std::size_t i = 0; i < count; ++i) {
                plist_t value = nullptr;
                plist_array_next_item(node, rawIterator, &value);
                std::optional<std::uint64_t> item = Visit(value);
                if (!item) {
                    return std::nullopt;
                }
                refs_[first + i] = *item;
            }
            return index;
        }
        plist_dict_iter rawIterator = nullptr;
        plist_dict_new_iter(node, &rawIterator);
        std::unique_ptr<void, void (*)(void*)> iterator(rawIterator, std::free);
        for (std::size_t i = 0; i < count; ++i) {
            char* key = nullptr;
            plist_t value = nullptr;
            plist_dict_next_item(node, rawIterator, &key, &value);
            refs_[first + i] = Key(key);
            std::optional<std::uint64_t> item = Visit(value);
            if (!item) {
                return std::nullopt;
            }
            refs_[first + count + i] = *item;
        }
        return index;
    }

    static void WriteMarker(std::string& out, unsigned char marker, std::uint64_t count) {
        if (count < kLongCount) {
            out.push_back(static_cast<char>(marker | count));
            return;
        }
        out.push_back(static_cast<char>(marker | 0x0f));
        std::size_t width = WidthFor(count);
        out.push_back(static_cast<char>(kIntegerMarker | std::countr_zero(width)));
        AppendBigEndian(out, count, width);
    }

    void WriteObject(std::string& out, Object const& object, std::size_t refWidth) const {
        switch (object.kind) {
        case PLIST_STRING:
            WriteText(out, object.text);
            break;
        case PLIST_DATA: {
            std::uint64_t length = 0;
            char const* bytes = plist_get_data_ptr(object.node, &length);
            WriteMarker(out, kDataMarker, length);
            out.append(bytes, length);
            break;
        }
        case PLIST_DATE:
            out.push_back(static_cast<char>(kDateMarker));
            AppendBigEndian(
                out,
                std::bit_cast<std::uint64_t>(DateThatReadsBackExactly(StoredDate(object.node))), 8);
            break;
        default: {
            bool dictionary = object.kind == PLIST_DICT;
            WriteMarker(out, dictionary ? kDictionaryMarker : kArrayMarker, object.count);
            std::size_t end = object.firstRef + object.count * (dictionary ? 2 : 1);
            for (std::size_t i = object.firstRef; i < end; ++i) {
                AppendBigEndian(out, refs_[i], refWidth);
            }
        }
        }
    }

    // ASCII as it is; other valid UTF-8 as UTF-16. Bytes that are not
    // UTF-8 are kept unchanged in the one-byte form, which libplist reads back as they are.
    static void WriteText(std::string& out, std::string_view text) {
        bool ascii = std::all_of(text.begin(), text.end(),
                                 [](char c) { return static_cast<unsigned char>(c) < 0x80; });
        if (ascii || !IsPropertyListText(text)) {
            WriteMarker(out, kAsciiMarker, text.size());
            out.append(text);
            return;
        }
        std::u16string units = AsUtf16(text);
        WriteMarker(out, kUtf16Marker, units.size());
        for (char16_t unit : units) {
            AppendBigEndian(out, unit, 2);
        }
    }

    std::vector<Object> objects_;
    std::vector<std::uint64_t> refs_;
    std::unordered_map<std::string_view, std::uint64_t> strings_;
    std::vector<std::unique_ptr<char, void (*)(void*)>> keys_; // the texts of keys
};

} // namespace

std::optional<std::string> WriteBinaryPropertyList(plist_t tree) {
    BinaryWriter writer;
    if (tree == nullptr || !writer.Number(tree)) {
        return std::nullopt;
    }
    return writer.Write();
}

std::string SerializeBinaryPropertyList(plist_t tree) {
    if (std::optional<std::string> written = WriteBinaryPropertyList(tree)) {
        return std::move(*written);
    }
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
