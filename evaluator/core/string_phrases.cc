// Properties, casts and operators of strings and substrings. Pieces of a
// string are substrings that point into it; nothing is copied except the
// strings that are built anew (case changes, concatenations).
#include <cstring>
#include <memory>

#include "evaluator/core/registrar.h"
#include "evaluator/helpers.h"

namespace {

using namespace zor::core;

substring Piece(inspector_string const& whole, std::size_t offset, std::size_t length) {
    return {whole.pointer + offset, static_cast<std::uint32_t>(length), whole.pointer,
            whole.length};
}

inspector_string WholeOf(substring const& part) {
    return {part.whole, part.wholeLength};
}

std::size_t OffsetOf(substring const& part) {
    return static_cast<std::size_t>(part.pointer - part.whole);
}

integer LengthOfString(inspector_string const& s) {
    return s.length;
}

substring FirstCountOfString(integer const& count, inspector_string const& s) {
    if (count > s.length)
        throw NoSuchObject();
    return Piece(s, 0, static_cast<std::size_t>(count));
}

substring LastCountOfString(integer const& count, inspector_string const& s) {
    if (count > s.length)
        throw NoSuchObject();
    return Piece(s, s.length - static_cast<std::size_t>(count), static_cast<std::size_t>(count));
}

substring FirstTextOfString(inspector_string const& text, inspector_string const& s) {
    std::size_t at = View(s).find(View(text));
    if (at == std::string_view::npos)
        throw NoSuchObject();
    return Piece(s, at, text.length);
}

substring LastTextOfString(inspector_string const& text, inspector_string const& s) {
    std::size_t at = View(s).rfind(View(text));
    if (at == std::string_view::npos)
        throw NoSuchObject();
    return Piece(s, at, text.length);
}

substring CharacterOfString(integer const& index, inspector_string const& s) {
    if (index >= s.length)
        throw NoSuchObject();
    return Piece(s, static_cast<std::size_t>(index), 1);
}

substring PrecedingTextOfSubstring(substring const& part) {
    return Piece(WholeOf(part), 0, OffsetOf(part));
}

substring FollowingTextOfSubstring(substring const& part) {
    std::size_t end = OffsetOf(part) + part.length;
    return Piece(WholeOf(part), end, part.wholeLength - end);
}

integer PositionOfSubstring(substring const& part) {
    return static_cast<integer>(OffsetOf(part));
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

// The fields between occurrences of a separator, each a substring of the
// subject. An empty subject has one empty field; an empty separator never
// occurs, so the subject is then its own single field.
class FieldIterator {
public:
    substring First(inspector_string const& separator, inspector_string const& subject) {
        next_ = 0;
        ended_ = false;
        return Next(separator, subject);
    }

    substring Next(inspector_string const& separator, inspector_string const& subject) {
        if (ended_)
            throw NoSuchObject();
        std::size_t at = separator.length == 0 ? std::string_view::npos
                                               : View(subject).find(View(separator), next_);
        std::size_t start = next_;
        if (at == std::string_view::npos) {
            ended_ = true;
            return Piece(subject, start, subject.length - start);
        }
        next_ = at + separator.length;
        return Piece(subject, start, at - start);
    }

private:
    std::size_t next_ = 0;
    bool ended_ = false;
};

ObjectProperty<integer, inspector_string> lengthOfString("length", "lengths", &LengthOfString);
IndexedProperty<substring, integer, inspector_string> firstCountOfString("first", "firsts",
                                                                         &FirstCountOfString);
IndexedProperty<substring, inspector_string, inspector_string>
    firstTextOfString("first", "firsts", &FirstTextOfString);
IndexedProperty<substring, integer, inspector_string> lastCountOfString("last", "lasts",
                                                                        &LastCountOfString);
IndexedProperty<substring, inspector_string, inspector_string> lastTextOfString("last", "lasts",
                                                                                &LastTextOfString);
IndexedProperty<substring, integer, inspector_string> characterOfString("character", "characters",
                                                                        &CharacterOfString);
ObjectProperty<substring, substring> precedingTextOfSubstring("preceding text", "preceding texts",
                                                              &PrecedingTextOfSubstring);
ObjectProperty<substring, substring> followingTextOfSubstring("following text", "following texts",
                                                              &FollowingTextOfSubstring);
ObjectProperty<integer, substring> positionOfSubstring("position", "positions",
                                                       &PositionOfSubstring);
ObjectProperty<integer, substring> startOfSubstring("start", "starts", &PositionOfSubstring);
ObjectProperty<inspector_string, substring> wholeOfSubstring("whole", "wholes", &WholeOf);
ObjectProperty<inspector_string, inspector_string> lowercaseOfString("lowercase", "lowercases",
                                                                     &LowercaseOfString);
ObjectProperty<inspector_string, inspector_string> uppercaseOfString("uppercase", "uppercases",
                                                                     &UppercaseOfString);
IteratedIndexedProperty<FieldIterator, substring, inspector_string, inspector_string>
    substringsSeparatedBy("substring separated by", "substrings separated by");

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
    return View(s).find(View(part)) != std::string_view::npos;
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
