#include "url/url_builder.h"

#include "url/char_class.h"
#include "url/percent.h"

namespace {

std::string Lower(std::string_view text) {
    std::string out;
    for (char c : text)
        out.push_back(url_chars::Lower(c));
    return out;
}

} // namespace

URLBuilder& URLBuilder::Scheme(std::string_view scheme) {
    info_.scheme = Lower(scheme);
    return *this;
}

URLBuilder& URLBuilder::UserInfo(std::string_view userInfo) {
    info_.userInfo = URLEncoder(URLComponent::UserInfo)(userInfo);
    return *this;
}

URLBuilder& URLBuilder::Host(std::string_view host) {
    info_.hasAuthority = true;
    if (host.find(':') != std::string_view::npos) {
        info_.host = Lower(host);
        info_.hostKind = HostKind::IPv6;
        return *this;
    }
    // The parser decides between a name and an IPv4 address.
    std::string encoded = Lower(URLEncoder(URLComponent::Host)(host));
    URLInfo probe = URLInfo::Parse("//" + encoded);
    info_.host = probe.host;
    info_.hostKind = probe.hostKind;
    return *this;
}

URLBuilder& URLBuilder::Port(std::uint16_t port) {
    info_.port = port;
    return *this;
}

URLBuilder& URLBuilder::Path(URLPath const& path) {
    info_.path = path.Encoded();
    return *this;
}

URLBuilder& URLBuilder::Path(std::string_view path) {
    info_.path = URLEncoder(URLComponent::Path)(path);
    return *this;
}

URLBuilder& URLBuilder::AddSegment(std::string_view segment) {
    return Path(URLPath::Parse(info_.path).Append(segment));
}

URLBuilder& URLBuilder::AddQuery(std::string_view key, std::string_view value) {
    std::string query = info_.query.value_or("");
    if (!query.empty())
        query.push_back('&');
    URLEncoder field(URLComponent::FormField);
    field.Append(query, key);
    query.push_back('=');
    field.Append(query, value);
    info_.query = std::move(query);
    return *this;
}

URLBuilder& URLBuilder::Query(std::string_view query) {
    info_.query = URLEncoder(URLComponent::Query)(query);
    return *this;
}

URLBuilder& URLBuilder::Fragment(std::string_view fragment) {
    info_.fragment = URLEncoder(URLComponent::Fragment)(fragment);
    return *this;
}

URL URLBuilder::Build() const {
    std::string text = info_.ToString();
    if (info_.scheme.empty())
        throw MalformedURL("a URL needs a scheme", text, 0);
    if (info_.hasAuthority && !info_.path.empty() && !info_.path.starts_with('/'))
        throw MalformedURL("a path after a host must start with '/'", text, 0);
    if (!info_.hasAuthority && info_.path.starts_with("//"))
        throw MalformedURL("a path starting with \"//\" needs a host", text, 0);
    return URL(info_);
}

URL FileURL(std::string_view absolutePath) {
    if (!absolutePath.starts_with('/'))
        throw MalformedURL("a file URL needs an absolute path", absolutePath, 0);
    return URLBuilder().Scheme("file").Host("").Path(absolutePath).Build();
}
