// URL paths as decoded segments, and RFC 3986 dot-segment removal.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "url/percent.h"

// A path split at '/' into percent-decoded segments. "/a/b/" is absolute with
// the segments "a", "b", ""; "" is relative with no segments.
class URLPath {
public:
    URLPath() = default;
    URLPath(bool absolute, std::vector<std::string> segments)
        : absolute_(absolute), segments_(std::move(segments)) {}

    // Splits and decodes an encoded path; raises MalformedPercentEscape.
    static URLPath Parse(std::string_view encoded);

    bool IsAbsolute() const { return absolute_; }
    std::vector<std::string> const& Segments() const { return segments_; }

    // Adds one decoded segment; a '/' inside it is kept as data, not a separator.
    URLPath& Append(std::string_view segment);
    // Resolves "." and ".." segments of the decoded path; ".." never climbs above
    // the start, and a path ending in "." or ".." keeps its trailing '/'.
    URLPath WithoutDotSegments() const;
    // The encoded text: each segment escaped for a path segment.
    std::string Encoded() const;

    friend bool operator==(URLPath const&, URLPath const&) = default;

private:
    bool absolute_ = false;
    std::vector<std::string> segments_;
};

// RFC 3986 section 5.2.4 on an encoded path.
std::string RemoveDotSegments(std::string_view path);
