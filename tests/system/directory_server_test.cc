// The directory lookup against a real LDAP server (slapd), and for the
// Kerberos bind a throwaway realm's KDC, that the suite starts on free
// loopback ports in scratch folders and always stops.
#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <functional>
#include <optional>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <thread>

#include "platform/linux/descriptor.h"
#include "platform/linux/directory.h"
#include "platform/linux/system_info.h"
#include "tests/files/temp_tree.h"
#include "tests/support/subprocess.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr char kSlapd[] = "/usr/sbin/slapd";
constexpr char kKdc[] = "/usr/sbin/krb5kdc";
constexpr char kBase[] = "dc=zor,dc=test";
constexpr char kAdmin[] = "cn=admin,dc=zor,dc=test";

// The server's configuration, with the two definitions the search needs;
// {dir} is the scratch folder. GSSAPI binds: only this machine's principal,
// mapped to its own record, may read the tree; so may the administrator.
constexpr char kConfig[] = R"(include /etc/ldap/schema/core.schema
attributetype ( 1.3.6.1.4.1.99999.1.1 NAME 'sAMAccountName' EQUALITY caseIgnoreMatch
  SYNTAX 1.3.6.1.4.1.1466.115.121.1.15 SINGLE-VALUE )
objectclass ( 1.3.6.1.4.1.99999.2.1 NAME 'computer' SUP top STRUCTURAL
  MUST ( cn $ sAMAccountName ) MAY distinguishedName )
sasl-host localhost
sasl-realm ZOR.TEST
authz-regexp "^uid={local}.(,cn=zor.test)?,cn=gssapi,cn=auth$" "cn={local},dc=zor,dc=test"
modulepath /usr/lib/ldap
moduleload back_mdb
database mdb
suffix "dc=zor,dc=test"
rootdn "cn=admin,dc=zor,dc=test"
rootpw secret
directory {dir}
access to * by dn.exact="cn={local},dc=zor,dc=test" read by * none
)";

// The realm's configuration for clients and for its KDC on port {port}.
constexpr char kKerberosConfig[] = R"([libdefaults]
 default_realm = ZOR.TEST
 dns_canonicalize_hostname = false
[kdcdefaults]
 kdc_ports = {port}
 kdc_tcp_ports = {port}
[realms]
 ZOR.TEST = {
  kdc = 127.0.0.1:{port}
  database_name = {dir}/principal
  key_stash_file = {dir}/stash
 }
)";

// This machine ({local}) has a distinguished name, BARE has none.
constexpr char kData[] = R"(dn: dc=zor,dc=test
objectClass: dcObject
objectClass: organization
o: zor
dc: zor

dn: cn=BARE,dc=zor,dc=test
objectClass: computer
cn: BARE
sAMAccountName: BARE$

dn: cn={local},dc=zor,dc=test
objectClass: computer
cn: {local}
sAMAccountName: {local}$
distinguishedName: CN={local},OU=Computers,DC=zor,DC=test
)";

std::string Filled(std::string text, std::string const& key, std::string const& value) {
    for (std::size_t at; (at = text.find(key)) != std::string::npos;)
        text.replace(at, key.size(), value);
    return text;
}

std::string LocalName() {
    std::string const account =
        platform::ComputerAccountName(platform::System().HostName().value_or(""));
    return account.substr(0, account.size() - 1);
}

// A loopback TCP socket bound to a free port.
struct LoopbackSocket {
    LoopbackSocket() {
        socklen_t length = sizeof address;
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (bind(socket.get(), reinterpret_cast<sockaddr*>(&address), length) != 0 ||
            getsockname(socket.get(), reinterpret_cast<sockaddr*>(&address), &length) != 0)
            throw std::runtime_error("no free loopback port");
    }
    std::string Port() const { return std::to_string(ntohs(address.sin_port)); }
    std::string Uri() const { return "ldap://127.0.0.1:" + Port(); }

    platform::Descriptor socket{::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)};
    sockaddr_in address{};
};

// Runs a set-up program that must succeed.
void Run(std::string const& program, std::vector<std::string> const& arguments) {
    zorq::testing::Outcome const outcome = zorq::testing::run(program, arguments);
    if (outcome.status != 0)
        throw std::runtime_error(program + " failed: " + outcome.err);
}

// A server program running until its owner goes (or the test dies); the
// constructor returns once it is `ready`.
class ServerProcess {
public:
    ServerProcess(std::vector<std::string> arguments, std::string const& log,
                  std::function<bool()> const& ready) {
        std::vector<char*> argv;
        for (std::string& argument : arguments)
            argv.push_back(argument.data());
        argv.push_back(nullptr);

        Clock::time_point const begin = Clock::now();
        pid_ = fork();
        if (pid_ == 0) {
            // The server goes with the test even when the test dies.
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            int const output = open(log.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
            dup2(output, 1);
            dup2(output, 2);
            execv(argv[0], argv.data());
            _exit(127);
        }
        for (int status; !ready(); std::this_thread::sleep_for(std::chrono::milliseconds(10))) {
            bool const ended = pid_ < 0 || waitpid(pid_, &status, WNOHANG) == pid_;
            if (ended)
                pid_ = -1;
            if (ended || Clock::now() - begin > std::chrono::seconds(20)) {
                Stop();
                throw std::runtime_error(arguments[0] + " did not start: " +
                                         platform::ReadWholeFile(log.c_str()).value_or(""));
            }
        }
    }
    ~ServerProcess() { Stop(); }
    ServerProcess(ServerProcess const&) = delete;
    ServerProcess& operator=(ServerProcess const&) = delete;

private:
    void Stop() {
        if (pid_ > 0) {
            kill(pid_, SIGTERM);
            waitpid(pid_, nullptr, 0);
        }
        pid_ = -1;
    }

    pid_t pid_ = -1;
};

// slapd serving dc=zor,dc=test from a scratch folder until the owner goes.
class DirectoryServer {
public:
    DirectoryServer() : uri_(LoopbackSocket().Uri()) {
        std::string const config = folder_.Write(
            "slapd.conf", Filled(Filled(kConfig, "{dir}", folder_.Path()), "{local}", LocalName()));
        std::string const data = folder_.Write("data.ldif", Filled(kData, "{local}", LocalName()));
        Run("/usr/sbin/slapadd", {"-f", config, "-l", data});
        process_.emplace(std::vector<std::string>{kSlapd, "-f", config, "-h", uri_, "-d", "0"},
                         folder_.Path("slapd.log"), [this] { return Answers(); });
    }

    std::string const& Uri() const { return uri_; }
    std::string PasswordFile(std::string const& password) const {
        return folder_.Write("password-" + password, password + "\n");
    }

private:
    // Whether the administrator's search finds this machine yet.
    bool Answers() const {
        try {
            return !platform::LookUpDistinguishedName(
                        {uri_, kBase, kAdmin, PasswordFile("secret"), 1, {}}, LocalName() + "$")
                        .empty();
        } catch (ODOpenDirNodeFailed const&) {
            return false;
        }
    }

    TempTree folder_;
    std::string uri_;
    std::optional<ServerProcess> process_;
};

// A throwaway realm in a scratch folder, made the configuration of this
// process and its children: its KDC on a free loopback port, the directory's
// service principal with the keytab slapd takes, and this machine's account
// with a current keytab and a stale one (written before the key changed).
class KerberosRealm {
public:
    KerberosRealm() {
        std::string const config = folder_.Write(
            "krb5.conf", Filled(Filled(kKerberosConfig, "{port}", LoopbackSocket().Port()), "{dir}",
                                folder_.Path()));
        setenv("KRB5_CONFIG", config.c_str(), 1);
        setenv("KRB5_KDC_PROFILE", config.c_str(), 1);
        setenv("KRB5_KTNAME", Keytab("ldap").c_str(), 1);
        std::string const machine = LocalName() + "$";
        Run("/usr/sbin/kdb5_util", {"create", "-s", "-P", "master"});
        for (std::string const& query : std::vector<std::string>{
                 "addprinc -randkey ldap/localhost", "addprinc -randkey " + machine,
                 "ktadd -k " + Keytab("ldap") + " ldap/localhost",
                 "ktadd -k " + Keytab("stale") + " " + machine,
                 "ktadd -k " + Keytab("machine") + " " + machine})
            Run("/usr/sbin/kadmin.local", {"-q", query});
        std::string const log = folder_.Path("kdc.log");
        kdc_.emplace(std::vector<std::string>{kKdc, "-n"}, log, [log] {
            return platform::ReadWholeFile(log.c_str()).value_or("").find("starting") !=
                   std::string::npos;
        });
    }
    ~KerberosRealm() {
        kdc_.reset();
        for (char const* name : {"KRB5_CONFIG", "KRB5_KDC_PROFILE", "KRB5_KTNAME"})
            unsetenv(name);
    }

    std::string Keytab(std::string const& name) const { return folder_.Path(name + ".keytab"); }
    void StopKdc() { kdc_.reset(); }

private:
    TempTree folder_;
    std::optional<ServerProcess> kdc_;
};

// The name found, or the text naming the step that failed.
std::string Outcome(DirectoryServer const& server, std::string const& account, std::string uri = {},
                    std::string const& password = "secret", std::string base = kBase) {
    try {
        return platform::LookUpDistinguishedName({uri.empty() ? server.Uri() : std::move(uri),
                                                  std::move(base),
                                                  kAdmin,
                                                  server.PasswordFile(password),
                                                  1,
                                                  {}},
                                                 account);
    } catch (std::exception const&) {
        return platform::DirectoryErrorText();
    }
}

} // namespace

// Also zorq itself, finding the server through the client library's
// configuration variables.
TEST(DirectoryLookup, FindsTheComputerOrNamesTheStepThatFailedWithinTheTimeLimit) {
    if (access(kSlapd, X_OK) != 0)
        GTEST_SKIP() << kSlapd << " is missing: scripts/setup installs the slapd package";
    DirectoryServer const server;
    std::string const found = "CN=" + LocalName() + ",OU=Computers,DC=zor,DC=test";
    std::string const local = LocalName() + "$";
    EXPECT_EQ(Outcome(server, "NOSUCH$"), "dsGetRecordEntry() failed");
    EXPECT_EQ(Outcome(server, "*"), "dsGetRecordEntry() failed");
    EXPECT_EQ(Outcome(server, "BARE$"), "dsGetAttributeEntry() failed");
    EXPECT_EQ(Outcome(server, ""), "dsBuildListFromStrings() failed");
    EXPECT_EQ(Outcome(server, local, {}, "secret", "dc=elsewhere"), "dsGetRecordList() failed");
    EXPECT_EQ(Outcome(server, local, {}, "wrong"), "dsOpenDirNode() failed");
    EXPECT_EQ(Outcome(server, local, "nonsense://127.0.0.1"), "dsGetDirNodeName() failed");
    EXPECT_EQ(Outcome(server, local, LoopbackSocket().Uri()), "dsOpenDirNode() failed");

    // The kernel completes connections to a listening socket nobody serves.
    LoopbackSocket const silent;
    ASSERT_EQ(listen(silent.socket.get(), 4), 0);
    Clock::time_point const begin = Clock::now();
    EXPECT_EQ(Outcome(server, local, silent.Uri()), "dsOpenDirNode() failed");
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds(5));

    zorq::testing::Outcome const zorq = zorq::testing::run(
        ZORQ_PATH,
        {"--", "distinguished names of local computers of active directories; "
               "distinguished name error messages of local computers of active directories"},
        {},
        {"LDAPURI=" + server.Uri(), std::string("LDAPBASE=") + kBase,
         std::string("LDAPBINDDN=") + kAdmin,
         "ZOR_DIRECTORY_PASSWORD_FILE=" + server.PasswordFile("secret"),
         "KRB5_CLIENT_KTNAME=/nonexistent"}); // no keytab even on a joined machine
    EXPECT_EQ(zorq.out, "A: " + found + "\nA: \n");
}

// Binding as the computer account with its keytab: the server lets only
// that identity read the tree, so a found record proves the Kerberos bind.
TEST(DirectoryLookup, BindsAsTheComputerWithTheMachineKeytab) {
    if (access(kSlapd, X_OK) != 0 || access(kKdc, X_OK) != 0)
        GTEST_SKIP() << kSlapd << " or " << kKdc
                     << " is missing: scripts/setup installs the slapd and krb5-kdc packages";
    KerberosRealm realm;
    DirectoryServer const server;
    std::string const uri = Filled(server.Uri(), "127.0.0.1", "localhost");
    std::string const found = "CN=" + LocalName() + ",OU=Computers,DC=zor,DC=test";
    auto const withKeytab = [&](std::string const& keytab) {
        return platform::LookUpDistinguishedName({uri, kBase, "", "", 1, keytab},
                                                 LocalName() + "$");
    };
    EXPECT_THROW(withKeytab(""), MacintoshPlatform::DSGetRecordListFailed);
    EXPECT_THROW(withKeytab(realm.Keytab("stale")), ODOpenDirNodeFailed);

    // zorq finds the keytab itself and leaves the user's credential cache alone.
    TempTree const home;
    zorq::testing::Outcome const zorq = zorq::testing::run(
        ZORQ_PATH, {"--", "distinguished name of local computer of active directory"}, {},
        {"LDAPURI=" + uri, std::string("LDAPBASE=") + kBase,
         "KRB5_CLIENT_KTNAME=FILE:" + realm.Keytab("machine"),
         "KRB5CCNAME=FILE:" + home.Path("user-cache")});
    EXPECT_EQ(zorq.out, "A: " + found + "\n");
    EXPECT_EQ(zorq.err, "");
    EXPECT_NE(access(home.Path("user-cache").c_str(), F_OK), 0);

    realm.StopKdc();
    Clock::time_point const begin = Clock::now();
    EXPECT_THROW(withKeytab(realm.Keytab("machine")), ODOpenDirNodeFailed);
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds(5));
}
