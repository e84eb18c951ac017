// The regex inspectors against the recording stand-in of the registration
// API, for what no transcript shows: the fingerprints the evaluator is given,
// the cache of the compiled pattern, and the interruption checks of long loops.
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>

#include "evaluator/errors.h"
#include "framework/fingerprints.h"
#include "inspectors/regex/regex.h"
#include "tests/framework/fake_registry.h"

using fake::Call;
using fake::Record;

namespace {

// Bytes of the compiled pattern: a recompile allocates the new pattern while
// the old one is still held, so its internals cannot land at the same place.
std::array<unsigned char, sizeof(regex_t)> Snapshot(regular_expression r) {
    std::array<unsigned char, sizeof(regex_t)> bytes;
    std::memcpy(bytes.data(), r.compiled, sizeof(regex_t));
    return bytes;
}

} // namespace

// Every answer depends on the parameters alone; a type has no fingerprint.
TEST(RegexInspectors, FingerprintsTheEvaluatorIsGiven) {
    for (Record const& r : fake::Log())
        EXPECT_EQ(r.fingerprint, r.call == Call::RegisterType ? nullptr : &DependsOnlyOnParameters)
            << r.phrase;
}

TEST(RegexInspectors, CompiledPatternsAreKeptByTextAndFlags) {
    regular_expression_iterator compiler;
    std::string const pattern = "a.c";
    regular_expression const first = compiler.FirstCaseSensitive(fake::View(pattern));
    auto const compiled = Snapshot(first);

    // Same text (another copy of it) and flags: the kept pattern, untouched.
    std::string const again = pattern;
    regular_expression const reused = compiler.FirstCaseSensitive(fake::View(again));
    EXPECT_EQ(reused.compiled, first.compiled);
    EXPECT_EQ(Snapshot(reused), compiled);

    // Other flags compile again, and so does going back.
    regular_expression const insensitive = compiler.FirstCaseInsensitive(fake::View(pattern));
    EXPECT_TRUE(fake::View("ABC") == insensitive);
    auto const insensitiveBytes = Snapshot(insensitive);
    regular_expression const sensitive = compiler.FirstCaseSensitive(fake::View(pattern));
    EXPECT_NE(Snapshot(sensitive), insensitiveBytes);
    EXPECT_FALSE(fake::View("ABC") == sensitive);
    auto const sensitiveBytes = Snapshot(sensitive);

    // A bad pattern fails and leaves the kept pattern and its key in place.
    EXPECT_THROW(compiler.FirstCaseSensitive(fake::View("a(")), RegComp_Failed);
    EXPECT_EQ(Snapshot(compiler.FirstCaseSensitive(fake::View(pattern))), sensitiveBytes);

    // The empty pattern is compiled on every call.
    auto const emptyOnce = Snapshot(compiler.FirstCaseSensitive(fake::View("")));
    EXPECT_NE(Snapshot(compiler.FirstCaseSensitive(fake::View(""))), emptyOnce);

    // A pattern is cut at an embedded NUL, but kept under its whole text.
    std::string const withNul("a\0b", 3);
    auto const cutBytes = Snapshot(compiler.FirstCaseSensitive(fake::View(withNul)));
    EXPECT_EQ(Snapshot(compiler.FirstCaseSensitive(fake::View(withNul))), cutBytes);
    EXPECT_NE(Snapshot(compiler.FirstCaseSensitive(fake::View("a"))), cutBytes);
}

TEST(RegexInspectors, LongLoopsGiveTheHostAChanceToStop) {
    regular_expression_iterator compiler;
    regular_expression const b = compiler.FirstCaseSensitive(fake::View("b"));
    int before = fake::interruptionChecks;
    // Ends-with tries at offsets 0, 1 and 2 of "abcb": a check between each pair.
    EXPECT_TRUE(EndsWith(fake::View("abcb"), b));
    EXPECT_EQ(fake::interruptionChecks - before, 2);

    std::string const subject = "aaa";
    regular_expression_iterator other;
    regular_expression const aPlus = other.FirstCaseSensitive(fake::View("a+"));
    regular_expression_match_iterator matches;
    matches.First(fake::View(subject), Of(), aPlus);
    before = fake::interruptionChecks;
    matches.Next(fake::View(subject), Of(), aPlus);
    EXPECT_EQ(fake::interruptionChecks - before, 1);

    fake::interruptionArmed = true;
    EXPECT_THROW(EndsWith(fake::View("abcb"), b), EvaluationInterrupted);
    EXPECT_TRUE(EndsWith(fake::View("ab"), b)) << "a first try that settles it needs no check";
    EXPECT_THROW(matches.Next(fake::View(subject), Of(), aPlus), EvaluationInterrupted);
    fake::interruptionArmed = false;
}
