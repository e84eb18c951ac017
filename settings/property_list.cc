#include "settings/property_list.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <optional>

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
