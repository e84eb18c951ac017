// The candidate servers the agent chooses among, what it knows of their
// distance in network hops, and the big-endian record in which the agent
// stores and exchanges each candidate.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "util/buffer.h"
#include "util/exception.h"
#include "util/instant.h"

using IPAddress = std::uint32_t; // IPv4, host byte order
template <class T> using ConstArrayOf = std::span<T const>;

// The buffer has less room than the record needs; nothing was written.
class DataTooSmall : public ExceptionPL {
public:
    DataTooSmall() : ExceptionPL("the buffer is too small for the record") {}
};

// A record ends before its last field.
class RecordTruncated : public ExceptionPL {
public:
    RecordTruncated() : ExceptionPL("the record ends before its last field") {}
};

struct IPPortAddress {
    IPAddress ip = 0;
    std::uint16_t port = 0;
};

struct HostInfo {
    HostInfo() = default;
    HostInfo(std::string const& name, Instant time, IPPortAddress address, unsigned short priority,
             unsigned short weight)
        : name(name), time(time), address(address), priority(priority), weight(weight) {}

    std::string name;
    Instant time = Instant::First();
    IPPortAddress address;
    std::uint16_t priority = 65535;
    std::uint16_t weight = 0;
};

class HostSelectorEntry : public HostInfo {
public:
    static constexpr std::size_t cMaxGateways = 20;

    using HostInfo::HostInfo;

    // A time-exceeded report from gateway at hop: the host lies beyond hop.
    // Only a hop strictly between the bounds tells anything new.
    void RecordTimeExceeded(unsigned char hop, IPAddress gateway);
    // The gateways that reported the host beyond 1, 2, ... hops.
    ConstArrayOf<IPAddress> GatewayAddresses() const;

    std::uint8_t distanceLowerBound = 255;
    std::uint8_t distanceUpperBound = 255;
    std::uint32_t competitionSize = 0;
    std::uint32_t competitionWeight = 0;
    std::array<IPAddress, cMaxGateways> gateways{};
};

std::size_t FlattenedLength(HostInfo const& info);
std::size_t FlattenedLength(HostSelectorEntry const& entry);

// Writing checks the room first and throws DataTooSmall before any byte is
// written; reading throws RecordTruncated at the end of the bytes.
Buffer& operator<<(Buffer& out, HostInfo const& info);
Buffer& operator<<(Buffer& out, HostSelectorEntry const& entry);
ConstBuffer& operator>>(ConstBuffer& in, HostInfo& info);
ConstBuffer& operator>>(ConstBuffer& in, HostSelectorEntry& entry);

void SetDistanceBySubnet(HostSelectorEntry& entry, IPAddress address, IPAddress mask);
void SetDistanceBySubnet(std::vector<HostSelectorEntry>& entries, IPAddress address,
                         IPAddress mask);
void ClearDistanceInformation(std::vector<HostSelectorEntry>& entries);
void EraseAddresses(std::vector<HostSelectorEntry>& entries, ConstArrayOf<IPAddress> addresses);
