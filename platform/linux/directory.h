// The local computer's record in the directory the machine is joined to,
// read over LDAP with the system's LDAP client library. The library is
// opened on the first lookup, so a process that never asks pays nothing.
//
// Every step that can fail raises its own error class, named after the call
// of the directory service the step stands for; see the table in
// docs/platform.md.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "evaluator/errors.h"
#include "util/instant.h"

#define ZOR_DIRECTORY_ERROR(Name)                                                                  \
    class Name : public DebuggableException {                                                      \
    public:                                                                                        \
        const char* what() const noexcept override { return #Name; }                               \
    }

// The client library is missing, or no directory is configured.
ZOR_DIRECTORY_ERROR(OpenDirectoryServiceNotAvailable);
// The client library would not give its configured URI or base.
ZOR_DIRECTORY_ERROR(ODGetDirNodeInfoFailed);
// The search base could not be made from the realm's name.
ZOR_DIRECTORY_ERROR(ODBuildListFromPathFailed);
// The realm names no directory server (DNS SRV records).
ZOR_DIRECTORY_ERROR(ODGetSearchDirNodeFailed);
// The server address is not a usable LDAP URI.
ZOR_DIRECTORY_ERROR(ODGetDirNodeNameFailed);
// The client library ran out of memory setting up the connection.
ZOR_DIRECTORY_ERROR(ODDataBufferAllocFailed);
// Connecting or binding failed (server down, wrong credentials, time-out).
ZOR_DIRECTORY_ERROR(ODOpenDirNodeFailed);
// The machine has no host name to build the search from.
ZOR_DIRECTORY_ERROR(ODBuildListFromStringFailed);
// The search found no computer record.
ZOR_DIRECTORY_ERROR(ODGetRecordEntryFailed);
// The record has no distinguishedName attribute.
ZOR_DIRECTORY_ERROR(ODGetAttributeEntryFailed);
// The attribute has no value.
ZOR_DIRECTORY_ERROR(ODGetAttrValueFailed);
// The attribute's value is empty.
ZOR_DIRECTORY_ERROR(ODGetAttributeValueDataFailed);

namespace MacintoshPlatform {
// The search itself failed (no such base, time limit, server error).
ZOR_DIRECTORY_ERROR(DSGetRecordListFailed);
} // namespace MacintoshPlatform

#undef ZOR_DIRECTORY_ERROR

namespace platform {

// Where and how to search.
struct DirectoryConfiguration {
    std::string uri;          // one or more LDAP URIs, separated by spaces
    std::string base;         // the search base
    std::string bindDn;       // simple bind as this DN; empty binds anonymously
    std::string passwordFile; // holds the bind password (one trailing newline is dropped)
    int timeoutSeconds = 10;  // for connecting, and again for each operation
    std::string keytab;       // when set, binds with Kerberos as the computer account instead
};

// The computer account of a host: the short name (before the first dot),
// upper-cased, cut to 15 characters, followed by "$". Empty for an empty name.
std::string ComputerAccountName(std::string_view hostName);

// The search filter for a computer account, with the filter's special
// characters escaped: (&(objectClass=computer)(sAMAccountName=NAME$)).
std::string ComputerFilter(std::string_view accountName);

// The value of `key` in section `section` of an INI-style text (smb.conf,
// krb5.conf): "[section]" headers, "key = value" lines, "#" and ";"
// comments; names compare without regard to case. The first match counts.
std::optional<std::string> ConfigValue(std::string_view text, std::string_view section,
                                       std::string_view key);

// The directory this machine uses, in this order: the client library's own
// configuration when it names a search base (ldap.conf, .ldaprc, LDAPCONF,
// LDAPURI, LDAPBASE, ...), with LDAPBINDDN and ZOR_DIRECTORY_PASSWORD_FILE
// for a simple bind; else the default realm of the Kerberos configuration
// (KRB5_CONFIG or /etc/krb5.conf), else the realm of the Samba
// configuration (/etc/samba/smb.conf), whose servers come from DNS SRV
// records. The keytab is the client keytab (KRB5_CLIENT_KTNAME), else
// /etc/krb5.keytab, when this process may read it. Raises
// OpenDirectoryServiceNotAvailable when none is configured.
DirectoryConfiguration FindDirectory();

// The distinguishedName of the account's computer record; raises the error
// class of the step that failed.
std::string LookUpDistinguishedName(DirectoryConfiguration const& directory,
                                    std::string_view accountName);

// The text that names the failed step of a lookup; called while handling the
// lookup's exception. "Unknown error" for any other exception.
char const* DirectoryErrorText();

// Where the directory inspectors get the time and the local computer's
// distinguished name; the live one asks the directory afresh on every call.
class DirectorySource {
public:
    virtual ~DirectorySource() = default;
    virtual TimeMark Now() const = 0;
    virtual std::string LocalComputerDistinguishedName() const = 0;
};

DirectorySource const& Directory();

// Installs a stand-in for its lifetime.
class ScopedDirectorySource {
public:
    explicit ScopedDirectorySource(DirectorySource const& source);
    ~ScopedDirectorySource();
    ScopedDirectorySource(ScopedDirectorySource const&) = delete;
    ScopedDirectorySource& operator=(ScopedDirectorySource const&) = delete;

private:
    DirectorySource const* previous_;
};

} // namespace platform

namespace MacintoshPlatform {
// The local computer's distinguished name from the directory this machine
// uses; raises the error class of the step that failed.
std::string GetLocalComputerDistinguishedName();
} // namespace MacintoshPlatform
