// Turning file URLs into file-system paths.
#pragma once

#include <string>
#include <string_view>

#include "url/url.h"

// A URL that does not name a local file; the message says why.
class NotALocalFileURL : public ExceptionPL {
public:
    NotALocalFileURL(std::string const& reason, std::string const& url);
};

// The absolute path a "file:" URL names. The host must be empty or
// "localhost"; a query is refused, a fragment ignored; segments are decoded
// and "." / ".." resolved (never above "/"); a segment that decodes to a
// '/' or NUL is refused, since it cannot be one path component.
std::string ResolveFileURL(URL const& url);
std::string ResolveFileURL(std::string_view url);
