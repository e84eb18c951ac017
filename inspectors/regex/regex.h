// Regular expressions in the language: POSIX extended patterns made from
// strings, the relations of a string to a pattern, the matches of a pattern
// in a string (overlapping: each search starts one byte after the previous
// match's start) and the parenthesized parts of a match.
//
// Values point into the iterator that produced them: a regular expression
// at the pattern its iterator compiled, a match and its parts at the offset
// vector of its match iterator and at the subject's bytes. Subjects are
// never copied.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "evaluator/values.h"
#include "framework/registration.h"
#include "platform/linux/regex.h"

// A compiled pattern owned by the regular_expression_iterator that made it.
struct regular_expression {
    static char const* TypeName() { return "regular expression"; }
    regex_t const* compiled;
};

// A match: the matched text as a substring of the subject, and the offsets of
// the whole match (entry 0) and of each parenthesized part (entries 1...),
// owned by the regular_expression_match_iterator that found it.
struct regular_expression_match : substring {
    static char const* TypeName() { return "regular expression match"; }
    std::vector<regmatch_t> const* matches;
};

// Compiles the pattern of a "regex" phrase. Keeps the last compiled pattern
// with its text and flags, and reuses it when both are asked for again.
class regular_expression_iterator {
public:
    regular_expression First(inspector_string const& pattern, int cflags);
    regular_expression FirstCaseSensitive(inspector_string const& pattern);
    regular_expression FirstCaseInsensitive(inspector_string const& pattern);
    // Each "regex" phrase yields exactly one value.
    regular_expression Next(inspector_string const& pattern);

private:
    AutoRegex compiled_;
    std::string text_;
    int flags_ = 0;
};

// The matches of a pattern in a subject string. The subject is the object and
// the pattern the index of "match", so the members take them in that order.
class regular_expression_match_iterator {
public:
    regular_expression_match First(inspector_string const& subject, Of,
                                   regular_expression const& expression);
    // The next match starts one byte after the previous match's start.
    regular_expression_match Next(inspector_string const& subject, Of,
                                  regular_expression const& expression);
    // For "first match": there is never a second one.
    regular_expression_match NoNext(inspector_string const& subject, Of,
                                    regular_expression const& expression);

private:
    regular_expression_match Found(inspector_string const& subject);

    std::vector<regmatch_t> matches_;
};

// Parts 1 ... re_nsub of a match, in order; the whole match is never a part.
class regular_expression_match_part_iterator {
public:
    substring First(Of, regular_expression_match const& match);
    substring Next(Of, regular_expression_match const& match);

private:
    std::size_t position_ = 0;
};

// The whole string matches: the leftmost-longest match spans all of it.
boolean operator==(inspector_string const& s, regular_expression const& r);
boolean operator==(regular_expression const& r, inspector_string const& s);
boolean Contains(inspector_string const& s, regular_expression const& r);
// The leftmost match starts at the beginning.
boolean StartsWith(inspector_string const& s, regular_expression const& r);
// Some match, searched from each start position in turn, reaches the end.
boolean EndsWith(inspector_string const& s, regular_expression const& r);

// Part n of a match; parts are counted from 1.
substring MatchPart(integer const& n, Of, regular_expression_match const& match);
// The piece of the subject one offset pair covers. A part that took no part in
// the match (offsets -1) gives an empty piece.
substring MatchedPart(inspector_string subject, regmatch_t part);
