// Splits arbitrary text; arguments must stay inside the buffer and never
// carry separators or removed quotes.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "action/arg_parser.h"

namespace {

void Require(bool condition) {
    if (!condition)
        std::abort();
}

bool HasUnquotedWhiteSpace(char const* argument) {
    bool quoted = false;
    for (char const* p = argument; *p != '\0'; ++p) {
        if (*p == '"')
            quoted = !quoted;
        else if (!quoted && ArgParser::IsWhiteSpace(*p))
            return true;
    }
    return false;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    if (size == 0)
        return 0;
    bool const keepQuotes = (data[0] & 1) != 0;
    std::string buffer(reinterpret_cast<char const*>(data) + 1, size - 1);
    std::size_t const textLength = std::strlen(buffer.c_str());
    char const* const begin = buffer.data();
    ArgParser parser;
    std::size_t total = 0;
    for (char const* arg = parser.GetFirstArg(buffer.data(), keepQuotes); arg != nullptr;
         arg = parser.GetNextArg(keepQuotes)) {
        std::size_t const length = std::strlen(arg);
        Require(arg >= begin && arg + length <= begin + textLength);
        Require(keepQuotes ? !HasUnquotedWhiteSpace(arg) : std::strchr(arg, '"') == nullptr);
        total += length;
        Require(total <= textLength);
    }
    return 0;
}
