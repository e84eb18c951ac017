#include "url/url.h"

#include <arpa/inet.h>
#include <charconv>

#include "url/char_class.h"
#include "util/ascii.h"

MalformedURL::MalformedURL(std::string const& reason, std::string_view text, std::size_t position)
    : ExceptionPL(reason + " at offset " + std::to_string(position) + " of \"" +
                  std::string(text.substr(0, 200)) + (text.size() > 200 ? "...\"" : "\"")),
      position_(position) {}

namespace {

using url_chars::IsPChar;
using url_chars::IsSubDelim;
using url_chars::IsUnreserved;

// Walks the text of one URL, remembering where each component starts so that
// errors can point at the offending character.
class Parser {
public:
    explicit Parser(std::string_view text) : text_(text) {}

    URLInfo Run() {
        URLInfo info;
        std::string_view rest = ParseScheme(info);
        if (rest.starts_with("//")) {
            info.hasAuthority = true;
            std::size_t end = std::min(rest.find_first_of("/?#", 2), rest.size());
            ParseAuthority(info, rest.substr(2, end - 2));
            rest.remove_prefix(end);
        }
        std::size_t pathEnd = std::min(rest.find_first_of("?#"), rest.size());
        info.path = Component(rest.substr(0, pathEnd), IsPathChar, "path");
        rest.remove_prefix(pathEnd);
        if (rest.starts_with('?')) {
            std::size_t end = std::min(rest.find('#'), rest.size());
            info.query = Component(rest.substr(1, end - 1), IsQueryChar, "query");
            rest.remove_prefix(end);
        }
        if (rest.starts_with('#'))
            info.fragment = Component(rest.substr(1), IsQueryChar, "fragment");
        return info;
    }

private:
    static bool IsPathChar(unsigned char c) { return IsPChar(c) || c == '/'; }
    static bool IsQueryChar(unsigned char c) { return IsPChar(c) || c == '/' || c == '?'; }
    static bool IsUserInfoChar(unsigned char c) {
        return IsUnreserved(c) || IsSubDelim(c) || c == ':';
    }
    static bool IsRegNameChar(unsigned char c) { return IsUnreserved(c) || IsSubDelim(c); }

    [[noreturn]] void Fail(std::string const& reason, std::string_view at) const {
        throw MalformedURL(reason, text_, static_cast<std::size_t>(at.data() - text_.data()));
    }

    std::string_view ParseScheme(URLInfo& info) const {
        std::size_t colon = text_.find_first_of(":/?#");
        if (colon == std::string_view::npos || text_[colon] != ':')
            return text_;
        std::string_view scheme = text_.substr(0, colon);
        if (scheme.empty() || !Ascii::IsAlpha(scheme[0]))
            Fail("missing or malformed scheme", text_);
        for (std::size_t i = 0; i < scheme.size(); ++i) {
            if (!url_chars::Is(scheme[i], url_chars::cSchemeRest))
                Fail("malformed scheme", scheme.substr(i));
        }
        for (char c : scheme)
            info.scheme.push_back(url_chars::Lower(c));
        return text_.substr(colon + 1);
    }

    // Checks the characters and escapes of one component and normalises its
    // escapes: upper-case hex, and unreserved characters unescaped.
    template <typename Allowed>
    std::string Component(std::string_view part, Allowed allowed, char const* name) const {
        std::string out;
        out.reserve(part.size());
        for (std::size_t i = 0; i < part.size(); ++i) {
            auto c = static_cast<unsigned char>(part[i]);
            if (c != '%') {
                if (!allowed(c))
                    Fail(std::string("character not allowed in ") + name, part.substr(i));
                out.push_back(static_cast<char>(c));
                continue;
            }
            int high = i + 1 < part.size() ? Ascii::HexValue(part[i + 1]) : -1;
            int low = i + 2 < part.size() ? Ascii::HexValue(part[i + 2]) : -1;
            if (high < 0 || low < 0)
                Fail(std::string("malformed percent escape in ") + name, part.substr(i));
            auto byte = static_cast<unsigned char>(high * 16 + low);
            if (IsUnreserved(byte)) {
                out.push_back(static_cast<char>(byte));
            } else {
                char escape[3] = {'%', Ascii::UpperHexDigit(byte >> 4), Ascii::UpperHexDigit(byte)};
                out.append(escape, 3);
            }
            i += 2;
        }
        return out;
    }

    void ParseAuthority(URLInfo& info, std::string_view authority) const {
        std::size_t at = authority.find('@');
        if (at != std::string_view::npos) {
            info.userInfo = Component(authority.substr(0, at), IsUserInfoChar, "user info");
            authority.remove_prefix(at + 1);
        }
        std::string_view portText;
        if (authority.starts_with('[')) {
            std::size_t close = authority.find(']');
            if (close == std::string_view::npos)
                Fail("unterminated IP literal", authority);
            ParseIPLiteral(info, authority.substr(1, close - 1));
            std::string_view after = authority.substr(close + 1);
            if (!after.empty() && after.front() != ':')
                Fail("unexpected text after IP literal", after);
            portText = after.empty() ? after : after.substr(1);
        } else {
            std::size_t colon = std::min(authority.find(':'), authority.size());
            ParseRegName(info, authority.substr(0, colon));
            portText = colon < authority.size() ? authority.substr(colon + 1) : std::string_view();
        }
        info.port = ParsePort(portText);
    }

    void ParseIPLiteral(URLInfo& info, std::string_view literal) const {
        if (literal.starts_with('v') || literal.starts_with('V')) {
            ParseIPvFuture(literal);
            info.hostKind = HostKind::IPvFuture;
        } else {
            std::string address(literal);
            unsigned char binary[16];
            if (inet_pton(AF_INET6, address.c_str(), binary) != 1)
                Fail("malformed IPv6 address", literal);
            info.hostKind = HostKind::IPv6;
        }
        for (char c : literal)
            info.host.push_back(url_chars::Lower(c));
    }

    // "v" 1*HEXDIG "." 1*( unreserved / sub-delims / ":" )
    void ParseIPvFuture(std::string_view literal) const {
        std::size_t dot = literal.find('.');
        bool ok = dot != std::string_view::npos && dot > 1 && dot + 1 < literal.size();
        for (std::size_t i = 1; ok && i < dot; ++i)
            ok = Ascii::HexValue(literal[i]) >= 0;
        for (std::size_t i = dot + 1; ok && i < literal.size(); ++i)
            ok = IsUserInfoChar(literal[i]);
        if (!ok)
            Fail("malformed IP literal", literal);
    }

    void ParseRegName(URLInfo& info, std::string_view name) const {
        std::string host = Component(name, IsRegNameChar, "host");
        for (std::size_t i = 0; i < host.size(); ++i) {
            // Escapes keep their upper-case hex; everything else is folded.
            if (host[i] == '%')
                i += 2;
            else
                host[i] = url_chars::Lower(host[i]);
        }
        info.hostKind = IsIPv4(host) ? HostKind::IPv4 : HostKind::RegName;
        info.host = std::move(host);
    }

    // Four dotted decimal octets 0..255 without leading zeros.
    static bool IsIPv4(std::string_view host) {
        for (int part = 0; part < 4; ++part) {
            std::size_t end = part < 3 ? host.find('.') : host.size();
            if (end == std::string_view::npos || end == 0 || end > 3)
                return false;
            std::string_view octet = host.substr(0, end);
            unsigned value = 0;
            auto [ptr, error] = std::from_chars(octet.data(), octet.data() + octet.size(), value);
            if (error != std::errc() || ptr != octet.data() + octet.size() || value > 255 ||
                (octet.size() > 1 && octet[0] == '0'))
                return false;
            host.remove_prefix(part < 3 ? end + 1 : end);
        }
        return true;
    }

    std::optional<std::uint16_t> ParsePort(std::string_view port) const {
        if (port.empty())
            return std::nullopt;
        for (char c : port) {
            if (!Ascii::IsDigit(c))
                Fail("malformed port", port);
        }
        std::size_t first = std::min(port.find_first_not_of('0'), port.size());
        std::string_view digits = port.substr(first);
        unsigned value = 0;
        if (digits.size() > 5 ||
            (std::from_chars(digits.data(), digits.data() + digits.size(), value), value > 65535))
            Fail("port out of range", port);
        return static_cast<std::uint16_t>(value);
    }

    std::string_view text_;
};

std::string MergePaths(URLInfo const& base, std::string_view reference) {
    if (base.hasAuthority && base.path.empty())
        return "/" + std::string(reference);
    std::size_t slash = base.path.rfind('/');
    std::string merged = slash == std::string::npos ? "" : base.path.substr(0, slash + 1);
    return merged + std::string(reference);
}

} // namespace

URLInfo URLInfo::Parse(std::string_view text) {
    return Parser(text).Run();
}

std::string URLInfo::ToString() const {
    std::string out;
    if (!scheme.empty())
        out += scheme + ":";
    if (hasAuthority) {
        out += "//";
        if (userInfo)
            out += *userInfo + "@";
        bool literal = hostKind == HostKind::IPv6 || hostKind == HostKind::IPvFuture;
        out += literal ? "[" + host + "]" : host;
        if (port)
            out += ":" + std::to_string(*port);
    }
    out += path;
    if (query)
        out += "?" + *query;
    if (fragment)
        out += "#" + *fragment;
    return out;
}

URL URL::Parse(std::string_view text) {
    URLInfo info = URLInfo::Parse(text);
    if (info.IsRelative())
        throw MalformedURL("relative reference where a URL is needed", text, 0);
    return URL(std::move(info));
}

URL::URL(URLInfo info) : info_(std::move(info)), text_(info_.ToString()) {
    if (info_.IsRelative())
        throw MalformedURL("relative reference where a URL is needed", text_, 0);
    // Components that do not read back as themselves (a '?' in a path, a host
    // with a '/', upper-case escapes) would make the text say something else.
    if (URLInfo::Parse(text_) != info_)
        throw MalformedURL("components do not form a URL in normal form", text_, 0);
}

std::optional<std::uint16_t> URL::PortOrDefault() const {
    if (info_.port)
        return info_.port;
    struct Known {
        std::string_view scheme;
        std::uint16_t port;
    };
    static constexpr Known known[] = {{"http", 80}, {"https", 443}, {"ftp", 21},
                                      {"ws", 80},   {"wss", 443},   {"ldap", 389}};
    for (Known const& k : known) {
        if (k.scheme == info_.scheme)
            return k.port;
    }
    return std::nullopt;
}

URL URL::Resolve(std::string_view reference) const {
    return Resolve(URLInfo::Parse(reference));
}

URL URL::Resolve(URLInfo const& reference) const {
    URLInfo target = reference;
    if (reference.IsRelative() && !reference.hasAuthority) {
        target.scheme = info_.scheme;
        target.hasAuthority = info_.hasAuthority;
        target.userInfo = info_.userInfo;
        target.host = info_.host;
        target.hostKind = info_.hostKind;
        target.port = info_.port;
        if (reference.path.empty()) {
            target.path = info_.path;
            if (!reference.query)
                target.query = info_.query;
        } else if (reference.path.starts_with('/')) {
            target.path = RemoveDotSegments(reference.path);
        } else {
            target.path = RemoveDotSegments(MergePaths(info_, reference.path));
        }
    } else {
        if (reference.IsRelative())
            target.scheme = info_.scheme;
        target.path = RemoveDotSegments(reference.path);
    }
    // Without an authority a path starting "//" would read as one; "/." keeps
    // its meaning.
    if (!target.hasAuthority && target.path.starts_with("//"))
        target.path.insert(0, "/.");
    return URL(std::move(target));
}
