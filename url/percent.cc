#include "url/percent.h"

#include <cstring>

#include "url/char_class.h"
#include "util/ascii.h"

namespace {

std::string_view ExtraKept(URLComponent component) {
    switch (component) {
    case URLComponent::UserInfo:
        return ":";
    case URLComponent::Host:
        return "";
    case URLComponent::PathSegment:
        return ":@";
    case URLComponent::Path:
        return ":@/";
    case URLComponent::Query:
    case URLComponent::Fragment:
        return ":@/?";
    case URLComponent::FormField:
        return "!$'()*,:@/?";
    }
    return "";
}

bool KeepsSubDelims(URLComponent component) {
    return component != URLComponent::FormField;
}

} // namespace

MalformedPercentEscape::MalformedPercentEscape(std::string_view text, std::size_t position)
    : ExceptionPL("malformed percent escape at offset " + std::to_string(position) + " in \"" +
                  std::string(text.substr(0, 200)) + (text.size() > 200 ? "...\"" : "\"")),
      position_(position) {}

URLEncoder::URLEncoder(URLComponent component) {
    for (unsigned c = 0; c < 256; ++c) {
        auto byte = static_cast<unsigned char>(c);
        keep_[c] = url_chars::IsUnreserved(byte) ||
                   (KeepsSubDelims(component) && url_chars::IsSubDelim(byte));
    }
    for (char c : ExtraKept(component))
        keep_[static_cast<unsigned char>(c)] = true;
}

std::string URLEncoder::operator()(std::string_view raw) const {
    std::string out;
    Append(out, raw);
    return out;
}

void URLEncoder::Append(std::string& out, std::string_view raw) const {
    out.reserve(out.size() + raw.size());
    for (char c : raw) {
        auto byte = static_cast<unsigned char>(c);
        if (keep_[byte]) {
            out.push_back(static_cast<char>(byte));
        } else {
            char escape[3] = {'%', Ascii::UpperHexDigit(byte >> 4), Ascii::UpperHexDigit(byte)};
            out.append(escape, 3);
        }
    }
}

std::string URLDecoder::operator()(std::string_view encoded) const {
    std::string out;
    Append(out, encoded);
    return out;
}

void URLDecoder::Append(std::string& out, std::string_view encoded) const {
    out.reserve(out.size() + encoded.size());
    // A single special byte is found with memchr; '+' adds a second one.
    auto nextSpecial = [&](std::size_t from) {
        return plus_ == Plus::Space ? encoded.find_first_of("%+", from) : encoded.find('%', from);
    };
    std::size_t at = 0;
    while (at < encoded.size()) {
        std::size_t next = nextSpecial(at);
        if (next == std::string_view::npos)
            next = encoded.size();
        out.append(encoded.substr(at, next - at));
        if (next == encoded.size())
            return;
        if (encoded[next] == '+') {
            out.push_back(' ');
            at = next + 1;
            continue;
        }
        int high = next + 1 < encoded.size() ? Ascii::HexValue(encoded[next + 1]) : -1;
        int low = next + 2 < encoded.size() ? Ascii::HexValue(encoded[next + 2]) : -1;
        if (high < 0 || low < 0)
            throw MalformedPercentEscape(encoded, next);
        out.push_back(static_cast<char>(high * 16 + low));
        at = next + 3;
    }
}
