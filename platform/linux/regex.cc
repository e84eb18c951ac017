#include "platform/linux/regex.h"

#include <dlfcn.h>

#include <utility>

#if defined(__SANITIZE_ADDRESS__)
#define ZOR_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ZOR_ADDRESS_SANITIZER 1
#endif
#endif

namespace {

using RegexecFunction = int (*)(regex_t const*, char const*, std::size_t, regmatch_t*, int);

#ifdef ZOR_ADDRESS_SANITIZER
// AddressSanitizer's stand-in for regexec checks the subject up to its NUL even
// under REG_STARTEND, and the subjects matched here are byte ranges with no
// terminator; so these builds call the C library's own regexec.
RegexecFunction LibraryRegexec() {
    static RegexecFunction const function = [] {
        RegexecFunction found = &regexec;
        if (void* const libc = dlopen("libc.so.6", RTLD_NOW | RTLD_NOLOAD)) {
            if (void* const symbol = dlsym(libc, "regexec")) {
                found = reinterpret_cast<RegexecFunction>(symbol);
            }
            dlclose(libc); // still loaded: the process itself uses it
        }
        return found;
    }();
    return function;
}
#else
RegexecFunction LibraryRegexec() {
    return &regexec;
}
#endif

// Large enough for every message of the usual libraries in one call.
constexpr std::size_t kFirstMessageSize = 200;

// The message without the NUL that RegError keeps.
std::string Printable(std::string message) {
    if (!message.empty() && message.back() == '\0') {
        message.pop_back();
    }
    return message;
}

} // namespace

Regex_Failed::Regex_Failed(int code, regex_t const* preg)
    : code_(code), message_(Printable(RegError(code, preg))) {}

AutoRegex::~AutoRegex() {
    Free();
}

AutoRegex::AutoRegex(AutoRegex&& other) noexcept
    : regex_(other.regex_), held_(std::exchange(other.held_, false)) {}

AutoRegex& AutoRegex::operator=(AutoRegex&& other) noexcept {
    if (this != &other) {
        Free();
        regex_ = other.regex_;
        held_ = std::exchange(other.held_, false);
    }
    return *this;
}

void AutoRegex::Free() {
    if (held_) {
        regfree(&regex_);
        held_ = false;
    }
}

AutoRegex AutoRegex::Compile(char const* pattern, [[maybe_unused]] char const* patternEnd,
                             int cflags) {
    AutoRegex compiled;
#ifdef REG_PEND
    if (patternEnd) {
        compiled.regex_.re_endp = patternEnd;
        cflags |= REG_PEND;
    }
#endif
    int const code = regcomp(&compiled.regex_, pattern, cflags);
    if (code != 0) {
        throw RegComp_Failed(code, &compiled.regex_);
    }
    compiled.held_ = true;
    return compiled;
}

AutoRegex RegComp(char const* pattern, int cflags) {
    return AutoRegex::Compile(pattern, nullptr, cflags);
}

AutoRegex RegComp(char const* begin, char const* end, int cflags) {
#ifdef REG_PEND
    return AutoRegex::Compile(begin, end, cflags);
#else
    // No REG_PEND here: regcomp needs the terminator, so compile a copy.
    return AutoRegex::Compile(std::string(begin, end).c_str(), nullptr, cflags);
#endif
}

bool RegExec(regex_t const& preg, char const* s, int eflags, unsigned long nmatch,
             regmatch_t* pmatch) {
    int const code = LibraryRegexec()(&preg, s, nmatch, pmatch, eflags);
    if (code == 0) {
        return true;
    }
    if (code == REG_NOMATCH) {
        return false;
    }
    throw RegExec_Failed(code, &preg);
}

bool RegExecWithRegStartEnd(regex_t const& preg, char const* base, char const* start,
                            char const* end, int eflags, unsigned long nmatch, regmatch_t* pmatch) {
    // The range travels in the first entry, so a caller that wants no offsets
    // back still needs one entry to pass it in.
    regmatch_t range;
    regmatch_t* const slots = nmatch == 0 ? &range : pmatch;
    slots[0].rm_so = start - base;
    slots[0].rm_eo = end - base;
    return RegExec(preg, base, eflags | REG_STARTEND, nmatch, slots);
}

bool RegExec(regex_t const& preg, char const* base, char const* start, char const* end, int eflags,
             unsigned long nmatch, regmatch_t* pmatch) {
    return RegExecWithRegStartEnd(preg, base, start, end, eflags, nmatch, pmatch);
}

namespace {

void SizeFor(regex_t const& preg, std::vector<regmatch_t>& matches) {
    matches.assign(preg.re_nsub + 1, regmatch_t{});
}

} // namespace

bool RegExec(regex_t const& preg, char const* s, int eflags, std::vector<regmatch_t>& matches) {
    SizeFor(preg, matches);
    return RegExec(preg, s, eflags, matches.size(), matches.data());
}

bool RegExec(regex_t const& preg, char const* base, char const* start, char const* end, int eflags,
             std::vector<regmatch_t>& matches) {
    SizeFor(preg, matches);
    return RegExec(preg, base, start, end, eflags, matches.size(), matches.data());
}

std::string RegError(int code, regex_t const* preg) {
    std::string message(kFirstMessageSize, '\0');
    std::size_t needed = regerror(code, preg, message.data(), message.size());
    while (needed > message.size()) {
        message.resize(needed);
        needed = regerror(code, preg, message.data(), message.size());
    }
    message.resize(needed);
    return message;
}

std::string RegError(int code, regex_t const& preg) {
    return RegError(code, &preg);
}

std::string RegError(int code) {
    return RegError(code, nullptr);
}
