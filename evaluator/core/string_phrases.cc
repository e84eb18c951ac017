// Properties, casts and operators of strings and substrings. Pieces of a
// string are substrings that point into it; nothing is copied except the
// strings that are built anew (case changes, concatenations).
#include <cstring>
#include <memory>

#include "evaluator/core/registrar.h"
#include "evaluator/helpers.h"

namespace {

using namespace zor::core;

// A string seen as a piece of itself, so strings and substrings are cut the
// same way and every piece points into the outermost whole.
substring AsPiece(inspector_string const& s) {
    return {s.pointer, s.length, s.pointer, s.length};
}
substring AsPiece(substring const& s) {
    return s;
}

// `length` bytes at `offset` within a piece, as a piece of the same whole.
substring Cut(substring const& within, std::size_t offset, std::size_t length) {
    return {within.pointer + offset, static_cast<std::uint32_t>(length), within.whole,
            within.wholeLength};
}

substring WholePiece(substring const& part) {
    return {part.whole, part.wholeLength, part.whole, part.wholeLength};
}

std::size_t OffsetOf(substring const& part) {
    return static_cast<std::size_t>(part.pointer - part.whole);
}

integer LengthOfString(inspector_string const& s) {
    return s.length;
}

template <class S> substring FirstCountOf(integer const& count, S const& s) {
    substring piece = AsPiece(s);
    if (count > piece.length)
        throw NoSuchObject();
    return Cut(piece, 0, static_cast<std::size_t>(count));
}

template <class S> substring LastCountOf(integer const& count, S const& s) {
    substring piece = AsPiece(s);
    if (count > piece.length)
        throw NoSuchObject();
    return Cut(piece, piece.length - static_cast<std::size_t>(count),
               static_cast<std::size_t>(count));
}

template <class S> substring FirstTextOf(inspector_string const& text, S const& s) {
    substring piece = AsPiece(s);
    std::size_t at = FindBytes(View(s), View(text));
    if (at == std::string_view::npos)
        throw NoSuchObject();
    return Cut(piece, at, text.length);
}

template <class S> substring LastTextOf(inspector_string const& text, S const& s) {
    substring piece = AsPiece(s);
    std::size_t at = View(s).rfind(View(text));
    if (at == std::string_view::npos)
        throw NoSuchObject();
    return Cut(piece, at, text.length);
}

template <class S> substring CharacterOf(integer const& index, S const& s) {
    substring piece = AsPiece(s);
    if (index >= piece.length)
        throw NoSuchObject();
    return Cut(piece, static_cast<std::size_t>(index), 1);
}

substring PrecedingTextOfSubstring(substring const& part) {
    return Cut(WholePiece(part), 0, OffsetOf(part));
}

substring FollowingTextOfSubstring(substring const& part) {
    std::size_t end = OffsetOf(part) + part.length;
    return Cut(WholePiece(part), end, part.wholeLength - end);
}

integer PositionOfSubstring(substring const& part) {
    return static_cast<integer>(OffsetOf(part));
}

inspector_string WholeOfSubstring(substring const& part) {
    return {part.whole, part.wholeLength};
}

template <unsigned char (*Convert)(unsigned char)>
inspector_string ConvertedString(inspector_string const& s) {
    unsigned char* copy = AllocateString(s.length);
    for (std::uint32_t i = 0; i < s.length; ++i)
        copy[i] = Convert(s.pointer[i]);
    return {copy, s.length};
}

inspector_string LowercaseOfString(inspector_string const& s) {
    return ConvertedString<&Ascii::ToLower>(s);
}
inspector_string UppercaseOfString(inspector_string const& s) {
    return ConvertedString<&Ascii::ToUpper>(s);
}

// The fields between occurrences of a separator, each a piece of the
// subject. An empty subject has one empty field; an empty separator never
// occurs, so the subject is then its own single field.
template <class S> class FieldIterator {
public:
    substring First(inspector_string const& separator, S const& subject) {
        next_ = 0;
        ended_ = false;
        return Next(separator, subject);
    }

    substring Next(inspector_string const& separator, S const& subject) {
        if (ended_)
            throw NoSuchObject();
        std::size_t at = separator.length == 0 ? std::string_view::npos
                                               : FindBytes(View(subject), View(separator), next_);
        std::size_t start = next_;
        if (at == std::string_view::npos) {
            ended_ = true;
            return Cut(AsPiece(subject), start, subject.length - start);
        }
        next_ = at + separator.length;
        return Cut(AsPiece(subject), start, at - start);
    }

private:
    std::size_t next_ = 0;
    bool ended_ = false;
};

// Pieces cut from a string or from a substring; those of a substring stay
// pieces of its whole, so their positions and surrounding text refer to it.
template <class S> struct PieceProperties {
    IndexedProperty<substring, integer, S> firstCount{"first", "firsts", &FirstCountOf<S>};
    IndexedProperty<substring, inspector_string, S> firstText{"first", "firsts", &FirstTextOf<S>};
    IndexedProperty<substring, integer, S> lastCount{"last", "lasts", &LastCountOf<S>};
    IndexedProperty<substring, inspector_string, S> lastText{"last", "lasts", &LastTextOf<S>};
    IndexedProperty<substring, integer, S> character{"character", "characters", &CharacterOf<S>};
    IteratedIndexedProperty<FieldIterator<S>, substring, inspector_string, S> fields{
        "substring separated by", "substrings separated by"};
};

ObjectProperty<integer, inspector_string> lengthOfString("length", "lengths", &LengthOfString);
PieceProperties<inspector_string> piecesOfString;
PieceProperties<substring> piecesOfSubstring;
ObjectProperty<substring, substring> precedingTextOfSubstring("preceding text", "preceding texts",
                                                              &PrecedingTextOfSubstring);
ObjectProperty<substring, substring> followingTextOfSubstring("following text", "following texts",
                                                              &FollowingTextOfSubstring);
ObjectProperty<integer, substring> positionOfSubstring("position", "positions",
                                                       &PositionOfSubstring);
ObjectProperty<integer, substring> startOfSubstring("start", "starts", &PositionOfSubstring);
ObjectProperty<inspector_string, substring> wholeOfSubstring("whole", "wholes", &WholeOfSubstring);
ObjectProperty<inspector_string, inspector_string> lowercaseOfString("lowercase", "lowercases",
                                                                     &LowercaseOfString);
ObjectProperty<inspector_string, inspector_string> uppercaseOfString("uppercase", "uppercases",
                                                                     &UppercaseOfString);

integer IntegerOfString(inspector_string const& s) {
    return ReadAsciiDecimalNumeral64(ConstData(s.pointer, s.length));
}

boolean BooleanOfString(inspector_string const& s) {
    ConstData text(s.pointer, s.length);
    if (CompareIgnoreCase(text, "true") == 0)
        return true;
    if (CompareIgnoreCase(text, "false") == 0)
        return false;
    throw MalformedText();
}

moment TimeOfString(inspector_string const& s) {
    return TextToTime(ConstData(s.pointer, s.length));
}

time_interval TimeIntervalOfString(inspector_string const& s) {
    return TextToTimeInterval(ConstData(s.pointer, s.length));
}

ipv4_address Ipv4AddressOfString(inspector_string const& s) {
    return TextToIpv4Address(ConstData(s.pointer, s.length));
}

// The components go to evaluation memory, aligned for 64-bit reads.
version VersionOfString(inspector_string const& s) {
    std::vector<std::uint64_t> components = TextToVersionComponents(ConstData(s.pointer, s.length));
    std::size_t bytes = components.size() * sizeof(std::uint64_t);
    std::size_t space = bytes + alignof(std::uint64_t);
    void* memory = Allocate_Inspector_Memory(space);
    void* aligned = std::align(alignof(std::uint64_t), bytes, memory, space);
    std::memcpy(aligned, components.data(), bytes);
    return {static_cast<std::uint64_t const*>(aligned),
            static_cast<std::uint32_t>(components.size())};
}

CastRegistration<inspector_string, integer> stringAsInteger(&IntegerOfString);
CastRegistration<inspector_string, boolean> stringAsBoolean(&BooleanOfString);
CastRegistration<inspector_string, moment> stringAsTime(&TimeOfString);
CastRegistration<inspector_string, time_interval> stringAsTimeInterval(&TimeIntervalOfString);
CastRegistration<inspector_string, ipv4_address> stringAsIpv4Address(&Ipv4AddressOfString);
CastRegistration<inspector_string, version> stringAsVersion(&VersionOfString);
CastRegistration<inspector_string, inspector_string> stringAsLowercase("lowercase",
                                                                       &LowercaseOfString);
CastRegistration<inspector_string, inspector_string> stringAsUppercase("uppercase",
                                                                       &UppercaseOfString);

inspector_string Concatenate(inspector_string const& a, inspector_string const& b) {
    if (a.length == 0)
        return b;
    if (b.length == 0)
        return a;
    std::size_t length = std::size_t{a.length} + b.length;
    unsigned char* joined = AllocateString(length);
    std::memcpy(joined, a.pointer, a.length);
    std::memcpy(joined + a.length, b.pointer, b.length);
    return {joined, static_cast<std::uint32_t>(length)};
}

std::strong_ordering CompareStrings(inspector_string const& a, inspector_string const& b) {
    return View(a).compare(View(b)) <=> 0;
}

boolean Contains(inspector_string const& s, inspector_string const& part) {
    return FindBytes(View(s), View(part)) != std::string_view::npos;
}

boolean StartsWith(inspector_string const& s, inspector_string const& part) {
    return View(s).starts_with(View(part));
}

boolean EndsWith(inspector_string const& s, inspector_string const& part) {
    return View(s).ends_with(View(part));
}

OperatorRegistration<inspector_string, inspector_string, inspector_string>
    concatenateStrings(kOperatorConcatenate, &Concatenate);
ComparisonRegistrations<inspector_string, inspector_string, &CompareStrings> compareStrings;
OperatorRegistration<inspector_string, inspector_string, boolean> stringContains(kOperatorContains,
                                                                                 &Contains);
OperatorRegistration<inspector_string, inspector_string, boolean>
    stringStartsWith(kOperatorStartsWith, &StartsWith);
OperatorRegistration<inspector_string, inspector_string, boolean> stringEndsWith(kOperatorEndsWith,
                                                                                 &EndsWith);

} // namespace
