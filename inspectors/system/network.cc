#include "inspectors/system/network.h"

#include <iterator>

#include "evaluator/errors.h"
#include "framework/fingerprints.h"
#include "framework/memory.h"
#include "framework/prop.h"
#include "util/ascii.h"

namespace {

// Indexed by reported family number.
constexpr char const* sFamilyNameTable[] = {
    "AF_UNSPEC",      "AF_UNIX",       "AF_INET",        "AF_IMPLINK",
    "AF_PUP",         "AF_CHAOS",      "AF_NS",          "AF_ISO",
    "AF_ECMA",        "AF_DATAKIT",    "AF_CCITT",       "AF_SNA",
    "AF_DECnet",      "AF_DLI",        "AF_LAT",         "AF_HYLINK",
    "AF_APPLETALK",   "AF_ROUTE",      "AF_LINK",        "pseudo_AF_XTP",
    "AF_COIP",        "AF_CNT",        "pseudo_AF_RTIP", "AF_IPX",
    "AF_SIP",         "pseudo_AF_PIP", "pseudo_AF_BLUE", "AF_NDRV",
    "AF_ISDN",        "pseudo_AF_KEY", "AF_INET6",       "AF_NATM",
    "AF_SYSTEM",      "AF_NETBIOS",    "AF_PPP",         "pseudo_AF_HDRCMPLT",
    "AF_RESERVED_36", "AF_MAX",
};
static_assert(std::size(sFamilyNameTable) == 38);

constexpr std::uint32_t kLargestIndex = 0xFFFFFFFFu;

inspector_string Copy(ConstData text) {
    return CopyToInspectorString(text);
}

network_interface InterfaceValue(IFAddr entry) {
    return {entry.Family(), Stringy(entry.Name()), entry.Flags()};
}

// Reads all four addresses now, so that a missing one fails the value.
network_ip_interface IpInterfaceValue(IPAddr entry) {
    network_ip_interface value;
    static_cast<network_interface&>(value) = InterfaceValue(entry);
    value.address = {entry.Address()};
    value.broadcast = {entry.Broadcast()};
    value.mask = {entry.NetMask()};
    value.subnet = {entry.SubnetAddress()};
    return value;
}

network_link_interface LinkInterfaceValue(LinkAddr entry) {
    network_link_interface value;
    static_cast<network_interface&>(value) = InterfaceValue(entry);
    value.hardware = Stringy(entry.MacAddress());
    return value;
}

// The n-th entry (1-based) of a kind holding `count` entries, stepping from
// `first` with `step`; NoSuchObject when n is out of range or the walk runs out.
template <class Step>
IFAddr Numbered(unsigned long long n, std::uint32_t count, IFAddr first, Step step) {
    if (n == 0 || n > kLargestIndex || n > count) {
        throw NoSuchObject();
    }
    IFAddr entry = first;
    for (unsigned long long remaining = n - 1; entry && remaining > 0; --remaining) {
        entry = step(entry);
    }
    if (!entry) {
        throw NoSuchObject();
    }
    return entry;
}

IFAddr Following(IFAddr entry) {
    return IFAddr(entry.Entry()->ifa_next);
}

IFAddr FollowingIP(IFAddr entry) {
    return entry.NextIPAddr();
}

bool HasFlag(network_interface const& interface, unsigned flag) {
    return (interface.flags & flag) != 0;
}

// Yields the current entry, moving on to the next of its kind.
template <class Step> IFAddr Advance(IFAddr& current, Step step) {
    if (!current) {
        throw NoSuchObject();
    }
    IFAddr const entry = current;
    current = step(entry);
    return entry;
}

} // namespace

char const* FamilyName(integer family) {
    if (family < 0 || family >= static_cast<integer>(std::size(sFamilyNameTable))) {
        throw NoSuchObject();
    }
    return sFamilyNameTable[family];
}

std::string MacAddressText(ConstData bytes) {
    std::string text;
    for (unsigned char byte : bytes.view()) {
        if (!text.empty()) {
            text.push_back('-');
        }
        text.push_back(Ascii::HexDigit(byte >> 4));
        text.push_back(Ascii::HexDigit(byte & 0xF));
    }
    return text;
}

network_interface interface_iterator::First(Of of, IFAddrList const& network) {
    current_ = network.First();
    return Next(of, network);
}

network_interface interface_iterator::Next(Of, IFAddrList const&) {
    return InterfaceValue(Advance(current_, Following));
}

network_ip_interface ip_interface_iterator::First(Of of, IFAddrList const& network) {
    current_ = network.GetFirstIPAddr();
    return Next(of, network);
}

network_ip_interface ip_interface_iterator::Next(Of, IFAddrList const&) {
    return IpInterfaceValue(IPAddr(Advance(current_, FollowingIP)));
}

network_link_interface link_interface_iterator::First(Of of, IFAddrList const& network) {
    current_ = network.GetFirstLinkAddr();
    return Next(of, network);
}

network_link_interface link_interface_iterator::Next(Of, IFAddrList const&) {
    return LinkInterfaceValue(
        LinkAddr(Advance(current_, [](IFAddr entry) { return entry.NextLinkAddr(); })));
}

IFAddrList network() {
    return IFAddrList();
}

network_ip_interface primary_internet_connection() {
    IFAddrList const list;
    for (IFAddr entry = list.GetFirstIPAddr(); entry; entry = entry.NextIPAddr()) {
        if (!entry.IsLoopback()) {
            return IpInterfaceValue(IPAddr(entry));
        }
    }
    throw NoSuchObject();
}

network_interface Interface_of(unsigned long long n, IFAddrList const& network) {
    return InterfaceValue(Numbered(n, network.Count(), network.First(), Following));
}

network_ip_interface IpInterface_of(unsigned long long n, IFAddrList const& network) {
    return IpInterfaceValue(
        IPAddr(Numbered(n, network.IPCount(), network.GetFirstIPAddr(), FollowingIP)));
}

// Steps through the IPv4 entries after the first link entry, as the lookup
// always has: number 1 is the first link entry, later numbers land on an IPv4
// entry, which is no link entry (NotAF_LINK), or on none (NoSuchObject).
network_link_interface LinkInterface_of(unsigned long long n, IFAddrList const& network) {
    return LinkInterfaceValue(
        LinkAddr(Numbered(n, network.LinkCount(), network.GetFirstLinkAddr(), FollowingIP)));
}

integer family_of(Of, network_interface const& interface) {
    return interface.family;
}

inspector_string family_name_of(Of, network_interface const& interface) {
    return Copy(FamilyName(interface.family));
}

inspector_string name_of(Of, network_interface const& interface) {
    return AsInspectorString(interface.name.Data());
}

boolean up_of(Of, network_interface const& interface) {
    return HasFlag(interface, platform::kInterfaceUp);
}

boolean loopback_of(Of, network_ip_interface const& interface) {
    return HasFlag(interface, platform::kInterfaceLoopback);
}

boolean broadcast_support_of(Of, network_ip_interface const& interface) {
    return HasFlag(interface, platform::kInterfaceBroadcast);
}

boolean multicast_support_of(Of, network_ip_interface const& interface) {
    return HasFlag(interface, platform::kInterfaceMulticast);
}

boolean point_to_point_of(Of, network_ip_interface const& interface) {
    return HasFlag(interface, platform::kInterfacePointToPoint);
}

ipv4_address address_of(Of, network_ip_interface const& interface) {
    return interface.address;
}

ipv4_address broadcast_address_of(Of, network_ip_interface const& interface) {
    return interface.broadcast;
}

ipv4_address subnet_mask_of(Of, network_ip_interface const& interface) {
    return interface.mask;
}

ipv4_address subnet_address_of(Of, network_ip_interface const& interface) {
    return interface.subnet;
}

inspector_string mac_address_of(Of, network_link_interface const& interface) {
    return Copy(ConstData(MacAddressText(interface.hardware.Data())));
}

namespace {

Type<IFAddrList> networkType;
Type<network_interface> networkInterfaceType;
DerivedType<network_ip_interface, network_interface> networkIpInterfaceType;
DerivedType<network_link_interface, network_interface> networkLinkInterfaceType;

GlobalProperty<IFAddrList> networkOfWorld("network", "networks", network, nullptr);
GlobalProperty<network_ip_interface> primaryConnection("primary internet connection",
                                                       "primary internet connections",
                                                       primary_internet_connection, nullptr);
Prop interfacesOfNetwork("interface", "interfaces", &interface_iterator::First,
                         &interface_iterator::Next, nullptr);
NumberedProperty<IFAddrList, network_interface>
    interfaceOfNetwork("interface", "interfaces", Interface_of, DependsOnlyOnParameters);
Prop familyOfInterface("family", "families", family_of, nullptr);
Prop familyNameOfInterface("family name", "family names", family_name_of, nullptr);
Prop nameOfInterface("name", "names", name_of, nullptr);
Prop upOfInterface("up", "ups", up_of, nullptr);
Prop ipInterfacesOfNetwork("ip interface", "ip interfaces", &ip_interface_iterator::First,
                           &ip_interface_iterator::Next, nullptr);
NumberedProperty<IFAddrList, network_ip_interface>
    ipInterfaceOfNetwork("ip interface", "ip interfaces", IpInterface_of, DependsOnlyOnParameters);
Prop loopbackOfInterface("loopback", "loopbacks", loopback_of, nullptr);
Prop broadcastSupportOfInterface("broadcast support", "broadcast supports", broadcast_support_of,
                                 nullptr);
Prop multicastSupportOfInterface("multicast support", "multicast supports", multicast_support_of,
                                 nullptr);
Prop pointToPointOfInterface("point to point", "point to points", point_to_point_of, nullptr);
Prop addressOfInterface("address", "addresses", address_of, nullptr);
Prop broadcastAddressOfInterface("broadcast address", "broadcast addresses", broadcast_address_of,
                                 nullptr);
Prop subnetMaskOfInterface("subnet mask", "subnet masks", subnet_mask_of, nullptr);
Prop subnetAddressOfInterface("subnet address", "subnet addresses", subnet_address_of, nullptr);
Prop linkInterfacesOfNetwork("link interface", "link interfaces", &link_interface_iterator::First,
                             &link_interface_iterator::Next, nullptr);
NumberedProperty<IFAddrList, network_link_interface>
    linkInterfaceOfNetwork("link interface", "link interfaces", LinkInterface_of,
                           DependsOnlyOnParameters);
Prop macAddressOfInterface("mac address", "mac addresses", mac_address_of, nullptr);

} // namespace
