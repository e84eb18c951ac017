// Where to fetch one file from: a hash-addressed mirror, a numbered mirror,
// or the file's own URL, with an optional HTTP-to-HTTPS port redirection.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "files/stringy.h"

class DownloadConfiguration {
public:
    void SetMirrorUrl(Stringy const& url, std::uint32_t mirrorNumber);
    void SetCheckHash(bool checkHash) { m_checkHash = checkHash; }
    void SetDirect(bool direct) { m_direct = direct; }
    void SetSingleSource(bool singleSource) { m_singleSource = singleSource; }
    void ResetSourceList() { m_sourceState = 0; }
    // Three texts the host agent keeps with each download (index 0 to 2).
    Stringy& HostText(std::size_t index) { return m_hostTexts.at(index); }

    // The next URL to try for file fileNumber; false when none is left.
    bool GetNextSource(Stringy& result, std::uint32_t fileNumber, Stringy const& url,
                       Stringy const& hashValue, Stringy const& hashType);

    // Both ports non-zero enable the rule; otherwise it is off.
    static void SetPortRedirectionTunnel(std::uint32_t sourcePort, std::uint32_t destinationPort);
    static void SetUseUrlMoniker(bool use) { m_useURLMoniker = use; }
    static bool GetUseUrlMoniker() { return m_useURLMoniker; }
    static void SetUseDownloadService(bool use) { m_useDownloadService = use; }
    static bool GetUseDownloadService() { return m_useDownloadService; }

    // Rewrites http://host:<source port>/... to https://host:<destination port>/...
    // when the rule is on; every other url is returned unchanged.
    static void TransformURL(char const* url, Stringy& result);

private:
    Stringy NumberedMirrorUrl(std::uint32_t fileNumber) const;
    static Stringy Transformed(Stringy const& url);

    bool m_singleSource = true;
    Stringy m_mirrorUrl;
    std::uint32_t m_mirrorNumber = 0;
    std::uint32_t m_sourceState = 0;
    bool m_checkHash = false;
    bool m_direct = false;
    // Texts the host agent keeps with the download; nothing here reads them.
    std::array<Stringy, 3> m_hostTexts;

    static bool m_useRedirectionTunnel;
    static std::uint32_t m_portRedirectionTunnelSource;
    static std::uint32_t m_portRedirectionTunnelDestination;
    static bool m_useURLMoniker;
    static bool m_useDownloadService;
};
