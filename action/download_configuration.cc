#include "action/download_configuration.h"

#include <cstring>
#include <string>

#include "action/action_text.h"

bool DownloadConfiguration::m_useRedirectionTunnel = false;
std::uint32_t DownloadConfiguration::m_portRedirectionTunnelSource = 0;
std::uint32_t DownloadConfiguration::m_portRedirectionTunnelDestination = 0;
bool DownloadConfiguration::m_useURLMoniker = false;
bool DownloadConfiguration::m_useDownloadService = false;

namespace {

constexpr std::string_view kPlainScheme = "http://";
constexpr std::string_view kSecureScheme = "https://";
// The shortest URL that can carry a port after "http://".
constexpr std::size_t kMinimumRedirectableLength = 9;
// Larger port numbers cannot match, so reading stops growing there.
constexpr std::uint64_t kPortCeiling = 1ull << 32;

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

} // namespace

void DownloadConfiguration::SetMirrorUrl(Stringy const& url, std::uint32_t mirrorNumber) {
    m_mirrorUrl = url;
    m_mirrorNumber = mirrorNumber;
    m_singleSource = true;
}

Stringy DownloadConfiguration::NumberedMirrorUrl(std::uint32_t fileNumber) const {
    return Stringy(m_mirrorUrl.str() + "/" + std::to_string(m_mirrorNumber) + "/" +
                   std::to_string(fileNumber));
}

Stringy DownloadConfiguration::Transformed(Stringy const& url) {
    Stringy result;
    TransformURL(url.str().c_str(), result);
    return result;
}

bool DownloadConfiguration::GetNextSource(Stringy& result, std::uint32_t fileNumber,
                                          Stringy const& url, Stringy const& hashValue,
                                          Stringy const& hashType) {
    if (m_singleSource) {
        if (m_sourceState != 0)
            return false;
        m_sourceState = 1;
        result = Transformed(m_mirrorUrl.empty() ? url : NumberedMirrorUrl(fileNumber));
        return true;
    }
    if (m_sourceState == 0) {
        m_sourceState = 1;
        bool const hashKnown =
            !hashValue.empty() && !ActionText::EqualsIgnoringCase(hashValue.str(), "null");
        if (!m_mirrorUrl.empty() && m_checkHash && hashKnown) {
            result = Transformed(
                Stringy(m_mirrorUrl.str() + "/" + hashType.str() + "/" + hashValue.str()));
            return true;
        }
    }
    if (m_sourceState == 1) {
        m_sourceState = 2;
        if (!m_mirrorUrl.empty()) {
            result = Transformed(NumberedMirrorUrl(fileNumber));
            return true;
        }
    }
    if (m_sourceState == 2) {
        m_sourceState = 3;
        if (m_direct) {
            result = Transformed(url);
            return true;
        }
    }
    return false;
}

void DownloadConfiguration::SetPortRedirectionTunnel(std::uint32_t sourcePort,
                                                     std::uint32_t destinationPort) {
    m_useRedirectionTunnel = sourcePort != 0 && destinationPort != 0;
    m_portRedirectionTunnelSource = m_useRedirectionTunnel ? sourcePort : 0;
    m_portRedirectionTunnelDestination = m_useRedirectionTunnel ? destinationPort : 0;
}

void DownloadConfiguration::TransformURL(char const* url, Stringy& result) {
    std::string_view const text = url != nullptr ? std::string_view(url) : std::string_view();
    result = Stringy(text);
    if (!m_useRedirectionTunnel || text.size() < kMinimumRedirectableLength ||
        !text.starts_with(kPlainScheme))
        return;
    std::size_t colon = kPlainScheme.size();
    while (colon < text.size() && text[colon] != '/' && text[colon] != ':')
        ++colon;
    if (colon == text.size() || text[colon] == '/')
        return;
    std::size_t digitsEnd = colon + 1;
    std::uint64_t port = 0;
    for (; digitsEnd < text.size() && IsDigit(text[digitsEnd]); ++digitsEnd) {
        if (port < kPortCeiling)
            port = port * 10 + static_cast<std::uint64_t>(text[digitsEnd] - '0');
    }
    // A port that ends the text has no path to redirect.
    if (digitsEnd == text.size() || port != m_portRedirectionTunnelSource)
        return;
    std::string redirected(kSecureScheme);
    redirected.append(text.substr(kPlainScheme.size(), colon + 1 - kPlainScheme.size()));
    redirected.append(std::to_string(m_portRedirectionTunnelDestination));
    redirected.append(text.substr(digitsEnd));
    result = Stringy(redirected);
}
