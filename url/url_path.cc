#include "url/url_path.h"

#include <algorithm>

#include "url/percent.h"

URLPath URLPath::Parse(std::string_view encoded) {
    URLPath path;
    path.absolute_ = !encoded.empty() && encoded.front() == '/';
    if (path.absolute_)
        encoded.remove_prefix(1);
    else if (encoded.empty())
        return path;
    URLDecoder decode;
    for (;;) {
        std::size_t slash = encoded.find('/');
        path.segments_.push_back(decode(encoded.substr(0, slash)));
        if (slash == std::string_view::npos)
            return path;
        encoded.remove_prefix(slash + 1);
    }
}

URLPath& URLPath::Append(std::string_view segment) {
    // "a/" + "b" is "a/b", not "a//b": an empty last segment is the trailing slash.
    if (!segments_.empty() && segments_.back().empty())
        segments_.back() = segment;
    else
        segments_.emplace_back(segment);
    return *this;
}

URLPath URLPath::WithoutDotSegments() const {
    std::vector<std::string> kept;
    bool trailingSlash = false;
    for (std::string const& segment : segments_) {
        trailingSlash = segment == "." || segment == "..";
        if (segment == ".." && !kept.empty())
            kept.pop_back();
        else if (!trailingSlash)
            kept.push_back(segment);
    }
    if (trailingSlash && (absolute_ || !kept.empty()))
        kept.emplace_back();
    return URLPath(absolute_, std::move(kept));
}

std::string URLPath::Encoded() const {
    std::string out = absolute_ ? "/" : "";
    URLEncoder encode(URLComponent::PathSegment);
    for (std::size_t i = 0; i < segments_.size(); ++i) {
        if (i > 0)
            out.push_back('/');
        encode.Append(out, segments_[i]);
    }
    // In a relative path a ':' in the first segment would read as a scheme.
    if (!absolute_) {
        std::size_t firstEnd = std::min(out.find('/'), out.size());
        for (std::size_t colon = out.find(':'); colon < firstEnd; colon = out.find(':', colon)) {
            out.replace(colon, 1, "%3A");
            firstEnd += 2;
        }
    }
    return out;
}

namespace {

void RemoveLastSegment(std::string& out) {
    std::size_t slash = out.rfind('/');
    out.erase(slash == std::string::npos ? 0 : slash);
}

} // namespace

std::string RemoveDotSegments(std::string_view in) {
    std::string out;
    while (!in.empty()) {
        if (in.starts_with("../")) {
            in.remove_prefix(3);
        } else if (in.starts_with("./") || in.starts_with("/./")) {
            in.remove_prefix(2);
        } else if (in == "/.") {
            in = "/";
        } else if (in.starts_with("/../")) {
            in.remove_prefix(3);
            RemoveLastSegment(out);
        } else if (in == "/..") {
            in = "/";
            RemoveLastSegment(out);
        } else if (in == "." || in == "..") {
            in = {};
        } else {
            std::size_t end = in.find('/', 1);
            if (end == std::string_view::npos)
                end = in.size();
            out.append(in.substr(0, end));
            in.remove_prefix(end);
        }
    }
    return out;
}
