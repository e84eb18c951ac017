#include "platform/linux/directory.h"

#include <gssapi/gssapi_krb5.h>
#include <krb5/krb5.h>
#include <ldap.h>
#include <sasl/sasl.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <exception>
#include <utility>

#include "platform/linux/environment.h"
#include "platform/linux/shared_library.h"
#include "platform/linux/system_info.h"

namespace platform {
namespace {

#define ZOR_STRINGIFY_VALUE(x) #x
#define ZOR_STRINGIFY(x) ZOR_STRINGIFY_VALUE(x)
#if LDAP_VENDOR_VERSION >= 20600
constexpr char kLibraryName[] = "libldap.so.2";
#else
constexpr char kLibraryName[] = "libldap-" ZOR_STRINGIFY(
    LDAP_VENDOR_VERSION_MAJOR) "." ZOR_STRINGIFY(LDAP_VENDOR_VERSION_MINOR) ".so.0";
#endif

constexpr char kAttribute[] = "distinguishedName";
constexpr char kBindDnVariable[] = "LDAPBINDDN";
constexpr char kPasswordFileVariable[] = "ZOR_DIRECTORY_PASSWORD_FILE";
constexpr char kKerberosConfigVariable[] = "KRB5_CONFIG";
constexpr char kKerberosConfigPath[] = "/etc/krb5.conf";
constexpr char kSambaConfigPath[] = "/etc/samba/smb.conf";
constexpr char kClientKeytabVariable[] = "KRB5_CLIENT_KTNAME";
constexpr char kMachineKeytabPath[] = "/etc/krb5.keytab";
constexpr char kFileKeytabPrefix[] = "FILE:";
constexpr char kGssLibraryName[] = "libgssapi_krb5.so.2";
constexpr char kKerberosLibraryName[] = "libkrb5.so.3";
constexpr std::size_t kAccountNameLength = 15;
// The library's LDAP_OPT_ON lives in liblber, which is not linked; any
// pointer but LDAP_OPT_OFF turns an option on.
constexpr int kOptionOn = 1;

// The client library is opened on the first lookup: loading it (and the
// SASL, TLS and Kerberos libraries it pulls in) would cost every process
// start several milliseconds.
struct LdapFunctions {
    decltype(&::ldap_initialize) ldap_initialize;
    decltype(&::ldap_set_option) ldap_set_option;
    decltype(&::ldap_get_option) ldap_get_option;
    decltype(&::ldap_sasl_bind_s) ldap_sasl_bind_s;
    decltype(&::ldap_sasl_interactive_bind_s) ldap_sasl_interactive_bind_s;
    decltype(&::ldap_search_ext_s) ldap_search_ext_s;
    decltype(&::ldap_first_entry) ldap_first_entry;
    decltype(&::ldap_get_values_len) ldap_get_values_len;
    decltype(&::ldap_count_values_len) ldap_count_values_len;
    decltype(&::ldap_value_free_len) ldap_value_free_len;
    decltype(&::ldap_msgfree) ldap_msgfree;
    decltype(&::ldap_memfree) ldap_memfree;
    decltype(&::ldap_unbind_ext_s) ldap_unbind_ext_s;
    decltype(&::ldap_domain2dn) ldap_domain2dn;
    decltype(&::ldap_domain2hostlist) ldap_domain2hostlist;
};

// The Kerberos libraries, for a bind as the computer account; opened only
// when the machine has a keytab. The GSS-API library is the one the SASL
// GSSAPI module loads, so the credential cache chosen here is the one that
// module reads. Loaded like the LDAP library: linking them would load them
// into every process.
struct KerberosFunctions {
    decltype(&::krb5_init_context) krb5_init_context;
    decltype(&::krb5_free_context) krb5_free_context;
    decltype(&::krb5_parse_name) krb5_parse_name;
    decltype(&::krb5_free_principal) krb5_free_principal;
    decltype(&::krb5_kt_resolve) krb5_kt_resolve;
    decltype(&::krb5_kt_close) krb5_kt_close;
    decltype(&::krb5_cc_new_unique) krb5_cc_new_unique;
    decltype(&::krb5_cc_get_name) krb5_cc_get_name;
    decltype(&::krb5_cc_initialize) krb5_cc_initialize;
    decltype(&::krb5_cc_store_cred) krb5_cc_store_cred;
    decltype(&::krb5_cc_destroy) krb5_cc_destroy;
    decltype(&::krb5_get_init_creds_keytab) krb5_get_init_creds_keytab;
    decltype(&::krb5_free_cred_contents) krb5_free_cred_contents;
    decltype(&::gss_krb5_ccache_name) gss_krb5_ccache_name;
};

#define ZOR_BIND(name) library.Bind(functions.name, #name)

LdapFunctions BindLdap(SharedLibrary const& library) {
    LdapFunctions functions;
    ZOR_BIND(ldap_initialize);
    ZOR_BIND(ldap_set_option);
    ZOR_BIND(ldap_get_option);
    ZOR_BIND(ldap_sasl_bind_s);
    ZOR_BIND(ldap_sasl_interactive_bind_s);
    ZOR_BIND(ldap_search_ext_s);
    ZOR_BIND(ldap_first_entry);
    ZOR_BIND(ldap_get_values_len);
    ZOR_BIND(ldap_count_values_len);
    ZOR_BIND(ldap_value_free_len);
    ZOR_BIND(ldap_msgfree);
    ZOR_BIND(ldap_memfree);
    ZOR_BIND(ldap_unbind_ext_s);
    ZOR_BIND(ldap_domain2dn);
    ZOR_BIND(ldap_domain2hostlist);
    return functions;
}

KerberosFunctions BindKerberos(SharedLibrary const& library, SharedLibrary const& gss) {
    KerberosFunctions functions;
    ZOR_BIND(krb5_init_context);
    ZOR_BIND(krb5_free_context);
    ZOR_BIND(krb5_parse_name);
    ZOR_BIND(krb5_free_principal);
    ZOR_BIND(krb5_kt_resolve);
    ZOR_BIND(krb5_kt_close);
    ZOR_BIND(krb5_cc_new_unique);
    ZOR_BIND(krb5_cc_get_name);
    ZOR_BIND(krb5_cc_initialize);
    ZOR_BIND(krb5_cc_store_cred);
    ZOR_BIND(krb5_cc_destroy);
    ZOR_BIND(krb5_get_init_creds_keytab);
    ZOR_BIND(krb5_free_cred_contents);
    gss.Bind(functions.gss_krb5_ccache_name, "gss_krb5_ccache_name");
    return functions;
}

#undef ZOR_BIND

LdapFunctions const& Ldap() {
    try {
        // The library keeps its global options, read once from its
        // configuration, for the life of the process.
        static SharedLibrary const library(kLibraryName, SharedLibrary::Unload::Never);
        static LdapFunctions const functions = BindLdap(library);
        return functions;
    } catch (LibraryUnavailable const&) {
        throw OpenDirectoryServiceNotAvailable();
    }
}

// Without the Kerberos libraries the machine cannot bind as itself.
KerberosFunctions const& Kerberos() {
    try {
        // Both keep process-wide state (mechanisms, error tables) they never free.
        static SharedLibrary const kerberos(kKerberosLibraryName, SharedLibrary::Unload::Never);
        static SharedLibrary const gss(kGssLibraryName, SharedLibrary::Unload::Never);
        static KerberosFunctions const functions = BindKerberos(kerberos, gss);
        return functions;
    } catch (LibraryUnavailable const&) {
        throw ODOpenDirNodeFailed();
    }
}

// Owns one resource of a client library and releases it once; an owner
// that is moved from is left empty.
template <class T, void (*Release)(T*)> class AutoLibraryResource {
public:
    AutoLibraryResource() = default;
    explicit AutoLibraryResource(T* resource) : resource_(resource) {}
    AutoLibraryResource(AutoLibraryResource&& other) noexcept
        : resource_(std::exchange(other.resource_, nullptr)) {}
    AutoLibraryResource(AutoLibraryResource const&) = delete;
    AutoLibraryResource& operator=(AutoLibraryResource const&) = delete;
    ~AutoLibraryResource() {
        if (resource_ != nullptr)
            Release(resource_);
    }

    T* Get() const { return resource_; }
    // For the library's out-parameters; only an empty owner receives.
    T** Receive() { return &resource_; }

private:
    T* resource_ = nullptr;
};

void Unbind(LDAP* connection) {
    Ldap().ldap_unbind_ext_s(connection, nullptr, nullptr);
}
void FreeMessage(LDAPMessage* message) {
    Ldap().ldap_msgfree(message);
}
void FreeValues(berval** values) {
    Ldap().ldap_value_free_len(values);
}
void FreeText(char* text) {
    Ldap().ldap_memfree(text);
}
void FreeContext(krb5_context context) {
    Kerberos().krb5_free_context(context);
}
using AutoLDAP = AutoLibraryResource<LDAP, Unbind>;
using AutoLDAPMessage = AutoLibraryResource<LDAPMessage, FreeMessage>;
using AutoLDAPValues = AutoLibraryResource<berval*, FreeValues>;
using AutoLDAPText = AutoLibraryResource<char, FreeText>;
using AutoKerberosContext = AutoLibraryResource<_krb5_context, FreeContext>;

// Owns one resource of the Kerberos library, released with the context it
// was made in.
template <class T, void (*Release)(krb5_context, T*)> class AutoKerberosResource {
public:
    explicit AutoKerberosResource(krb5_context context) : context_(context) {}
    AutoKerberosResource(AutoKerberosResource const&) = delete;
    AutoKerberosResource& operator=(AutoKerberosResource const&) = delete;
    ~AutoKerberosResource() {
        if (resource_ != nullptr)
            Release(context_, resource_);
    }

    T* Get() const { return resource_; }
    T** Receive() { return &resource_; }

private:
    krb5_context context_;
    T* resource_ = nullptr;
};

void FreePrincipal(krb5_context context, krb5_principal_data* principal) {
    Kerberos().krb5_free_principal(context, principal);
}
void CloseKeytab(krb5_context context, _krb5_kt* keytab) {
    Kerberos().krb5_kt_close(context, keytab);
}
void DestroyCache(krb5_context context, _krb5_ccache* cache) {
    Kerberos().krb5_cc_destroy(context, cache);
}

krb5_context NewKerberosContext() {
    krb5_context context = nullptr;
    if (Kerberos().krb5_init_context(&context) != 0)
        throw ODOpenDirNodeFailed();
    return context;
}

// The computer account's ticket-granting ticket, fetched with the machine's
// keytab into a credential cache in this process's memory that goes with
// the owner: the user's own cache is never read or written.
class AutoMachineTicket {
public:
    AutoMachineTicket(std::string const& keytab, std::string_view accountName)
        : context_(NewKerberosContext()), cache_(context_.Get()) {
        KerberosFunctions const& kerberos = Kerberos();
        krb5_context const context = context_.Get();
        // The account name has no realm: the configuration's default realm
        // completes it.
        AutoKerberosResource<krb5_principal_data, FreePrincipal> principal(context);
        AutoKerberosResource<_krb5_kt, CloseKeytab> table(context);
        if (kerberos.krb5_parse_name(context, std::string(accountName).c_str(),
                                     principal.Receive()) != 0 ||
            kerberos.krb5_kt_resolve(context, keytab.c_str(), table.Receive()) != 0 ||
            kerberos.krb5_cc_new_unique(context, "MEMORY", nullptr, cache_.Receive()) != 0)
            throw ODOpenDirNodeFailed();
        krb5_creds ticket{};
        krb5_error_code status = kerberos.krb5_get_init_creds_keytab(
            context, &ticket, principal.Get(), table.Get(), 0, nullptr, nullptr);
        if (status == 0) {
            status = kerberos.krb5_cc_initialize(context, cache_.Get(), principal.Get());
            if (status == 0)
                status = kerberos.krb5_cc_store_cred(context, cache_.Get(), &ticket);
            kerberos.krb5_free_cred_contents(context, &ticket);
        }
        if (status != 0)
            throw ODOpenDirNodeFailed();
        cacheName_ = std::string("MEMORY:") + kerberos.krb5_cc_get_name(context, cache_.Get());
    }

    std::string const& CacheName() const { return cacheName_; }

private:
    AutoKerberosContext context_;
    AutoKerberosResource<_krb5_ccache, DestroyCache> cache_;
    std::string cacheName_;
};

// Points the GSS-API library's default credential cache, for this thread
// only, at another cache while the owner lives, so the SASL GSSAPI module
// finds the machine's ticket there.
class AutoThreadCredentialCache {
public:
    explicit AutoThreadCredentialCache(std::string const& name) {
        OM_uint32 minor = 0;
        char const* previous = nullptr;
        if (Kerberos().gss_krb5_ccache_name(&minor, name.c_str(), &previous) != GSS_S_COMPLETE)
            throw ODOpenDirNodeFailed();
        // The library reuses the text it returned on its next call.
        if (previous != nullptr)
            previous_ = previous;
    }
    AutoThreadCredentialCache(AutoThreadCredentialCache const&) = delete;
    AutoThreadCredentialCache& operator=(AutoThreadCredentialCache const&) = delete;
    ~AutoThreadCredentialCache() {
        OM_uint32 minor = 0;
        Kerberos().gss_krb5_ccache_name(&minor, previous_ ? previous_->c_str() : nullptr, nullptr);
    }

private:
    std::optional<std::string> previous_;
};

// Answers the SASL module's questions (the identity to act as) with their
// defaults, so the identity is the ticket's own.
int AcceptDefaults(LDAP*, unsigned, void*, void* questions) {
    for (auto* question = static_cast<sasl_interact_t*>(questions);
         question->id != SASL_CB_LIST_END; ++question) {
        char const* const answer = question->defresult != nullptr ? question->defresult : "";
        question->result = answer;
        question->len = static_cast<unsigned>(std::strlen(answer));
    }
    return LDAP_SUCCESS;
}

// A string option of the library's own configuration; empty when unset.
std::string ConfiguredOption(int option) {
    AutoLDAPText value;
    if (Ldap().ldap_get_option(nullptr, option, value.Receive()) != LDAP_OPT_SUCCESS)
        throw ODGetDirNodeInfoFailed();
    return value.Get() != nullptr ? value.Get() : "";
}

std::optional<std::string> FileConfigValue(char const* path, std::string_view section,
                                           std::string_view key) {
    std::optional<std::string> const text = ReadWholeFile(path);
    return text ? ConfigValue(*text, section, key) : std::nullopt;
}

// The realm of the machine's Kerberos configuration (each file of
// KRB5_CONFIG, a colon-separated list, else /etc/krb5.conf), else of its
// Samba configuration.
std::optional<std::string> MachineRealm() {
    char const* const list = EnvironmentValue(kKerberosConfigVariable);
    std::string_view files = list != nullptr ? list : kKerberosConfigPath;
    while (!files.empty()) {
        std::size_t const end = files.find(':');
        std::string const path(files.substr(0, end));
        if (std::optional<std::string> realm =
                FileConfigValue(path.c_str(), "libdefaults", "default_realm"))
            return realm;
        files = end == std::string_view::npos ? std::string_view() : files.substr(end + 1);
    }
    return FileConfigValue(kSambaConfigPath, "global", "realm");
}

std::string LowerCase(std::string text) {
    for (char& c : text)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

// "host:port host:port" as LDAP URIs.
std::string UrisOfHosts(std::string_view hosts) {
    std::string uris;
    while (!hosts.empty()) {
        std::size_t const end = hosts.find(' ');
        if (end != 0) {
            uris += uris.empty() ? "ldap://" : " ldap://";
            uris += hosts.substr(0, end);
        }
        hosts = end == std::string_view::npos ? std::string_view() : hosts.substr(end + 1);
    }
    return uris;
}

// The keytab the Kerberos library gives clients (KRB5_CLIENT_KTNAME), else
// the machine's own; only a file this process may read counts.
std::string MachineKeytab() {
    char const* const named = EnvironmentValue(kClientKeytabVariable);
    std::string_view keytab = named != nullptr ? named : kMachineKeytabPath;
    std::string const path(
        keytab.substr(keytab.starts_with(kFileKeytabPrefix) ? std::strlen(kFileKeytabPrefix) : 0));
    return access(path.c_str(), R_OK) == 0 ? std::string(keytab) : std::string();
}

std::string ReadPassword(std::string const& path) {
    if (path.empty())
        return {};
    std::optional<std::string> password = ReadWholeFile(path.c_str());
    if (!password)
        throw ODOpenDirNodeFailed();
    if (!password->empty() && password->back() == '\n')
        password->pop_back();
    return *password;
}

// Binds as the computer account with the machine's keytab when there is one,
// else with the configured simple bind (anonymous without a bind DN).
AutoLDAP Connect(DirectoryConfiguration const& directory, std::string_view accountName) {
    LdapFunctions const& ldap = Ldap();
    AutoLDAP connection;
    int const status = ldap.ldap_initialize(
        connection.Receive(), directory.uri.empty() ? nullptr : directory.uri.c_str());
    if (status == LDAP_NO_MEMORY)
        throw ODDataBufferAllocFailed();
    if (status != LDAP_SUCCESS || connection.Get() == nullptr)
        throw ODGetDirNodeNameFailed();

    int const version = LDAP_VERSION3;
    timeval const timeout{directory.timeoutSeconds, 0};
    LDAP* const handle = connection.Get();
    // The directory refers searches to other domains' servers; following a
    // referral would bind there anonymously, so the referral is not followed.
    if (ldap.ldap_set_option(handle, LDAP_OPT_PROTOCOL_VERSION, &version) != LDAP_OPT_SUCCESS ||
        ldap.ldap_set_option(handle, LDAP_OPT_REFERRALS, LDAP_OPT_OFF) != LDAP_OPT_SUCCESS ||
        ldap.ldap_set_option(handle, LDAP_OPT_NETWORK_TIMEOUT, &timeout) != LDAP_OPT_SUCCESS ||
        ldap.ldap_set_option(handle, LDAP_OPT_TIMEOUT, &timeout) != LDAP_OPT_SUCCESS)
        throw ODOpenDirNodeFailed();

    if (!directory.keytab.empty()) {
        AutoMachineTicket const ticket(directory.keytab, accountName);
        AutoThreadCredentialCache const cache(ticket.CacheName());
        // The service principal is named after the server's host as the URI
        // gives it; any canonicalization is the Kerberos configuration's
        // (dns_canonicalize_hostname, rdns), not done a second time here.
        if (ldap.ldap_set_option(handle, LDAP_OPT_X_SASL_NOCANON, &kOptionOn) != LDAP_OPT_SUCCESS ||
            ldap.ldap_sasl_interactive_bind_s(handle, nullptr, "GSSAPI", nullptr, nullptr,
                                              LDAP_SASL_QUIET, AcceptDefaults,
                                              nullptr) != LDAP_SUCCESS)
            throw ODOpenDirNodeFailed();
        return connection;
    }
    std::string password = ReadPassword(directory.passwordFile);
    berval credentials{password.size(), password.data()};
    if (ldap.ldap_sasl_bind_s(handle, directory.bindDn.empty() ? nullptr : directory.bindDn.c_str(),
                              LDAP_SASL_SIMPLE, &credentials, nullptr, nullptr,
                              nullptr) != LDAP_SUCCESS)
        throw ODOpenDirNodeFailed();
    return connection;
}

} // namespace

std::string ComputerAccountName(std::string_view hostName) {
    std::string account(hostName.substr(0, hostName.find('.')).substr(0, kAccountNameLength));
    if (account.empty())
        return account;
    for (char& c : account)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return account + "$";
}

std::string ComputerFilter(std::string_view accountName) {
    constexpr char kHex[] = "0123456789abcdef";
    std::string filter = "(&(objectClass=computer)(sAMAccountName=";
    for (char const c : accountName) {
        if (c == '*' || c == '(' || c == ')' || c == '\\' || c == '\0') {
            auto const byte = static_cast<unsigned char>(c);
            filter += '\\';
            filter += kHex[byte >> 4];
            filter += kHex[byte & 0xF];
        } else {
            filter += c;
        }
    }
    return filter + "))";
}

std::optional<std::string> ConfigValue(std::string_view text, std::string_view section,
                                       std::string_view key) {
    auto const same = [](std::string_view a, std::string_view b) {
        return a.size() == b.size() &&
               std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
                   return std::tolower(static_cast<unsigned char>(x)) ==
                          std::tolower(static_cast<unsigned char>(y));
               });
    };
    bool inSection = false;
    while (!text.empty()) {
        std::size_t const end = text.find('\n');
        std::string_view const line = Trim(text.substr(0, end));
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
        if (line.empty() || line.front() == '#' || line.front() == ';')
            continue;
        if (line.front() == '[') {
            std::size_t const close = line.find(']');
            inSection =
                close != std::string_view::npos && same(Trim(line.substr(1, close - 1)), section);
            continue;
        }
        std::size_t const equals = line.find('=');
        if (inSection && equals != std::string_view::npos &&
            same(Trim(line.substr(0, equals)), key))
            return std::string(Trim(line.substr(equals + 1)));
    }
    return std::nullopt;
}

DirectoryConfiguration FindDirectory() {
    LdapFunctions const& ldap = Ldap();
    DirectoryConfiguration directory;
    if (char const* const dn = EnvironmentValue(kBindDnVariable))
        directory.bindDn = dn;
    if (char const* const file = EnvironmentValue(kPasswordFileVariable))
        directory.passwordFile = file;
    directory.keytab = MachineKeytab();

    directory.base = ConfiguredOption(LDAP_OPT_DEFBASE);
    if (!directory.base.empty()) {
        directory.uri = ConfiguredOption(LDAP_OPT_URI);
        return directory;
    }
    std::optional<std::string> const realm = MachineRealm();
    if (!realm || realm->empty())
        throw OpenDirectoryServiceNotAvailable();
    std::string const domain = LowerCase(*realm);
    AutoLDAPText base;
    if (ldap.ldap_domain2dn(domain.c_str(), base.Receive()) != LDAP_SUCCESS ||
        base.Get() == nullptr)
        throw ODBuildListFromPathFailed();
    AutoLDAPText hosts;
    if (ldap.ldap_domain2hostlist(domain.c_str(), hosts.Receive()) != LDAP_SUCCESS ||
        hosts.Get() == nullptr)
        throw ODGetSearchDirNodeFailed();
    directory.base = base.Get();
    directory.uri = UrisOfHosts(hosts.Get());
    return directory;
}

std::string LookUpDistinguishedName(DirectoryConfiguration const& directory,
                                    std::string_view accountName) {
    LdapFunctions const& ldap = Ldap();
    if (accountName.empty())
        throw ODBuildListFromStringFailed();
    std::string const filter = ComputerFilter(accountName);
    AutoLDAP const connection = Connect(directory, accountName);

    std::string attribute = kAttribute;
    char* attributes[] = {attribute.data(), nullptr};
    timeval timeout{directory.timeoutSeconds, 0};
    AutoLDAPMessage result;
    if (ldap.ldap_search_ext_s(connection.Get(), directory.base.c_str(), LDAP_SCOPE_SUBTREE,
                               filter.c_str(), attributes, 0, nullptr, nullptr, &timeout, 0,
                               result.Receive()) != LDAP_SUCCESS)
        throw MacintoshPlatform::DSGetRecordListFailed();

    LDAPMessage* const entry = ldap.ldap_first_entry(connection.Get(), result.Get());
    if (entry == nullptr)
        throw ODGetRecordEntryFailed();
    AutoLDAPValues const values(ldap.ldap_get_values_len(connection.Get(), entry, kAttribute));
    if (values.Get() == nullptr)
        throw ODGetAttributeEntryFailed();
    if (ldap.ldap_count_values_len(values.Get()) == 0)
        throw ODGetAttrValueFailed();
    berval const* const value = values.Get()[0];
    if (value->bv_val == nullptr || value->bv_len == 0)
        throw ODGetAttributeValueDataFailed();
    return std::string(value->bv_val, value->bv_len);
}

char const* DirectoryErrorText() {
    try {
        throw;
    } catch (MacintoshPlatform::DSGetRecordListFailed const&) {
        return "dsGetRecordList() failed";
    } catch (ODGetAttributeEntryFailed const&) {
        return "dsGetAttributeEntry() failed";
    } catch (ODGetDirNodeInfoFailed const&) {
        return "dsGetDirNodeInfo() failed";
    } catch (ODGetAttrValueFailed const&) {
        return "dsGetAttributeValue() failed";
    } catch (ODGetAttributeValueDataFailed const&) {
        return "attr value was NULL";
    } catch (ODDataBufferAllocFailed const&) {
        return "dsDataBufferAllocate() failed";
    } catch (ODGetDirNodeNameFailed const&) {
        return "dsGetDirNodeName() failed";
    } catch (ODBuildListFromPathFailed const&) {
        return "dsBuildFromPath() failed";
    } catch (ODBuildListFromStringFailed const&) {
        return "dsBuildListFromStrings() failed";
    } catch (ODOpenDirNodeFailed const&) {
        return "dsOpenDirNode() failed";
    } catch (ODGetSearchDirNodeFailed const&) {
        return "dsFindDirNodes() failed";
    } catch (ODGetRecordEntryFailed const&) {
        return "dsGetRecordEntry() failed";
    } catch (OpenDirectoryServiceNotAvailable const&) {
        return "dsOpenDirService() failed";
    } catch (std::exception const&) {
        return "Unknown error";
    }
}

namespace {

class LiveDirectory final : public DirectorySource {
public:
    TimeMark Now() const override { return TimeMark::Now(); }
    std::string LocalComputerDistinguishedName() const override {
        return MacintoshPlatform::GetLocalComputerDistinguishedName();
    }
};

DirectorySource const* gInstalled = nullptr;

} // namespace

DirectorySource const& Directory() {
    static LiveDirectory const live;
    return gInstalled ? *gInstalled : live;
}

ScopedDirectorySource::ScopedDirectorySource(DirectorySource const& source)
    : previous_(gInstalled) {
    gInstalled = &source;
}

ScopedDirectorySource::~ScopedDirectorySource() {
    gInstalled = previous_;
}

} // namespace platform

namespace MacintoshPlatform {

std::string GetLocalComputerDistinguishedName() {
    platform::DirectoryConfiguration const directory = platform::FindDirectory();
    std::optional<std::string> const host = platform::System().HostName();
    return platform::LookUpDistinguishedName(directory,
                                             platform::ComputerAccountName(host.value_or("")));
}

} // namespace MacintoshPlatform
