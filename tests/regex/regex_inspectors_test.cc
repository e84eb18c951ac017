// The regex inspectors against the recording stand-in of the registration
// API: the registration table in its order, compilation and its cache, the
// four relations, overlapping match iteration, parenthesized parts, and the
// interruption checks of the long loops. Subjects are views of buffers that
// go on past the subject's end, so any read beyond it changes an answer.
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "evaluator/errors.h"
#include "framework/fingerprints.h"
#include "inspectors/regex/regex.h"
#include "tests/framework/fake_registry.h"

using fake::Call;
using fake::Record;

namespace {

inspector_string View(char const* bytes, std::size_t length) {
    return {reinterpret_cast<unsigned char const*>(bytes), static_cast<std::uint32_t>(length)};
}

inspector_string View(std::string const& text) {
    return View(text.data(), text.size());
}

std::string Text(substring const& piece) {
    return std::string(reinterpret_cast<char const*>(piece.pointer), piece.length);
}

// Each test compiles its patterns through its own iterator, as the evaluator
// would for one "regex" phrase.
class Compiler {
public:
    regular_expression Regex(std::string const& pattern) {
        return compiler_.FirstCaseSensitive(View(pattern));
    }
    regular_expression CaseInsensitive(std::string const& pattern) {
        return compiler_.FirstCaseInsensitive(View(pattern));
    }

private:
    regular_expression_iterator compiler_;
};

// Every match the "match" iteration yields, as its start offset and text.
struct Found {
    long start;
    std::string text;
    bool operator==(Found const&) const = default;
};

std::vector<Found> Matches(std::string const& pattern, inspector_string subject) {
    Compiler compiler;
    regular_expression const r = compiler.Regex(pattern);
    regular_expression_match_iterator matches;
    std::vector<Found> found;
    try {
        for (regular_expression_match m = matches.First(subject, Of(), r);;
             m = matches.Next(subject, Of(), r)) {
            EXPECT_EQ(m.whole, subject.pointer);
            EXPECT_EQ(m.wholeLength, subject.length);
            found.push_back({m.pointer - subject.pointer, Text(m)});
        }
    } catch (NoSuchObject const&) {
    }
    return found;
}

std::vector<Found> Matches(std::string const& pattern, std::string const& subject) {
    return Matches(pattern, View(subject));
}

// Bytes of the compiled pattern: a recompile allocates the new pattern while
// the old one is still held, so its internals cannot land at the same place.
std::array<unsigned char, sizeof(regex_t)> Snapshot(regular_expression r) {
    std::array<unsigned char, sizeof(regex_t)> bytes;
    std::memcpy(bytes.data(), r.compiled, sizeof(regex_t));
    return bytes;
}

} // namespace

// Phrases, operand types and operators are exercised end to end; the order,
// the fingerprints and the sizes the evaluator reserves are not.
TEST(RegexInspectors, RegisteredInTheFamilyOrder) {
    using C = Call;
    std::vector<std::pair<Call, std::string>> const expected = {
        {C::RegisterType, "regular expression"},
        {C::RegisterIteratedProperty, "regex"},
        {C::RegisterIteratedProperty, "regular expression"},
        {C::RegisterIteratedProperty, "case insensitive regex"},
        {C::RegisterIteratedProperty, "case insensitive regular expression"},
        {C::RegisterBinaryOperator, ""},
        {C::RegisterBinaryOperator, ""},
        {C::RegisterBinaryOperator, ""},
        {C::RegisterBinaryOperator, ""},
        {C::RegisterBinaryOperator, ""},
        {C::RegisterType, "regular expression match"},
        {C::RegisterIteratedProperty, "match"},
        {C::RegisterIteratedProperty, "first match"},
        {C::RegisterIteratedProperty, "parenthesized part"},
        {C::RegisterProperty, "parenthesized part"},
    };
    std::vector<Record> const& log = fake::Log();
    ASSERT_EQ(log.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(log[i].call, expected[i].first);
        EXPECT_EQ(log[i].phrase, expected[i].second);
        if (log[i].call != Call::RegisterType) {
            EXPECT_EQ(log[i].fingerprint, &DependsOnlyOnParameters);
        }
    }
    EXPECT_EQ(log[0].valueSize, sizeof(regular_expression));
    EXPECT_FALSE(log[0].baseName.has_value());
    EXPECT_EQ(log[10].valueSize, sizeof(regular_expression_match));
    EXPECT_EQ(log[10].baseName, std::optional<std::string>("substring"));
    EXPECT_EQ(log[1].stateSize, sizeof(regular_expression_iterator));
    EXPECT_EQ(log[11].stateSize, sizeof(regular_expression_match_iterator));
    EXPECT_EQ(log[13].stateSize, sizeof(regular_expression_match_part_iterator));
}

TEST(RegexInspectors, ThunksTakeThePatternAsIndexAndTheSubjectAsObject) {
    std::vector<Record> const& log = fake::Log();
    Record const& regex = log[1];
    Record const& contains = log[5];
    Record const& match = log[11];

    std::string const pattern = "b+";
    inspector_string const index = View(pattern);
    alignas(
        regular_expression_iterator) unsigned char compiler[sizeof(regular_expression_iterator)];
    regex.construct(compiler);
    regular_expression r{};
    regex.first(&r, &index, nullptr, compiler, regex.userData);
    ASSERT_NE(r.compiled, nullptr);
    regular_expression second{};
    EXPECT_THROW(regex.next(&second, &index, nullptr, compiler, regex.userData), NoSuchObject);

    std::string const subject = "abbc";
    inspector_string const object = View(subject);
    boolean answer = false;
    contains.op(&answer, &object, &r, contains.userData);
    EXPECT_TRUE(answer);

    alignas(regular_expression_match_iterator) unsigned char
        matcher[sizeof(regular_expression_match_iterator)];
    match.construct(matcher);
    regular_expression_match m{};
    match.first(&m, &r, &object, matcher, match.userData);
    EXPECT_EQ(Text(m), "bb");
    match.next(&m, &r, &object, matcher, match.userData);
    EXPECT_EQ(Text(m), "b");
    EXPECT_THROW(match.next(&m, &r, &object, matcher, match.userData), NoSuchObject);
    match.destroy(matcher);
    regex.destroy(compiler);
}

TEST(RegexInspectors, CompiledPatternsAreKeptByTextAndFlags) {
    regular_expression_iterator compiler;
    std::string const pattern = "a.c";
    regular_expression const first = compiler.FirstCaseSensitive(View(pattern));
    auto const compiled = Snapshot(first);

    // Same text (another copy of it) and flags: the kept pattern, untouched.
    std::string const again = pattern;
    regular_expression const reused = compiler.FirstCaseSensitive(View(again));
    EXPECT_EQ(reused.compiled, first.compiled);
    EXPECT_EQ(Snapshot(reused), compiled);

    // Other flags compile again, and so does going back.
    regular_expression const insensitive = compiler.FirstCaseInsensitive(View(pattern));
    EXPECT_NE(Snapshot(insensitive), compiled);
    EXPECT_TRUE(View("ABC") == insensitive);
    auto const insensitiveBytes = Snapshot(insensitive);
    regular_expression const sensitive = compiler.FirstCaseSensitive(View(pattern));
    EXPECT_NE(Snapshot(sensitive), insensitiveBytes);
    EXPECT_FALSE(View("ABC") == sensitive);
    auto const sensitiveBytes = Snapshot(sensitive);

    // A bad pattern fails and leaves the kept pattern and its key in place.
    std::string const bad = "a(";
    EXPECT_THROW(compiler.FirstCaseSensitive(View(bad)), RegComp_Failed);
    regular_expression const after = compiler.FirstCaseSensitive(View(pattern));
    EXPECT_EQ(Snapshot(after), sensitiveBytes);
    EXPECT_TRUE(View("abc") == after);

    // The empty pattern is compiled on every call.
    std::string const empty;
    auto const emptyOnce = Snapshot(compiler.FirstCaseSensitive(View(empty)));
    auto const emptyTwice = Snapshot(compiler.FirstCaseSensitive(View(empty)));
    EXPECT_NE(emptyOnce, emptyTwice);

    // A pattern is cut at an embedded NUL, but kept under its whole text.
    std::string const withNul("a\0b", 3);
    regular_expression const cut = compiler.FirstCaseSensitive(View(withNul));
    EXPECT_TRUE(View("a") == cut);
    EXPECT_FALSE(View("ab") == cut);
    auto const cutBytes = Snapshot(cut);
    EXPECT_EQ(Snapshot(compiler.FirstCaseSensitive(View(withNul))), cutBytes);
    EXPECT_NE(Snapshot(compiler.FirstCaseSensitive(View("a", 1))), cutBytes);
}

TEST(RegexInspectors, EqualityMeansTheWholeStringMatches) {
    Compiler c;
    std::string const abc = "abc";
    EXPECT_FALSE(c.Regex("b") == View(abc));
    EXPECT_FALSE(View(abc) == c.Regex("bc")) << "a match that spans only the end";
    EXPECT_FALSE(View(abc) == c.Regex("ab"));
    EXPECT_TRUE(View(abc) == c.Regex("ab|abc"));
    EXPECT_TRUE(View("", 0) == c.Regex(""));
    EXPECT_TRUE(View(nullptr, 0) == c.Regex("x*"));

    // The subject ends at its length, whatever follows in memory.
    char const buffer[] = {'a', 'b', 'c', 'd'};
    EXPECT_TRUE(View(buffer, 3) == c.Regex("abcd?"));
    EXPECT_TRUE(View(buffer, 3) == c.Regex("abc$"));
    EXPECT_FALSE(View(buffer, 4) == c.Regex("abc$"));
}

TEST(RegexInspectors, ContainsAndStartsWithLookAtTheLeftmostMatch) {
    Compiler c;
    EXPECT_FALSE(Contains(View("xabx"), c.Regex("b+c")));
    EXPECT_TRUE(Contains(View(nullptr, 0), c.Regex("")));
    EXPECT_FALSE(Contains(View(nullptr, 0), c.Regex("a")));

    EXPECT_TRUE(StartsWith(View("abc"), c.Regex("a|b")));
    EXPECT_TRUE(StartsWith(View("abc"), c.Regex("^ab")));
    EXPECT_TRUE(StartsWith(View("abc"), c.Regex("x*")));

    char const buffer[] = {'a', 'b', 'c'};
    EXPECT_FALSE(Contains(View(buffer, 2), c.Regex("c")));
    EXPECT_TRUE(Contains(View(buffer + 1, 2), c.Regex("^b")));
    EXPECT_FALSE(StartsWith(View(buffer, 2), c.Regex("abc")));
}

TEST(RegexInspectors, EndsWithTriesEveryStartAndTheEmptyTail) {
    Compiler c;
    EXPECT_TRUE(EndsWith(View("abc"), c.Regex("c$")));
    // Later starts are not the beginning of the line.
    EXPECT_FALSE(EndsWith(View("ab"), c.Regex("^b")));
    EXPECT_TRUE(EndsWith(View("b"), c.Regex("^b")));
    // Only the leftmost-longest match from each start counts: from offset 0
    // "aab" matches "aa", from 1 "ab", and the scan goes on one byte at a time.
    EXPECT_TRUE(EndsWith(View("aab"), c.Regex("a+b?")));

    char const buffer[] = {'a', 'b', 'c'};
    EXPECT_TRUE(EndsWith(View(buffer, 2), c.Regex("b")));
    EXPECT_FALSE(EndsWith(View(buffer, 2), c.Regex("bc")));
}

TEST(RegexInspectors, EndsWithGivesTheHostAChanceBetweenTries) {
    Compiler c;
    regular_expression const b = c.Regex("b");
    int const before = fake::InterruptionChecks();
    // Tries at offsets 0, 1 and 2; a check between each pair.
    EXPECT_TRUE(EndsWith(View("abcb"), b));
    EXPECT_EQ(fake::InterruptionChecks() - before, 2);

    fake::InterruptionArmed() = true;
    EXPECT_THROW(EndsWith(View("abcb"), b), EvaluationInterrupted);
    // A first try that settles it needs no check.
    EXPECT_TRUE(EndsWith(View("ab"), b));
    fake::InterruptionArmed() = false;
}

TEST(RegexInspectors, MatchesOverlapAndIncludeTheEmptyMatchAtTheEnd) {
    EXPECT_EQ(Matches("ab", "abab"), (std::vector<Found>{{0, "ab"}, {2, "ab"}}));
    EXPECT_EQ(Matches("", ""), (std::vector<Found>{{0, ""}}));

    char const buffer[] = {'a', 'a', 'a'};
    EXPECT_EQ(Matches("a+$", View(buffer, 2)), (std::vector<Found>{{0, "aa"}, {1, "a"}}));
}

TEST(RegexInspectors, MatchingChecksForInterruption) {
    Compiler c;
    regular_expression const r = c.Regex("a+");
    std::string const subject = "aaa";
    regular_expression_match_iterator matches;
    matches.First(View(subject), Of(), r);
    int const before = fake::InterruptionChecks();
    matches.Next(View(subject), Of(), r);
    EXPECT_EQ(fake::InterruptionChecks() - before, 1);
    fake::InterruptionArmed() = true;
    EXPECT_THROW(matches.Next(View(subject), Of(), r), EvaluationInterrupted);
    fake::InterruptionArmed() = false;
}

TEST(RegexInspectors, ParenthesizedPartsInOrderWithUnmatchedGroupsEmpty) {
    Compiler c;
    std::string const subject = "b";
    regular_expression_match_iterator matches;
    regular_expression_match const m = matches.First(View(subject), Of(), c.Regex("(a)|(b)"));
    regular_expression_match_part_iterator parts;
    substring const one = parts.First(Of(), m);
    EXPECT_EQ(one.length, 0u);
    EXPECT_EQ(one.pointer + 1, reinterpret_cast<unsigned char const*>(subject.data()));
    EXPECT_EQ(one.whole, reinterpret_cast<unsigned char const*>(subject.data()));
    EXPECT_EQ(one.wholeLength, 1u);
    substring const two = parts.Next(Of(), m);
    EXPECT_EQ(Text(two), "b");
    EXPECT_EQ(two.pointer, reinterpret_cast<unsigned char const*>(subject.data()));
    EXPECT_THROW(parts.Next(Of(), m), NoSuchObject);

    // Starting again walks the parts again.
    EXPECT_EQ(parts.First(Of(), m).length, 0u);

    regular_expression_match_part_iterator noParts;
    regular_expression_match const whole = matches.First(View(subject), Of(), c.Regex("b"));
    EXPECT_THROW(noParts.First(Of(), whole), NoSuchObject);
}

TEST(RegexInspectors, PartByNumberCountsFromOne) {
    Compiler c;
    std::string const subject = "xaby";
    regular_expression_match_iterator matches;
    regular_expression_match const m = matches.First(View(subject), Of(), c.Regex("(a)(b)"));
    EXPECT_EQ(Text(MatchPart(1, Of(), m)), "a");
    EXPECT_EQ(Text(MatchPart(2, Of(), m)), "b");
    EXPECT_EQ(MatchPart(2, Of(), m).pointer - m.whole, 2);
    for (integer const n :
         {integer{-1}, integer{1} << 32, (integer{1} << 32) + 1, INT64_MIN, INT64_MAX}) {
        EXPECT_THROW(MatchPart(n, Of(), m), NoSuchObject) << n;
    }
}
