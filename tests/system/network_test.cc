// The network interface inspectors and the interface-list wrappers against
// a stand-in address list built in memory.
#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <cstring>
#include <deque>
#include <linux/if_packet.h>
#include <net/if.h>
#include <netinet/in.h>
#include <optional>
#include <string>
#include <vector>

#include "inspectors/system/network.h"
#include "platform/linux/network.h"
#include "tests/system/ask.h"

using system_test::Ask;
using system_test::Expect;

namespace {

constexpr unsigned kUpBroadcastMulticast = IFF_UP | IFF_BROADCAST | IFF_MULTICAST;

// An address list in memory, handed out as getifaddrs would; counts how
// often it is read and freed.
class FakeInterfaces : public platform::InterfaceAddressSource {
public:
    int gets = 0;
    int frees = 0;
    bool fail = false;

    FakeInterfaces& Inet(char const* name, char const* address, std::optional<char const*> mask,
                         std::optional<char const*> broadcast, unsigned flags) {
        Node& node = Add(name, flags, AF_INET);
        Inet4(node.address, address);
        node.entry.ifa_netmask = mask ? Inet4(node.mask, *mask) : nullptr;
        node.entry.ifa_broadaddr = broadcast ? Inet4(node.broadcast, *broadcast) : nullptr;
        return *this;
    }

    FakeInterfaces& Link(char const* name, std::vector<unsigned char> const& hardware,
                         unsigned flags) {
        auto* link = reinterpret_cast<sockaddr_ll*>(&Add(name, flags, AF_PACKET).address);
        link->sll_halen = static_cast<unsigned char>(hardware.size());
        std::memcpy(link->sll_addr, hardware.data(), hardware.size());
        return *this;
    }

    // An entry of another family; AF_UNSPEC gives one without an address.
    FakeInterfaces& Other(char const* name, sa_family_t family, unsigned flags) {
        Add(name, flags, family);
        return *this;
    }

    int Get(ifaddrs** list) override {
        ++gets;
        if (fail) {
            return -1;
        }
        *list = nodes_.empty() ? nullptr : &nodes_.front().entry;
        return 0;
    }
    void Free(ifaddrs*) override { ++frees; }

private:
    struct Node {
        ifaddrs entry{};
        std::string name;
        sockaddr_storage address{};
        sockaddr_storage mask{};
        sockaddr_storage broadcast{};
    };

    static sockaddr* Inet4(sockaddr_storage& storage, char const* text) {
        storage.ss_family = AF_INET;
        inet_pton(AF_INET, text, &reinterpret_cast<sockaddr_in*>(&storage)->sin_addr);
        return reinterpret_cast<sockaddr*>(&storage);
    }

    Node& Add(char const* name, unsigned flags, sa_family_t family) {
        Node& node = nodes_.emplace_back();
        node.name = name;
        node.entry.ifa_name = node.name.data();
        node.entry.ifa_flags = flags;
        node.address.ss_family = family;
        if (family != AF_UNSPEC) {
            node.entry.ifa_addr = reinterpret_cast<sockaddr*>(&node.address);
        }
        if (nodes_.size() > 1) {
            nodes_[nodes_.size() - 2].entry.ifa_next = &node.entry;
        }
        return node;
    }

    std::deque<Node> nodes_;
};

class NetworkInspectors : public testing::Test {
protected:
    FakeInterfaces interfaces;

    // A typical machine: link entries first, then IPv4, then IPv6.
    void TypicalMachine() {
        interfaces.Link("lo", {0, 0, 0, 0, 0, 0}, IFF_UP | IFF_LOOPBACK)
            .Link("eth0", {0x00, 0x11, 0x22, 0xaa, 0xbb, 0xcc}, kUpBroadcastMulticast)
            .Inet("lo", "127.0.0.1", "255.0.0.0", "127.0.0.1", IFF_UP | IFF_LOOPBACK)
            .Inet("eth0", "192.168.1.20", "255.255.255.0", "192.168.1.255", kUpBroadcastMulticast)
            .Other("eth0", AF_INET6, kUpBroadcastMulticast);
    }

private:
    platform::ScopedInterfaceAddressSource installed{interfaces};
};

} // namespace

TEST_F(NetworkInspectors, ATypicalMachine) {
    TypicalMachine();
    Expect({
        {"names of interfaces of network", "lo; eth0; lo; eth0; eth0"},
        {"families of interfaces of network", "18; 18; 2; 2; 30"},
        {"family names of interfaces of network", "AF_LINK; AF_LINK; AF_INET; AF_INET; AF_INET6"},
        {"ups of interfaces of network", "True; True; True; True; True"},
        {"(number of ip interfaces of it, number of link interfaces of it) of network", "2, 2"},
        {"addresses of ip interfaces of network", "127.0.0.1; 192.168.1.20"},
        {"broadcast addresses of ip interfaces of network", "127.0.0.1; 192.168.1.255"},
        {"subnet masks of ip interfaces of network", "255.0.0.0; 255.255.255.0"},
        {"subnet addresses of ip interfaces of network", "127.0.0.0; 192.168.1.0"},
        {"loopbacks of ip interfaces of network", "True; False"},
        {"broadcast supports of ip interfaces of network", "False; True"},
        {"multicast supports of ip interfaces of network", "False; True"},
        {"point to points of ip interfaces of network", "False; False"},
        {"mac addresses of link interfaces of network", "00-00-00-00-00-00; 00-11-22-aa-bb-cc"},
        // Numbers count from one; a link number steps through the entries
        // after the first link entry, so 2 lands on an IPv4 entry.
        {"(exists interface 0 of it, exists interface 6 of it, exists interface 4294967297 of it) "
         "of network",
         "False, False, False"},
        {"(family of interface 1 of it, family of interface 5 of it) of network", "18, 30"},
        {"address of ip interface 2 of network", "192.168.1.20"},
        {"(exists ip interface 3 of it, exists ip interface 0 of it) of network", "False, False"},
        {"exists link interface 3 of network", "False"},
        {"mac address of link interface 2 of network", "error: NotAF_LINK"},
    });
    EXPECT_EQ(interfaces.gets, interfaces.frees);
}

TEST_F(NetworkInspectors, MissingAddressesOfAnIpEntryAreErrors) {
    interfaces.Inet("ppp0", "10.0.0.1", std::nullopt, "10.0.0.2", IFF_UP | IFF_POINTOPOINT);
    Expect({{"addresses of ip interfaces of network", "error: NoIFNetMask"}});
    FakeInterfaces noBroadcast;
    noBroadcast.Inet("eth0", "10.0.0.1", "255.0.0.0", std::nullopt, IFF_UP);
    platform::ScopedInterfaceAddressSource installed(noBroadcast);
    Expect({{"address of ip interface 1 of network", "error: NoIFBroadcast"},
            {"primary internet connection", "error: NoIFBroadcast"}});
    EXPECT_EQ(noBroadcast.gets, noBroadcast.frees);
}

TEST_F(NetworkInspectors, EntriesWithoutAnAddressOrOfUnknownFamilyAreHarmless) {
    interfaces.Other("tun0", AF_UNSPEC, 0)
        .Other("can0", AF_CAN, IFF_UP)
        .Other("nl", AF_NETLINK, IFF_UP);
    Expect(
        {{"families of interfaces of network",
          "0; " + std::to_string(platform::kUnmappedFamilyOffset + AF_CAN) + "; 17"},
         {"family names of interfaces of network", "AF_UNSPEC; AF_ROUTE"},
         {"(number of ip interfaces of it, number of link interfaces of it) of network", "0, 0"}});
}

TEST_F(NetworkInspectors, PrimaryConnectionIsTheFirstIpEntryThatIsNotLoopback) {
    interfaces.Inet("lo", "127.0.0.1", "255.0.0.0", "127.0.0.1", IFF_UP | IFF_LOOPBACK);
    Expect({{"exists primary internet connection", "False"}});
    interfaces.Inet("eth0", "10.1.2.3", "255.255.0.0", "10.1.255.255", IFF_BROADCAST)
        .Inet("eth1", "10.9.9.9", "255.0.0.0", "10.255.255.255", kUpBroadcastMulticast);
    Expect({{"(name of it, subnet address of it, up of it) of primary internet connection",
             "eth0, 10.1.0.0, False"},
            {"(broadcast support of it, multicast support of it) of primary internet connection",
             "True, False"}});
    EXPECT_EQ(interfaces.gets, interfaces.frees);
}

TEST_F(NetworkInspectors, EachNetworkValueReadsAndFreesItsOwnList) {
    TypicalMachine();
    Ask("number of interfaces of network");
    Ask("names of ip interfaces of network");
    EXPECT_EQ(interfaces.gets, 2);
    EXPECT_EQ(interfaces.frees, 2);
    interfaces.fail = true;
    Expect({{"network", "error: GetIFAddrFailed"},
            {"primary internet connection", "error: GetIFAddrFailed"}});
    EXPECT_EQ(interfaces.frees, 2);
}

TEST_F(NetworkInspectors, AnEmptyListHasNoInterfaces) {
    Expect({{"(number of interfaces of it, number of link interfaces of it, exists interface 1 of "
             "it) of network",
             "0, 0, False"},
            {"exists primary internet connection", "False"}});
}

// The common names are seen end to end; here the ends of the table.
TEST(FamilyName, TheThirtyEightNamedFamilies) {
    EXPECT_STREQ(FamilyName(36), "AF_RESERVED_36");
    EXPECT_STREQ(FamilyName(37), "AF_MAX");
    EXPECT_THROW(FamilyName(38), NoSuchObject);
    EXPECT_THROW(FamilyName(255), NoSuchObject);
    EXPECT_THROW(FamilyName(-1), NoSuchObject);
}

TEST(ReportedFamily, SystemFamiliesInTheInspectorsNumbering) {
    EXPECT_EQ(platform::ReportedFamily(AF_UNIX), 1);
    EXPECT_GT(platform::ReportedFamily(AF_BLUETOOTH), 37);
    EXPECT_NE(platform::ReportedFamily(AF_BLUETOOTH), platform::ReportedFamily(AF_CAN));
    EXPECT_EQ(platform::ReportedFamily(100000), 255);
}

TEST(IFAddrListTest, SameIpAddressesMeansTheSameIpv4AddressesInOrder) {
    FakeInterfaces empty;
    platform::ScopedInterfaceAddressSource frees(empty); // the fakes own their memory
    std::deque<FakeInterfaces> sources;
    // A link entry, then each IPv4 address given followed by an IPv6 entry.
    auto snapshot = [&](std::vector<char const*> const& addresses, char const* mask) {
        FakeInterfaces& source = sources.emplace_back();
        source.Link("en0", {1, 2, 3, 4, 5, 6}, IFF_UP);
        for (char const* address : addresses)
            source.Inet("en1", address, mask, "10.255.255.255", IFF_UP).Other("en1", AF_INET6, 0);
        platform::ScopedInterfaceAddressSource installed(source);
        return IFAddrList();
    };
    IFAddrList const first = snapshot({"10.0.0.1", "10.0.0.2"}, "255.0.0.0");
    EXPECT_EQ(first.Count(), 5u);
    EXPECT_EQ(first.IPCount(), 2u);
    EXPECT_EQ(first.LinkCount(), 1u);
    EXPECT_TRUE(first.SameIPAddresses(snapshot({"10.0.0.1", "10.0.0.2"}, "255.255.0.0")));
    EXPECT_FALSE(first.SameIPAddresses(snapshot({"10.0.0.2", "10.0.0.1"}, "255.0.0.0")));
    IFAddrList const longer = snapshot({"10.0.0.1", "10.0.0.2", "10.0.0.3"}, "255.0.0.0");
    EXPECT_FALSE(first.SameIPAddresses(longer));
    EXPECT_FALSE(longer.SameIPAddresses(first));
    EXPECT_FALSE(first.SameIPAddresses(IFAddrList()));
    EXPECT_TRUE(IFAddrList().SameIPAddresses(snapshot({}, "")));
}

TEST(IFAddrListTest, AssignmentHandsTheListOver) {
    FakeInterfaces source;
    source.Link("en0", {1, 2, 3, 4, 5, 6}, IFF_UP)
        .Inet("en0", "10.0.0.1", "255.0.0.0", "10.255.255.255", IFF_UP);
    platform::ScopedInterfaceAddressSource installed(source);
    {
        IFAddrList first;
        IFAddrList second;
        second = first;
        EXPECT_EQ(source.frees, 1); // second's own list
        EXPECT_FALSE(first.First());
        EXPECT_TRUE(second.First());
        EXPECT_EQ(second.GetFirstLinkAddr().Name().str(), "en0");
        EXPECT_EQ(IPAddr(second.GetFirstIPAddr()).Address(), 0x0A000001u);
        EXPECT_THROW(IPAddr(second.GetFirstLinkAddr()), NotAF_INET);
        EXPECT_THROW(LinkAddr(second.GetFirstIPAddr()), NotAF_LINK);
        EXPECT_FALSE(second.GetFirstIPAddr().NextIPAddr());
        first.FreeList();
        EXPECT_EQ(source.frees, 1);
    }
    EXPECT_EQ(source.frees, 2);
}
