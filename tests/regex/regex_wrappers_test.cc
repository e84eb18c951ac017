// The POSIX regex wrappers on their own (the guide shows compile failures
// with the library's message): ownership of compiled patterns, matching
// within a range of an unterminated buffer, and the error text with its NUL.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "platform/linux/regex.h"

namespace {

// The library's text for a code, without the NUL RegError keeps.
std::string Message(int code) {
    std::string text = RegError(code);
    text.pop_back();
    return text;
}

// The start and end offsets of each entry, as "start-end" separated by spaces.
std::string Spans(regmatch_t const* entries, std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i)
        text += (i ? " " : "") + std::to_string(entries[i].rm_so) + "-" +
                std::to_string(entries[i].rm_eo);
    return text;
}

} // namespace

// The code a failure carries, its message checked against the library's.
template <typename Failure, typename Attempt> int FailureCode(Attempt const& attempt) {
    try {
        attempt();
    } catch (Failure const& failure) {
        EXPECT_EQ(std::string(failure.what()), Message(failure.Code()));
        return failure.Code();
    }
    return 0;
}

TEST(RegexWrappers, AutoRegexHandsItsPatternOverAndFreesItOnce) {
    AutoRegex empty;
    EXPECT_FALSE(empty.Holds());

    AutoRegex first = RegComp("a+", REG_EXTENDED);
    ASSERT_TRUE(first.Holds());
    AutoRegex moved(std::move(first));
    EXPECT_FALSE(first.Holds()); // NOLINT(bugprone-use-after-move): the source is emptied
    ASSERT_TRUE(moved.Holds());
    EXPECT_TRUE(RegExec(moved.Get(), "baa", 0, 0, nullptr));

    // Assigning over a held pattern frees it (the leak checker would see it
    // otherwise) and keeps the new one working.
    moved = RegComp("x", REG_EXTENDED);
    EXPECT_TRUE(moved.Holds());
    EXPECT_TRUE(RegExec(moved.Get(), "yx", 0, 0, nullptr));
    EXPECT_FALSE(RegExec(moved.Get(), "baa", 0, 0, nullptr));

    AutoRegex target;
    target = std::move(moved);
    EXPECT_TRUE(target.Holds());
    EXPECT_FALSE(moved.Holds()); // NOLINT(bugprone-use-after-move)

    // A failed compile leaves an existing holder as it was.
    EXPECT_THROW(target = RegComp("[", REG_EXTENDED), RegComp_Failed);
    EXPECT_TRUE(target.Holds());
    EXPECT_TRUE(RegExec(target.Get(), "x", 0, 0, nullptr));
}

TEST(RegexWrappers, RangeCompileNeedsNoTerminator) {
    char const buffer[] = {'a', '.', 'c', '|', 'z'};
    AutoRegex const abc = RegComp(buffer, buffer + 3, REG_EXTENDED);
    EXPECT_TRUE(RegExec(abc.Get(), "abc", 0, 0, nullptr));
    EXPECT_FALSE(RegExec(abc.Get(), "z", 0, 0, nullptr));

    AutoRegex const alternatives = RegComp(buffer, buffer + 5, REG_EXTENDED);
    EXPECT_TRUE(RegExec(alternatives.Get(), "z", 0, 0, nullptr));

    AutoRegex const none = RegComp(buffer, buffer, REG_EXTENDED);
    EXPECT_TRUE(RegExec(none.Get(), "", 0, 0, nullptr));

    // The end given is where the pattern stops, even inside a group.
    char const group[] = {'(', 'a', ')'};
    EXPECT_THROW(RegComp(group, group + 2, REG_EXTENDED), RegComp_Failed);
    EXPECT_TRUE(RegComp(group, group + 3, REG_EXTENDED).Holds());
}

TEST(RegexWrappers, ExecReportsMatchesNoMatchAndFailures) {
    AutoRegex const groups = RegComp("(b+)(x)?", REG_EXTENDED);
    regmatch_t parts[3];
    ASSERT_TRUE(RegExec(groups.Get(), "abbc", 0, 3, parts));
    EXPECT_EQ(Spans(parts, 3), "1-3 1-3 -1--1");
    EXPECT_FALSE(RegExec(groups.Get(), "ac", 0, 3, parts));

    AutoRegex const anchored = RegComp("^a", REG_EXTENDED);
    EXPECT_TRUE(RegExec(anchored.Get(), "ab", 0, 0, nullptr));
    EXPECT_FALSE(RegExec(anchored.Get(), "ab", REG_NOTBOL, 0, nullptr));
    char const unterminated[] = {'a', 'b'};
    EXPECT_FALSE(RegExec(anchored.Get(), unterminated, unterminated, unterminated + 2, REG_NOTBOL,
                         0, nullptr));

    // The library refuses flags it does not know with an error, not "no match".
    EXPECT_GE(
        FailureCode<RegExec_Failed>([&] { RegExec(anchored.Get(), "ab", 1 << 10, 0, nullptr); }),
        2);
}

TEST(RegexWrappers, VectorFormsSizeToTheGroupsAndZeroEveryEntry) {
    AutoRegex const twoGroups = RegComp("(a)|(b)", REG_EXTENDED);
    std::vector<regmatch_t> matches(7, regmatch_t{9, 9});
    ASSERT_TRUE(RegExec(twoGroups.Get(), "b", 0, matches));
    EXPECT_EQ(Spans(matches.data(), matches.size()), "0-1 -1--1 0-1");

    char const buffer[] = {'a', 'a', 'b'};
    std::vector<regmatch_t> ranged(1, regmatch_t{5, 5});
    ASSERT_TRUE(RegExec(twoGroups.Get(), buffer, buffer + 1, buffer + 3, REG_NOTBOL, ranged));
    EXPECT_EQ(Spans(ranged.data(), ranged.size()), "1-2 1-2 -1--1");

    // After a failed search every entry is zero: nothing is left from before.
    ASSERT_FALSE(RegExec(twoGroups.Get(), "zz", 0, ranged));
    EXPECT_EQ(Spans(ranged.data(), ranged.size()), "0-0 0-0 0-0");
}

TEST(RegexWrappers, ErrorTextKeepsItsTerminatingNul) {
    AutoRegex const compiled = RegComp("a", REG_EXTENDED);
    for (int const code : std::vector<int>{REG_NOMATCH, REG_BADPAT, REG_EPAREN, REG_ESPACE}) {
        std::string const text = RegError(code);
        ASSERT_FALSE(text.empty());
        EXPECT_EQ(std::strlen(text.c_str()) + 1, text.size()) << code;
        EXPECT_EQ(RegError(code, compiled.Get()), text);
        EXPECT_EQ(RegError(code, nullptr), text);
    }
}
