#include "settings/decimal.h"

#include <charconv>
#include <string_view>
#include <system_error>

namespace {

template <class Number> std::string Format(Number value) {
    char digits[24];
    auto result = std::to_chars(digits, digits + sizeof digits, value);
    return std::string(digits, result.ptr);
}

// from_chars also stops at the first non-digit; the whole text must be used.
template <class Number> Number Parse(ConstData text) {
    std::string_view view = text.view();
    Number value{};
    auto result = std::from_chars(view.data(), view.data() + view.size(), value);
    if (view.empty() || result.ec != std::errc() || result.ptr != view.data() + view.size()) {
        throw NotADecimalNumeral();
    }
    return value;
}

} // namespace

std::string DecimalNumeral(std::uint64_t value) {
    return Format(value);
}

std::string DecimalNumeral(std::int64_t value) {
    return Format(value);
}

std::uint32_t ReadDecimalUInt32(ConstData text) {
    return Parse<std::uint32_t>(text);
}

std::int64_t ReadDecimalInt64(ConstData text) {
    return Parse<std::int64_t>(text);
}
