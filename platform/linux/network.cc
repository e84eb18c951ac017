#include "platform/linux/network.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstring>
#include <linux/if_packet.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace platform {

unsigned const kInterfaceUp = IFF_UP;
unsigned const kInterfaceBroadcast = IFF_BROADCAST;
unsigned const kInterfaceLoopback = IFF_LOOPBACK;
unsigned const kInterfacePointToPoint = IFF_POINTOPOINT;
unsigned const kInterfaceMulticast = IFF_MULTICAST;

std::uint8_t ReportedFamily(unsigned systemFamily) {
    struct Mapping {
        unsigned system;
        std::uint8_t reported;
    };
    static constexpr Mapping kMappings[] = {
        {AF_UNSPEC, kFamilyUnspecified},
        {AF_UNIX, 1},
        {AF_INET, kFamilyInet},
        {AF_IPX, 23},
        {AF_APPLETALK, 16},
        {AF_INET6, kFamilyInet6},
        {AF_DECnet, 12},
        {AF_KEY, 29},
        {AF_NETLINK, 17}, // the routing socket family
        {AF_PACKET, kFamilyLink},
        {AF_SNA, 11},
        {AF_ISDN, 28},
    };
    for (Mapping const& mapping : kMappings) {
        if (mapping.system == systemFamily) {
            return mapping.reported;
        }
    }
    return static_cast<std::uint8_t>(std::min(systemFamily + kUnmappedFamilyOffset, 255u));
}

namespace {

class LiveInterfaceAddresses final : public InterfaceAddressSource {
public:
    int Get(ifaddrs** list) override { return ::getifaddrs(list); }
    void Free(ifaddrs* list) override { ::freeifaddrs(list); }
};

InterfaceAddressSource* gInstalled = nullptr;

} // namespace

InterfaceAddressSource& InterfaceAddresses() {
    static LiveInterfaceAddresses live;
    return gInstalled ? *gInstalled : live;
}

ScopedInterfaceAddressSource::ScopedInterfaceAddressSource(InterfaceAddressSource& source)
    : previous_(gInstalled) {
    gInstalled = &source;
}

ScopedInterfaceAddressSource::~ScopedInterfaceAddressSource() {
    gInstalled = previous_;
}

} // namespace platform

namespace {

std::uint32_t HostOrderAddress(sockaddr const* address) {
    sockaddr_in inet;
    std::memcpy(&inet, address, sizeof inet);
    return ntohl(inet.sin_addr.s_addr);
}

} // namespace

std::uint8_t IFAddr::Family() const {
    if (!entry_->ifa_addr) {
        return platform::kFamilyUnspecified;
    }
    return platform::ReportedFamily(entry_->ifa_addr->sa_family);
}

ConstData IFAddr::Name() const {
    return ConstData(entry_->ifa_name ? entry_->ifa_name : "");
}

unsigned IFAddr::Flags() const {
    return entry_->ifa_flags;
}

bool IFAddr::IsLoopback() const {
    return (entry_->ifa_flags & platform::kInterfaceLoopback) != 0;
}

IFAddr IFAddr::NextOfFamily(std::uint8_t family) const {
    for (IFAddr next(entry_->ifa_next); next; next = IFAddr(next.entry_->ifa_next)) {
        if (next.Family() == family) {
            return next;
        }
    }
    return IFAddr();
}

IFAddr IFAddr::NextIPAddr() const {
    return NextOfFamily(platform::kFamilyInet);
}

IFAddr IFAddr::NextLinkAddr() const {
    return NextOfFamily(platform::kFamilyLink);
}

IPAddr::IPAddr(IFAddr entry) : IFAddr(entry) {
    if (entry && entry.Family() != platform::kFamilyInet) {
        throw NotAF_INET();
    }
}

std::uint32_t IPAddr::Address() const {
    if (!Entry()->ifa_addr) {
        throw NoIFAddress();
    }
    return HostOrderAddress(Entry()->ifa_addr);
}

std::uint32_t IPAddr::Broadcast() const {
    if (!Entry()->ifa_broadaddr) {
        throw NoIFBroadcast();
    }
    return HostOrderAddress(Entry()->ifa_broadaddr);
}

std::uint32_t IPAddr::NetMask() const {
    if (!Entry()->ifa_netmask) {
        throw NoIFNetMask();
    }
    return HostOrderAddress(Entry()->ifa_netmask);
}

std::uint32_t IPAddr::SubnetAddress() const {
    return Address() & NetMask();
}

LinkAddr::LinkAddr(IFAddr entry) : IFAddr(entry) {
    if (entry && entry.Family() != platform::kFamilyLink) {
        throw NotAF_LINK();
    }
}

ConstData LinkAddr::MacAddress() const {
    auto const* link = reinterpret_cast<sockaddr_ll const*>(Entry()->ifa_addr);
    if (!link) {
        throw NoIFAddress();
    }
    std::size_t const length = std::min<std::size_t>(link->sll_halen, sizeof link->sll_addr);
    return ConstData(link->sll_addr, length);
}

IFAddrList::IFAddrList() {
    if (platform::InterfaceAddresses().Get(&head_) != 0) {
        head_ = nullptr;
        throw GetIFAddrFailed();
    }
    for (IFAddr entry = First(); entry; entry = IFAddr(entry.Entry()->ifa_next)) {
        ++count_;
        ipCount_ += entry.Family() == platform::kFamilyInet;
        linkCount_ += entry.Family() == platform::kFamilyLink;
    }
}

IFAddrList::~IFAddrList() {
    FreeList();
}

IFAddrList::IFAddrList(IFAddrList&& source) noexcept
    : head_(source.head_), count_(source.count_), ipCount_(source.ipCount_),
      linkCount_(source.linkCount_) {
    source.head_ = nullptr;
}

IFAddrList& IFAddrList::operator=(IFAddrList& source) {
    if (this != &source) {
        FreeList();
        head_ = source.head_;
        count_ = source.count_;
        ipCount_ = source.ipCount_;
        linkCount_ = source.linkCount_;
        source.head_ = nullptr;
    }
    return *this;
}

void IFAddrList::FreeList() {
    if (head_) {
        platform::InterfaceAddresses().Free(head_);
        head_ = nullptr;
    }
}

IFAddr IFAddrList::GetFirstIPAddr() const {
    IFAddr const head = First();
    if (!head || head.Family() == platform::kFamilyInet) {
        return head;
    }
    return head.NextIPAddr();
}

IFAddr IFAddrList::GetFirstLinkAddr() const {
    IFAddr const head = First();
    if (!head || head.Family() == platform::kFamilyLink) {
        return head;
    }
    return head.NextLinkAddr();
}

bool IFAddrList::SameIPAddresses(IFAddrList const& other) const {
    IFAddr mine = GetFirstIPAddr();
    IFAddr theirs = other.GetFirstIPAddr();
    for (; mine; mine = mine.NextIPAddr(), theirs = theirs.NextIPAddr()) {
        if (!theirs || IPAddr(mine).Address() != IPAddr(theirs).Address()) {
            return false;
        }
    }
    return !theirs;
}
