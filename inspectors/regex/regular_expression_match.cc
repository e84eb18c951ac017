// The "regular expression match" type, the matches of a pattern in a string
// and the parenthesized parts of a match.
#include <cstdint>

#include "framework/fingerprints.h"
#include "framework/memory.h"
#include "framework/prop.h"
#include "inspectors/regex/regex.h"
#include "inspectors/regex/subject.h"

namespace {

// Offsets are cut to 32 bits unchecked; the -1 of an unmatched part thus
// lands one byte before the subject. The address is computed as a number
// because that pointer is never read through.
unsigned char const* At(unsigned char const* subject, std::int32_t offset) {
    return reinterpret_cast<unsigned char const*>(reinterpret_cast<std::uintptr_t>(subject) +
                                                  static_cast<std::uintptr_t>(offset));
}

inspector_string WholeOf(regular_expression_match const& match) {
    return {match.whole, match.wholeLength};
}

} // namespace

substring MatchedPart(inspector_string subject, regmatch_t part) {
    return {At(subject.pointer, Asint32(part.rm_so)), Asuint32(part.rm_eo - part.rm_so),
            subject.pointer, subject.length};
}

regular_expression_match regular_expression_match_iterator::Found(inspector_string const& subject) {
    return {MatchedPart(subject, matches_[0]), &matches_};
}

regular_expression_match
regular_expression_match_iterator::First(inspector_string const& subject, Of,
                                         regular_expression const& expression) {
    char const* const begin = SubjectBegin(subject);
    if (!RegExec(*expression.compiled, begin, begin, SubjectEnd(subject), 0, matches_)) {
        throw NoSuchObject();
    }
    return Found(subject);
}

regular_expression_match
regular_expression_match_iterator::Next(inspector_string const& subject, Of,
                                        regular_expression const& expression) {
    CheckForInspectorInterruption();
    // Read before the search below overwrites the offsets.
    auto const previousStart = static_cast<std::uint32_t>(matches_.at(0).rm_so);
    if (previousStart >= subject.length) {
        throw NoSuchObject();
    }
    char const* const begin = SubjectBegin(subject);
    if (!RegExec(*expression.compiled, begin, begin + previousStart + 1, SubjectEnd(subject),
                 REG_NOTBOL, matches_)) {
        throw NoSuchObject();
    }
    return Found(subject);
}

regular_expression_match regular_expression_match_iterator::NoNext(inspector_string const&, Of,
                                                                   regular_expression const&) {
    throw NoSuchObject();
}

substring regular_expression_match_part_iterator::First(Of, regular_expression_match const& match) {
    position_ = 0;
    return Next(Of(), match);
}

substring regular_expression_match_part_iterator::Next(Of, regular_expression_match const& match) {
    ++position_;
    if (position_ >= match.matches->size()) {
        throw NoSuchObject();
    }
    return MatchedPart(WholeOf(match), (*match.matches)[position_]);
}

substring MatchPart(integer const& n, Of, regular_expression_match const& match) {
    if (n <= 0 || static_cast<std::uint64_t>(n) >= match.matches->size()) {
        throw NoSuchObject();
    }
    return MatchedPart(WholeOf(match), (*match.matches)[static_cast<std::size_t>(n)]);
}

namespace {

DerivedType<regular_expression_match, substring> regular_expression_match_type;

Prop match("match", "matches", &regular_expression_match_iterator::First,
           &regular_expression_match_iterator::Next, DependsOnlyOnParameters);
Prop firstMatch("first match", "first matches", &regular_expression_match_iterator::First,
                &regular_expression_match_iterator::NoNext, DependsOnlyOnParameters);
Prop parenthesizedParts("parenthesized part", "parenthesized parts",
                        &regular_expression_match_part_iterator::First,
                        &regular_expression_match_part_iterator::Next, DependsOnlyOnParameters);
Prop parenthesizedPart("parenthesized part", "parenthesized parts", MatchPart,
                       DependsOnlyOnParameters);

} // namespace
