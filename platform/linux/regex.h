// POSIX regular expressions behind a few wrappers that turn the library's
// error codes into exceptions and own compiled patterns. They live here with
// the other operating-system calls: regcomp and regexec are the C library's,
// and the agent uses these wrappers as well as the regex inspectors.
#pragma once

#include <regex.h>

#include <string>
#include <vector>

#include "evaluator/errors.h"

// A regex library call failed. Carries the library's code and, as what(),
// its message for that code, so an evaluation error can say what went wrong.
class Regex_Failed : public DebuggableException {
public:
    Regex_Failed(int code, regex_t const* preg);
    int Code() const { return code_; }
    const char* what() const noexcept override { return message_.c_str(); }

private:
    int code_;
    std::string message_;
};

// regcomp refused the pattern.
class RegComp_Failed : public Regex_Failed {
public:
    using Regex_Failed::Regex_Failed;
};

// regexec failed for a reason other than finding no match (out of memory...).
class RegExec_Failed : public Regex_Failed {
public:
    using Regex_Failed::Regex_Failed;
};

// Owns at most one compiled pattern and frees it once. Moving hands the
// pattern over and empties the source.
class AutoRegex {
public:
    AutoRegex() = default;
    ~AutoRegex();
    AutoRegex(AutoRegex&& other) noexcept;
    AutoRegex& operator=(AutoRegex&& other) noexcept;
    AutoRegex(AutoRegex const&) = delete;
    AutoRegex& operator=(AutoRegex const&) = delete;

    bool Holds() const { return held_; }
    regex_t const& Get() const { return regex_; }

private:
    friend AutoRegex RegComp(char const* pattern, int cflags);
    friend AutoRegex RegComp(char const* begin, char const* end, int cflags);
    // Compiles the pattern; patternEnd, when given, ends it (REG_PEND).
    static AutoRegex Compile(char const* pattern, char const* patternEnd, int cflags);
    void Free();

    regex_t regex_{};
    bool held_ = false;
};

// Compiles a NUL-terminated pattern; throws RegComp_Failed.
AutoRegex RegComp(char const* pattern, int cflags);
// Compiles the pattern [begin, end). Where the library has no REG_PEND the
// range is compiled from a terminated copy, so there an embedded NUL ends
// the pattern.
AutoRegex RegComp(char const* begin, char const* end, int cflags);

// True on a match, false on REG_NOMATCH; throws RegExec_Failed otherwise.
bool RegExec(regex_t const& preg, char const* s, int eflags, unsigned long nmatch,
             regmatch_t* pmatch);
// Matches within [start, end) of a string that need not be terminated.
// Offsets come back relative to base, not to start.
bool RegExecWithRegStartEnd(regex_t const& preg, char const* base, char const* start,
                            char const* end, int eflags, unsigned long nmatch, regmatch_t* pmatch);
bool RegExec(regex_t const& preg, char const* base, char const* start, char const* end, int eflags,
             unsigned long nmatch, regmatch_t* pmatch);
// The vector forms size the vector to re_nsub + 1 zeroed entries first.
bool RegExec(regex_t const& preg, char const* s, int eflags, std::vector<regmatch_t>& matches);
bool RegExec(regex_t const& preg, char const* base, char const* start, char const* end, int eflags,
             std::vector<regmatch_t>& matches);

// The library's message for an error code. The terminating NUL is kept as
// the last byte; callers that print the text must allow for it.
std::string RegError(int code, regex_t const* preg);
std::string RegError(int code, regex_t const& preg);
std::string RegError(int code);
