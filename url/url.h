// URLs after RFC 3986: parsing into components, recomposition, resolution.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "url/url_path.h"
#include "util/exception.h"

// Text that is no URI reference; Position() is the offset of the fault.
class MalformedURL : public ExceptionPL {
public:
    MalformedURL(std::string const& reason, std::string_view text, std::size_t position);
    std::size_t Position() const { return position_; }

private:
    std::size_t position_;
};

enum class HostKind { None, RegName, IPv4, IPv6, IPvFuture };

// The components of a URI reference (absolute or relative). Text components
// stay percent-encoded, with escapes in upper-case hex and escaped unreserved
// characters decoded; scheme and registered host names are lower case.
struct URLInfo {
    std::string scheme; // empty for a relative reference
    bool hasAuthority = false;
    std::optional<std::string> userInfo;
    std::string host; // an IPv6 or future literal without its brackets
    HostKind hostKind = HostKind::None;
    std::optional<std::uint16_t> port; // none when absent or empty ("h:")
    std::string path;
    std::optional<std::string> query;
    std::optional<std::string> fragment;

    // Parses any URI reference; raises MalformedURL.
    static URLInfo Parse(std::string_view text);

    bool IsRelative() const { return scheme.empty(); }
    // The text form; parsing it gives back equal components.
    std::string ToString() const;

    friend bool operator==(URLInfo const&, URLInfo const&) = default;
};

// An absolute URL: a URI reference with a scheme.
class URL {
public:
    // Raises MalformedURL, also for relative references.
    static URL Parse(std::string_view text);
    explicit URL(URLInfo info);

    URLInfo const& Info() const { return info_; }
    std::string const& Text() const { return text_; }
    std::string const& Scheme() const { return info_.scheme; }
    std::string const& Host() const { return info_.host; }
    std::string const& EncodedPath() const { return info_.path; }
    URLPath Path() const { return URLPath::Parse(info_.path); }
    // The explicit port, else the scheme's well-known one, else none.
    std::optional<std::uint16_t> PortOrDefault() const;

    // The target of `reference` taken relative to this URL (RFC 3986, 5.2).
    URL Resolve(std::string_view reference) const;
    URL Resolve(URLInfo const& reference) const;

    friend bool operator==(URL const& a, URL const& b) { return a.text_ == b.text_; }

private:
    URLInfo info_;
    std::string text_;
};
