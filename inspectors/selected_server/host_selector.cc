#include "inspectors/selected_server/host_selector.h"

#include <algorithm>

namespace {

// Fixed bytes of a host: name length, time, address, port, priority, weight.
constexpr std::size_t cHostFixedBytes = 18;
// The host's check reserves 4 bytes beyond what it writes, so that the
// entry's check, which adds the rest of a full record, comes out exact.
constexpr std::size_t cHostReserve = 4;
constexpr std::size_t cEntryExtraBytes = 90;

template <class T> void PutBigEndian(Buffer& out, T value) {
    for (std::size_t shift = sizeof(T) * 8; shift > 0; shift -= 8)
        out.Put(static_cast<unsigned char>(value >> (shift - 8)));
}

template <class T> T TakeBigEndian(ConstBuffer& in) {
    if (in.Length() < sizeof(T))
        throw RecordTruncated();
    T value = 0;
    for (std::size_t i = 0; i < sizeof(T); ++i)
        value = static_cast<T>((value << 8) | in.Take());
    return value;
}

void CheckRoom(Buffer const& out, std::size_t needed) {
    if (out.Room() < needed)
        throw DataTooSmall();
}

std::size_t GatewayCount(std::uint8_t lowerBound) {
    return std::min<std::size_t>(lowerBound, HostSelectorEntry::cMaxGateways);
}

void WriteHost(Buffer& out, HostInfo const& info) {
    PutBigEndian(out, static_cast<std::uint32_t>(info.name.size()));
    for (char c : info.name)
        out.Put(static_cast<unsigned char>(c));
    // Whole seconds since 1970, truncated and cut to 32 bits as the agent does.
    auto const seconds = (info.time - Instant::Jan_1_1970_GMT()).Microseconds() / 1000000;
    PutBigEndian(out, static_cast<std::uint32_t>(seconds));
    PutBigEndian(out, info.address.ip);
    PutBigEndian(out, info.address.port);
    PutBigEndian(out, info.priority);
    PutBigEndian(out, info.weight);
}

} // namespace

void HostSelectorEntry::RecordTimeExceeded(unsigned char hop, IPAddress gateway) {
    if (hop <= distanceLowerBound || hop >= distanceUpperBound)
        return;
    distanceLowerBound = hop;
    if (hop <= cMaxGateways)
        gateways[hop - 1] = gateway;
}

ConstArrayOf<IPAddress> HostSelectorEntry::GatewayAddresses() const {
    return ConstArrayOf<IPAddress>(gateways.data(), GatewayCount(distanceLowerBound));
}

std::size_t FlattenedLength(HostInfo const& info) {
    return info.name.size() + cHostFixedBytes + cHostReserve;
}

std::size_t FlattenedLength(HostSelectorEntry const& entry) {
    return FlattenedLength(static_cast<HostInfo const&>(entry)) + cEntryExtraBytes;
}

Buffer& operator<<(Buffer& out, HostInfo const& info) {
    CheckRoom(out, FlattenedLength(info));
    WriteHost(out, info);
    return out;
}

Buffer& operator<<(Buffer& out, HostSelectorEntry const& entry) {
    CheckRoom(out, FlattenedLength(entry));
    WriteHost(out, entry);
    out.Put(entry.distanceLowerBound);
    out.Put(entry.distanceUpperBound);
    PutBigEndian(out, entry.competitionSize);
    PutBigEndian(out, entry.competitionWeight);
    auto const gateways = entry.GatewayAddresses();
    PutBigEndian(out, static_cast<std::uint32_t>(gateways.size()));
    for (IPAddress gateway : gateways)
        PutBigEndian(out, gateway);
    return out;
}

ConstBuffer& operator>>(ConstBuffer& in, HostInfo& info) {
    auto const length = TakeBigEndian<std::uint32_t>(in);
    if (in.Length() < length)
        throw RecordTruncated();
    info.name.assign(reinterpret_cast<char const*>(in.Next()), length);
    in.Skip(length);
    // The stored seconds are unsigned: a time before 1970 comes back wrapped.
    auto const seconds = TakeBigEndian<std::uint32_t>(in);
    info.time = Instant::Jan_1_1970_GMT() + TimeInterval::Seconds(seconds);
    info.address.ip = TakeBigEndian<std::uint32_t>(in);
    info.address.port = TakeBigEndian<std::uint16_t>(in);
    info.priority = TakeBigEndian<std::uint16_t>(in);
    info.weight = TakeBigEndian<std::uint16_t>(in);
    return in;
}

ConstBuffer& operator>>(ConstBuffer& in, HostSelectorEntry& entry) {
    entry = HostSelectorEntry();
    in >> static_cast<HostInfo&>(entry);
    entry.distanceLowerBound = TakeBigEndian<std::uint8_t>(in);
    entry.distanceUpperBound = TakeBigEndian<std::uint8_t>(in);
    entry.competitionSize = TakeBigEndian<std::uint32_t>(in);
    entry.competitionWeight = TakeBigEndian<std::uint32_t>(in);
    auto const count = TakeBigEndian<std::uint32_t>(in);
    // Gateways past the twentieth are read and dropped.
    for (std::uint32_t i = 0; i < count; ++i) {
        auto const gateway = TakeBigEndian<std::uint32_t>(in);
        if (i < HostSelectorEntry::cMaxGateways)
            entry.gateways[i] = gateway;
    }
    return in;
}

void SetDistanceBySubnet(HostSelectorEntry& entry, IPAddress address, IPAddress mask) {
    if (((address ^ entry.address.ip) & mask) != 0) {
        entry.RecordTimeExceeded(1, address);
    } else if (entry.distanceUpperBound != 0) {
        entry.distanceUpperBound = 0;
        entry.distanceLowerBound = 0;
    }
}

void SetDistanceBySubnet(std::vector<HostSelectorEntry>& entries, IPAddress address,
                         IPAddress mask) {
    for (auto& entry : entries)
        SetDistanceBySubnet(entry, address, mask);
}

void ClearDistanceInformation(std::vector<HostSelectorEntry>& entries) {
    for (auto& entry : entries) {
        entry.distanceLowerBound = 0;
        entry.distanceUpperBound = 255;
    }
}

void EraseAddresses(std::vector<HostSelectorEntry>& entries, ConstArrayOf<IPAddress> addresses) {
    auto const listed = [&](HostSelectorEntry const& entry) {
        return std::find(addresses.begin(), addresses.end(), entry.address.ip) != addresses.end();
    };
    entries.erase(std::remove_if(entries.begin(), entries.end(), listed), entries.end());
}
