#include "action/arg_parser.h"

namespace {

constexpr char kQuote = '"';

char* SkipWhiteSpace(char* p) {
    while (*p != '\0' && ArgParser::IsWhiteSpace(*p))
        ++p;
    return p;
}

} // namespace

char* ArgParser::GetFirstArg(char* buffer, bool keepQuotes) {
    next_ = nullptr;
    if (buffer == nullptr)
        return nullptr;
    char* const start = SkipWhiteSpace(buffer);
    if (*start == '\0')
        return nullptr;
    return TakeArgument(start, keepQuotes);
}

char* ArgParser::GetNextArg(bool keepQuotes) {
    if (next_ == nullptr || *next_ == '\0')
        return nullptr;
    char* const start = next_;
    next_ = nullptr;
    return TakeArgument(start, keepQuotes);
}

// Removed quotes are squeezed out of the argument itself instead of shifting
// the whole rest of the buffer, which keeps long quote-laden lines linear; the
// arguments read are the same.
char* ArgParser::TakeArgument(char* start, bool keepQuotes) {
    if (!keepQuotes && start[0] == kQuote && start[1] == '\0')
        return nullptr;
    char* read = start;
    while (*read != '\0' && *read != kQuote && !IsWhiteSpace(*read))
        ++read;
    char* write = read;
    bool quoted = false;
    for (; *read != '\0' && (quoted || !IsWhiteSpace(*read)); ++read) {
        if (*read == kQuote) {
            quoted = !quoted;
            if (!keepQuotes)
                continue;
        }
        *write++ = *read;
    }
    bool const endedAtWhiteSpace = *read != '\0';
    *write = '\0';
    if (endedAtWhiteSpace) {
        char* const following = SkipWhiteSpace(read + 1);
        next_ = *following != '\0' ? following : nullptr;
    }
    return start;
}
