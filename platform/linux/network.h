// The machine's interface address list (getifaddrs) and small wrappers over
// its entries. Address families are reported in the numbering the
// inspectors' vocabulary uses (link entries as 18, IPv6 as 30), whatever the
// system's own numbers are, so that expressions read alike everywhere.
#pragma once

#include <cstdint>
#include <ifaddrs.h>

#include "evaluator/errors.h"
#include "util/bytes.h"

#define ZOR_INTERFACE_ERROR(Name)                                                                  \
    class Name : public DebuggableException {                                                      \
    public:                                                                                        \
        const char* what() const noexcept override { return #Name; }                               \
    }

ZOR_INTERFACE_ERROR(GetIFAddrFailed);
ZOR_INTERFACE_ERROR(NoIFAddress);
ZOR_INTERFACE_ERROR(NoIFNetMask);
ZOR_INTERFACE_ERROR(NoIFBroadcast);
ZOR_INTERFACE_ERROR(NotAF_INET);
ZOR_INTERFACE_ERROR(NotAF_LINK);

#undef ZOR_INTERFACE_ERROR

namespace platform {

// Reported address families.
inline constexpr std::uint8_t kFamilyUnspecified = 0;
inline constexpr std::uint8_t kFamilyInet = 2;
inline constexpr std::uint8_t kFamilyLink = 18;
inline constexpr std::uint8_t kFamilyInet6 = 30;
// A system family with no counterpart in the reported numbering is reported
// as this offset plus its own number: above every named family, and distinct.
inline constexpr std::uint8_t kUnmappedFamilyOffset = 64;

// Interface flags as the system defines them.
extern unsigned const kInterfaceUp;
extern unsigned const kInterfaceBroadcast;
extern unsigned const kInterfaceLoopback;
extern unsigned const kInterfacePointToPoint;
extern unsigned const kInterfaceMulticast;

// The reported number of a system address family.
std::uint8_t ReportedFamily(unsigned systemFamily);

// Where interface address lists come from; the live one calls getifaddrs.
class InterfaceAddressSource {
public:
    virtual ~InterfaceAddressSource() = default;
    // 0 and the list's head, or non-zero on failure.
    virtual int Get(ifaddrs** list) = 0;
    virtual void Free(ifaddrs* list) = 0;
};

InterfaceAddressSource& InterfaceAddresses();

// Installs a stand-in for its lifetime.
class ScopedInterfaceAddressSource {
public:
    explicit ScopedInterfaceAddressSource(InterfaceAddressSource& source);
    ~ScopedInterfaceAddressSource();
    ScopedInterfaceAddressSource(ScopedInterfaceAddressSource const&) = delete;
    ScopedInterfaceAddressSource& operator=(ScopedInterfaceAddressSource const&) = delete;

private:
    InterfaceAddressSource* previous_;
};

} // namespace platform

// One entry of the list (null = past the end); the list owns it.
class IFAddr {
public:
    explicit IFAddr(ifaddrs const* entry = nullptr) : entry_(entry) {}

    ifaddrs const* Entry() const { return entry_; }
    explicit operator bool() const { return entry_ != nullptr; }

    // The reported family; an entry without an address counts as unspecified.
    std::uint8_t Family() const;
    ConstData Name() const;
    unsigned Flags() const;
    bool IsLoopback() const;
    // The next entry after this one of the family (null if none).
    IFAddr NextIPAddr() const;
    IFAddr NextLinkAddr() const;

private:
    IFAddr NextOfFamily(std::uint8_t family) const;
    ifaddrs const* entry_;
};

// An IPv4 entry; throws NotAF_INET for a non-null entry of another family.
class IPAddr : public IFAddr {
public:
    explicit IPAddr(IFAddr entry);
    // Host byte order. Throw NoIFAddress, NoIFBroadcast, NoIFNetMask when the
    // entry lacks the address.
    std::uint32_t Address() const;
    std::uint32_t Broadcast() const;
    std::uint32_t NetMask() const;
    std::uint32_t SubnetAddress() const;
};

// A link-layer entry; throws NotAF_LINK for a non-null entry of another family.
class LinkAddr : public IFAddr {
public:
    explicit LinkAddr(IFAddr entry);
    // The hardware address bytes, in the list's memory; NoIFAddress when the
    // entry has no address.
    ConstData MacAddress() const;
};

// Owns one interface address list and counts its entries.
class IFAddrList {
public:
    // Reads the list; throws GetIFAddrFailed.
    IFAddrList();
    ~IFAddrList();
    // Ownership passes on: the source is left empty.
    IFAddrList(IFAddrList&& source) noexcept;
    IFAddrList& operator=(IFAddrList& source);
    IFAddrList(IFAddrList const&) = delete;

    void FreeList();

    IFAddr First() const { return IFAddr(head_); }
    IFAddr GetFirstIPAddr() const;
    IFAddr GetFirstLinkAddr() const;
    std::uint32_t Count() const { return count_; }
    std::uint32_t IPCount() const { return ipCount_; }
    std::uint32_t LinkCount() const { return linkCount_; }

    // The same IPv4 addresses in the same order; everything else is ignored.
    bool SameIPAddresses(IFAddrList const& other) const;

private:
    ifaddrs* head_ = nullptr;
    std::uint32_t count_ = 0;
    std::uint32_t ipCount_ = 0;
    std::uint32_t linkCount_ = 0;
};
