#include "inspectors/usage/file_name.h"

#include "evaluator/errors.h"

namespace {

constexpr char32_t cEscapeBase = 0xDC00; // + a byte of 0x80..0xFF

// The code point of a well-formed UTF-8 sequence at bytes[i], and its length;
// length 0 when none starts there.
std::pair<char32_t, std::size_t> DecodeUtf8(std::string_view bytes, std::size_t i) {
    auto const byte = [&](std::size_t k) { return static_cast<unsigned char>(bytes[i + k]); };
    unsigned char const lead = byte(0);
    std::size_t const length = lead < 0x80   ? 1
                               : lead < 0xC2 ? 0
                               : lead < 0xE0 ? 2
                               : lead < 0xF0 ? 3
                               : lead < 0xF5 ? 4
                                             : 0;
    if (length == 0 || i + length > bytes.size())
        return {0, 0};
    if (length == 1)
        return {lead, 1};
    char32_t code = lead & (0x7F >> length);
    for (std::size_t k = 1; k < length; ++k) {
        if ((byte(k) & 0xC0) != 0x80)
            return {0, 0};
        code = (code << 6) | (byte(k) & 0x3F);
    }
    bool const overlong = (length == 3 && code < 0x800) || (length == 4 && code < 0x10000);
    bool const surrogate = code >= 0xD800 && code <= 0xDFFF;
    if (overlong || surrogate || code > 0x10FFFF)
        return {0, 0};
    return {code, length};
}

void AppendUnit(FileName& name, char32_t unit) {
    if (name.length == FileName::cMaxUnits)
        throw NoSuchObject();
    name.units[name.length++] = static_cast<char16_t>(unit);
}

void AppendUtf8(std::string& out, char32_t code) {
    if (code < 0x80) {
        out += static_cast<char>(code);
    } else if (code < 0x800) {
        out += static_cast<char>(0xC0 | (code >> 6));
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        out += static_cast<char>(0xE0 | (code >> 12));
        out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (code >> 18));
        out += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    }
}

} // namespace

FileName ExactFileName(ConstData name) {
    std::string_view const bytes = name.view();
    FileName result;
    for (std::size_t i = 0; i < bytes.size();) {
        auto const [code, length] = DecodeUtf8(bytes, i);
        if (length == 0) {
            AppendUnit(result, cEscapeBase + static_cast<unsigned char>(bytes[i++]));
        } else if (code >= 0x10000) {
            AppendUnit(result, 0xD800 + ((code - 0x10000) >> 10));
            AppendUnit(result, 0xDC00 + ((code - 0x10000) & 0x3FF));
            i += length;
        } else {
            AppendUnit(result, code);
            i += length;
        }
    }
    return result;
}

std::string Utf8Of(FileName const& name) {
    std::string out;
    for (std::size_t i = 0; i < name.length; ++i) {
        char32_t const unit = name.units[i];
        bool const high = unit >= 0xD800 && unit <= 0xDBFF;
        char32_t const next = i + 1 < name.length ? name.units[i + 1] : 0;
        if (high && next >= 0xDC00 && next <= 0xDFFF) {
            AppendUtf8(out, 0x10000 + ((unit - 0xD800) << 10) + (next - 0xDC00));
            ++i;
        } else if (unit >= cEscapeBase + 0x80 && unit <= cEscapeBase + 0xFF) {
            out += static_cast<char>(unit - cEscapeBase);
        } else {
            AppendUtf8(out, unit);
        }
    }
    return out;
}
