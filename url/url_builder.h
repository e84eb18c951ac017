// Building URLs from unencoded parts: each part is escaped for its place.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "url/url.h"

class URLBuilder {
public:
    URLBuilder() = default;
    // Starts from an existing URL, to change some of its parts.
    explicit URLBuilder(URL const& url) : info_(url.Info()) {}

    URLBuilder& Scheme(std::string_view scheme);
    URLBuilder& UserInfo(std::string_view userInfo);
    // A host with a ':' is taken as an IPv6 address; other hosts are names or
    // IPv4 addresses. Setting a host gives the URL an authority.
    URLBuilder& Host(std::string_view host);
    URLBuilder& Port(std::uint16_t port);
    URLBuilder& Path(URLPath const& path);
    // A '/'-separated path; each segment is escaped, the separators stay.
    URLBuilder& Path(std::string_view path);
    URLBuilder& AddSegment(std::string_view segment);
    // Appends key=value to the query, '&'-separated, both escaped as form fields.
    URLBuilder& AddQuery(std::string_view key, std::string_view value);
    URLBuilder& Query(std::string_view query);
    URLBuilder& Fragment(std::string_view fragment);

    // Raises MalformedURL when the parts do not make a URL (no scheme, a
    // relative path after a host, a path starting "//" without a host).
    URL Build() const;

private:
    URLInfo info_;
};

// The file URL of an absolute file-system path: "file:///" and the escaped path.
URL FileURL(std::string_view absolutePath);
