// The machine's network interfaces as inspector types: the network (a
// snapshot of the interface address list, freed with the value), its
// interfaces of any family, its IPv4 interfaces and its link-layer ones.
#pragma once

#include <cstdint>
#include <string>

#include "evaluator/values.h"
#include "files/stringy.h"
#include "framework/registration.h"
#include "platform/linux/network.h"

template <> struct InspectorTypeName<IFAddrList> {
    static char const* Get() { return "network"; }
};

struct network_interface {
    static char const* TypeName() { return "network interface"; }
    std::uint8_t family;
    Stringy name;
    std::uint32_t flags;
};

struct network_ip_interface : network_interface {
    static char const* TypeName() { return "network ip interface"; }
    ipv4_address address;
    ipv4_address broadcast;
    ipv4_address mask;
    ipv4_address subnet;
};

struct network_link_interface : network_interface {
    static char const* TypeName() { return "network link interface"; }
    Stringy hardware;
};

// Walk the network's entries of one kind in list order, holding only a
// pointer into the network's list.
class interface_iterator {
public:
    network_interface First(Of, IFAddrList const& network);
    network_interface Next(Of, IFAddrList const& network);

private:
    IFAddr current_;
};

class ip_interface_iterator {
public:
    network_ip_interface First(Of, IFAddrList const& network);
    network_ip_interface Next(Of, IFAddrList const& network);

private:
    IFAddr current_;
};

class link_interface_iterator {
public:
    network_link_interface First(Of, IFAddrList const& network);
    network_link_interface Next(Of, IFAddrList const& network);

private:
    IFAddr current_;
};

// The name of a reported address family; NoSuchObject above 37.
char const* FamilyName(integer family);
// Hardware address bytes as lowercase hex pairs joined by "-".
std::string MacAddressText(ConstData bytes);

IFAddrList network();
network_ip_interface primary_internet_connection();
network_interface Interface_of(unsigned long long n, IFAddrList const& network);
network_ip_interface IpInterface_of(unsigned long long n, IFAddrList const& network);
network_link_interface LinkInterface_of(unsigned long long n, IFAddrList const& network);

integer family_of(Of, network_interface const& interface);
inspector_string family_name_of(Of, network_interface const& interface);
inspector_string name_of(Of, network_interface const& interface);
boolean up_of(Of, network_interface const& interface);
boolean loopback_of(Of, network_ip_interface const& interface);
boolean broadcast_support_of(Of, network_ip_interface const& interface);
boolean multicast_support_of(Of, network_ip_interface const& interface);
boolean point_to_point_of(Of, network_ip_interface const& interface);
ipv4_address address_of(Of, network_ip_interface const& interface);
ipv4_address broadcast_address_of(Of, network_ip_interface const& interface);
ipv4_address subnet_mask_of(Of, network_ip_interface const& interface);
ipv4_address subnet_address_of(Of, network_ip_interface const& interface);
inspector_string mac_address_of(Of, network_link_interface const& interface);
