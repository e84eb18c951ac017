// Input: one flag byte (bit 0: case insensitive), one byte giving the
// pattern's length, the pattern, then the subject. Runs every relation, the
// match iteration and each match's parts, and checks what must hold between
// them: offsets inside the subject, overlapping matches in order, equality
// implying starts-with and ends-with, parts by number equal to parts in turn.
#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <string>

#include "evaluator/errors.h"
#include "fuzz/require.h"
#include "inspectors/regex/regex.h"

namespace {

// Keeps the quadratic ends-with scan and the match iteration quick.
constexpr std::size_t kMaxSubject = 512;
constexpr int kMaxRepetitions = 6;

// Patterns that make the library itself slow (large repetition counts, long
// chains of repetition operators) test nothing of ours; they are skipped.
bool HeavyForTheLibrary(std::string const& pattern) {
    int digits = 0;
    int repetitions = 0;
    for (char c : pattern) {
        digits = std::isdigit(static_cast<unsigned char>(c)) ? digits + 1 : 0;
        if (c == '*' || c == '+' || c == '?' || c == '{') {
            ++repetitions;
        }
        if (digits >= 3 || repetitions > kMaxRepetitions) {
            return true;
        }
    }
    return false;
}

void RequireInside(substring const& piece, inspector_string const& subject) {
    Require(piece.whole == subject.pointer && piece.wholeLength == subject.length);
    Require(piece.pointer >= subject.pointer);
    Require(piece.pointer + piece.length <= subject.pointer + subject.length);
}

void CheckParts(regular_expression_match const& match, inspector_string const& subject) {
    regular_expression_match_part_iterator parts;
    std::size_t seen = 0;
    try {
        for (substring part = parts.First(Of(), match);; part = parts.Next(Of(), match)) {
            ++seen;
            if ((*match.matches)[seen].rm_so == -1) {
                Require(part.length == 0);
            } else {
                RequireInside(part, subject);
            }
            substring const numbered = MatchPart(static_cast<integer>(seen), Of(), match);
            Require(numbered.pointer == part.pointer && numbered.length == part.length);
        }
    } catch (NoSuchObject const&) {
    }
    // Every group is a part, matched or not.
    Require(seen + 1 == match.matches->size());
}

// Walks every match; returns how many there were.
std::size_t CheckMatches(regular_expression const& r, inspector_string const& subject,
                         bool startsWith) {
    regular_expression_match_iterator matches;
    std::size_t count = 0;
    unsigned char const* previous = nullptr;
    try {
        for (regular_expression_match m = matches.First(subject, Of(), r);;
             m = matches.Next(subject, Of(), r)) {
            RequireInside(m, subject);
            Require(previous == nullptr || m.pointer > previous);
            Require(count > 0 || startsWith == (m.pointer == subject.pointer));
            previous = m.pointer;
            CheckParts(m, subject);
            ++count;
        }
    } catch (NoSuchObject const&) {
    }
    Require(count <= subject.length + 1);
    return count;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    if (size < 2) {
        return 0;
    }
    bool const insensitive = data[0] & 1;
    std::size_t const patternLength = std::min<std::size_t>(data[1], size - 2);
    std::string const pattern(reinterpret_cast<char const*>(data + 2), patternLength);
    std::size_t const subjectLength = std::min(size - 2 - patternLength, kMaxSubject);
    if (HeavyForTheLibrary(pattern)) {
        return 0;
    }
    inspector_string const patternText{reinterpret_cast<unsigned char const*>(pattern.data()),
                                       static_cast<std::uint32_t>(pattern.size())};
    // The subject is a view into the input, with more input after it.
    inspector_string const subject{data + 2 + patternLength,
                                   static_cast<std::uint32_t>(subjectLength)};

    regular_expression_iterator compiler;
    regular_expression r;
    try {
        r = insensitive ? compiler.FirstCaseInsensitive(patternText)
                        : compiler.FirstCaseSensitive(patternText);
    } catch (RegComp_Failed const&) {
        return 0;
    }
    bool const equal = subject == r;
    Require(equal == (r == subject));
    bool const startsWith = StartsWith(subject, r);
    bool const endsWith = EndsWith(subject, r);
    bool const contains = Contains(subject, r);
    Require(!equal || (startsWith && endsWith));
    Require(!startsWith || contains);
    Require(!endsWith || contains);
    std::size_t const count = CheckMatches(r, subject, startsWith);
    Require(contains == (count > 0));
    return 0;
}
