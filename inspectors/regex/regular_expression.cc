// The "regular expression" type, the phrases that compile one from a string,
// and the relations of a string to a compiled pattern.
#include <string>
#include <utility>

#include "framework/fingerprints.h"
#include "framework/memory.h"
#include "framework/prop.h"
#include "inspectors/regex/regex.h"
#include "inspectors/regex/subject.h"

regular_expression regular_expression_iterator::First(inspector_string const& pattern, int cflags) {
    ConstData const bytes = AsConstData(pattern);
    // An empty pattern is never taken from here: the empty text marks "nothing kept".
    bool const kept = !text_.empty() && flags_ == cflags && bytes == ConstData(text_);
    if (!kept) {
        // Compiled from a terminated copy, so an embedded NUL ends the pattern.
        // On failure the held pattern and its key stay as they were.
        std::string text(bytes.view());
        compiled_ = RegComp(text.c_str(), cflags);
        text_ = std::move(text);
        flags_ = cflags;
    }
    return {&compiled_.Get()};
}

regular_expression
regular_expression_iterator::FirstCaseSensitive(inspector_string const& pattern) {
    return First(pattern, REG_EXTENDED);
}

regular_expression
regular_expression_iterator::FirstCaseInsensitive(inspector_string const& pattern) {
    return First(pattern, REG_EXTENDED | REG_ICASE);
}

regular_expression regular_expression_iterator::Next(inspector_string const&) {
    throw NoSuchObject();
}

namespace {

// Searches the part of the subject from `start` on. Offsets in `match` are
// relative to the subject's first byte.
bool Search(regular_expression const& r, inspector_string const& s, char const* start, int eflags,
            unsigned long nmatch, regmatch_t* match) {
    return RegExecWithRegStartEnd(*r.compiled, SubjectBegin(s), start, SubjectEnd(s), eflags,
                                  nmatch, match);
}

} // namespace

boolean operator==(inspector_string const& s, regular_expression const& r) {
    // Leftmost-longest matching makes "spans the whole string" the same as
    // "the whole string matches", without anchoring the pattern.
    regmatch_t match;
    return Search(r, s, SubjectBegin(s), 0, 1, &match) && match.rm_so == 0 &&
           static_cast<std::uint32_t>(match.rm_eo) == s.length;
}

boolean operator==(regular_expression const& r, inspector_string const& s) {
    return s == r;
}

boolean Contains(inspector_string const& s, regular_expression const& r) {
    return Search(r, s, SubjectBegin(s), 0, 0, nullptr);
}

boolean StartsWith(inspector_string const& s, regular_expression const& r) {
    regmatch_t match;
    return Search(r, s, SubjectBegin(s), 0, 1, &match) && match.rm_so == 0;
}

boolean EndsWith(inspector_string const& s, regular_expression const& r) {
    // Tries every start position in turn, one byte after the previous one
    // (not after the match found), and the empty tail last; quadratic at
    // worst, so the host may interrupt between tries.
    char const* const begin = SubjectBegin(s);
    char const* const end = SubjectEnd(s);
    regmatch_t match;
    for (char const* start = begin;; ++start) {
        if (!Search(r, s, start, start == begin ? 0 : REG_NOTBOL, 1, &match)) {
            return false;
        }
        if (static_cast<std::uint32_t>(match.rm_eo) == s.length) {
            return true;
        }
        if (start == end) {
            return false;
        }
        CheckForInspectorInterruption();
    }
}

namespace {

Type<regular_expression> regular_expression_type;

Prop regex("regex", "regexes", &regular_expression_iterator::FirstCaseSensitive,
           &regular_expression_iterator::Next, DependsOnlyOnParameters);
Prop regularExpression("regular expression", "regular expressions",
                       &regular_expression_iterator::FirstCaseSensitive,
                       &regular_expression_iterator::Next, DependsOnlyOnParameters);
Prop caseInsensitiveRegex("case insensitive regex", "case insensitive regexes",
                          &regular_expression_iterator::FirstCaseInsensitive,
                          &regular_expression_iterator::Next, DependsOnlyOnParameters);
Prop caseInsensitiveRegularExpression("case insensitive regular expression",
                                      "case insensitive regular expressions",
                                      &regular_expression_iterator::FirstCaseInsensitive,
                                      &regular_expression_iterator::Next, DependsOnlyOnParameters);

RelationContains<inspector_string, regular_expression> contains(DependsOnlyOnParameters, Contains);
RelationEqual<inspector_string, regular_expression> equal(DependsOnlyOnParameters, operator==);
RelationEqual<regular_expression, inspector_string> equal2(DependsOnlyOnParameters, operator==);
RelationStartsWith<inspector_string, regular_expression> startsWith(DependsOnlyOnParameters,
                                                                    StartsWith);
RelationEndsWith<inspector_string, regular_expression> endsWith(DependsOnlyOnParameters, EndsWith);

} // namespace
