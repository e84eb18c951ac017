// Percent-encoding and decoding of URL components.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "util/bytes.h"
#include "util/exception.h"

// A '%' not followed by two hex digits.
class MalformedPercentEscape : public ExceptionPL {
public:
    MalformedPercentEscape(std::string_view text, std::size_t position);
    std::size_t Position() const { return position_; }

private:
    std::size_t position_;
};

// Which part of a URL a value is encoded for; each keeps a different set of
// characters unescaped.
enum class URLComponent {
    UserInfo,    // unreserved, sub-delims, ':'
    Host,        // unreserved, sub-delims
    PathSegment, // unreserved, sub-delims, ':', '@'
    Path,        // as PathSegment, and '/'
    Query,       // as Path, and '?'
    Fragment,    // as Query
    FormField,   // a key or value of key=value&... queries: unreserved and "!$'()*,:@/?"
};

// Escapes every byte the component does not allow as %HH (upper-case hex).
class URLEncoder {
public:
    explicit URLEncoder(URLComponent component);

    std::string operator()(std::string_view raw) const;
    void Append(std::string& out, std::string_view raw) const;

private:
    std::array<bool, 256> keep_{};
};

// Replaces every %HH by its byte. Strict: a '%' without two hex digits after
// it raises MalformedPercentEscape rather than passing through.
class URLDecoder {
public:
    // Form-encoded queries write spaces as '+'.
    enum class Plus { Literal, Space };

    explicit URLDecoder(Plus plus = Plus::Literal) : plus_(plus) {}

    std::string operator()(std::string_view encoded) const;
    void Append(std::string& out, std::string_view encoded) const;

private:
    Plus plus_;
};
