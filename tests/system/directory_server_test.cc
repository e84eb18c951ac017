// The directory lookup against a real LDAP server (slapd) that the suite
// starts on a free loopback port in a scratch folder and always stops.
#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <chrono>
#include <csignal>
#include <fcntl.h>
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
constexpr char kBase[] = "dc=zor,dc=test";
constexpr char kAdmin[] = "cn=admin,dc=zor,dc=test";

// The server's configuration, with the two definitions the search needs;
// {dir} is the scratch folder.
constexpr char kConfig[] = R"(include /etc/ldap/schema/core.schema
attributetype ( 1.3.6.1.4.1.99999.1.1 NAME 'sAMAccountName' EQUALITY caseIgnoreMatch
  SYNTAX 1.3.6.1.4.1.1466.115.121.1.15 SINGLE-VALUE )
objectclass ( 1.3.6.1.4.1.99999.2.1 NAME 'computer' SUP top STRUCTURAL
  MUST ( cn $ sAMAccountName ) MAY distinguishedName )
modulepath /usr/lib/ldap
moduleload back_mdb
database mdb
suffix "dc=zor,dc=test"
rootdn "cn=admin,dc=zor,dc=test"
rootpw secret
directory {dir}
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
    std::string Uri() const {
        return "ldap://127.0.0.1:" + std::to_string(ntohs(address.sin_port));
    }

    platform::Descriptor socket{::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)};
    sockaddr_in address{};
};

// slapd serving dc=zor,dc=test from a scratch folder until the owner goes.
class DirectoryServer {
public:
    DirectoryServer() : uri_(LoopbackSocket().Uri()) {
        std::string const config =
            folder_.Write("slapd.conf", Filled(kConfig, "{dir}", folder_.Path()));
        std::string const data = folder_.Write("data.ldif", Filled(kData, "{local}", LocalName()));
        zorq::testing::Outcome const loaded =
            zorq::testing::run("/usr/sbin/slapadd", {"-f", config, "-l", data});
        if (loaded.status != 0)
            throw std::runtime_error("slapadd failed: " + loaded.err);

        Clock::time_point const begin = Clock::now();
        std::string const log = folder_.Path("slapd.log");
        pid_ = fork();
        if (pid_ == 0) {
            // The server goes with the test even when the test dies.
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            int const output = open(log.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
            dup2(output, 1);
            dup2(output, 2);
            execl(kSlapd, kSlapd, "-f", config.c_str(), "-h", uri_.c_str(), "-d", "0", nullptr);
            _exit(127);
        }
        for (int status; !Answers(); std::this_thread::sleep_for(std::chrono::milliseconds(10))) {
            bool const ended = pid_ < 0 || waitpid(pid_, &status, WNOHANG) == pid_;
            if (ended)
                pid_ = -1;
            if (ended || Clock::now() - begin > std::chrono::seconds(20)) {
                Stop();
                throw std::runtime_error("slapd did not start: " +
                                         platform::ReadWholeFile(log.c_str()).value_or(""));
            }
        }
    }
    ~DirectoryServer() { Stop(); }

    std::string const& Uri() const { return uri_; }
    std::string PasswordFile(std::string const& password) const {
        return folder_.Write("password-" + password, password + "\n");
    }

private:
    // Whether an anonymous search finds this machine yet.
    bool Answers() const {
        try {
            return !platform::LookUpDistinguishedName({uri_, kBase, "", "", 1}, LocalName() + "$")
                        .empty();
        } catch (ODOpenDirNodeFailed const&) {
            return false;
        }
    }
    void Stop() {
        if (pid_ > 0) {
            kill(pid_, SIGTERM);
            waitpid(pid_, nullptr, 0);
        }
        pid_ = -1;
    }

    TempTree folder_;
    std::string uri_;
    pid_t pid_ = -1;
};

// The name found, or the text naming the step that failed.
std::string Outcome(DirectoryServer const& server, std::string const& account, std::string uri = {},
                    std::string const& password = "secret", std::string base = kBase) {
    try {
        return platform::LookUpDistinguishedName({uri.empty() ? server.Uri() : std::move(uri),
                                                  std::move(base), kAdmin,
                                                  server.PasswordFile(password), 1},
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
    EXPECT_EQ(Outcome(server, local), found);
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
         "ZOR_DIRECTORY_PASSWORD_FILE=" + server.PasswordFile("secret")});
    EXPECT_EQ(zorq.out, "A: " + found + "\nA: \n");
}
