// The directory lookup against a real LDAP server (slapd) that the suite
// starts on a free loopback port in a scratch folder and always stops.
#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include <memory>
#include <optional>
#include <string>

#include "platform/linux/descriptor.h"
#include "platform/linux/directory.h"
#include "platform/linux/system_info.h"
#include "tests/files/temp_tree.h"
#include "tests/support/subprocess.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr char kSlapd[] = "/usr/sbin/slapd";
constexpr char kSlapadd[] = "/usr/sbin/slapadd";
constexpr char kBase[] = "dc=zor,dc=test";
constexpr char kAdmin[] = "cn=admin,dc=zor,dc=test";

// The two attributes the search reads, as the directory defines them.
constexpr char kSchema[] =
    "attributetype ( 1.3.6.1.4.1.99999.1.1 NAME 'sAMAccountName' EQUALITY caseIgnoreMatch\n"
    "  SYNTAX 1.3.6.1.4.1.1466.115.121.1.15 SINGLE-VALUE )\n"
    "objectclass ( 1.3.6.1.4.1.99999.2.1 NAME 'computer' SUP top STRUCTURAL\n"
    "  MUST ( cn $ sAMAccountName ) MAY distinguishedName )\n";

std::string DistinguishedNameOf(std::string const& name) {
    return "CN=" + name + ",OU=Computers,DC=zor,DC=test";
}

std::string ComputerEntry(std::string const& name, bool withDistinguishedName) {
    std::string entry = "dn: cn=" + name + "," + kBase + "\nobjectClass: computer\ncn: " + name +
                        "\nsAMAccountName: " + name + "$\n";
    if (withDistinguishedName)
        entry += "distinguishedName: " + DistinguishedNameOf(name) + "\n";
    return entry + "\n";
}

// A loopback port nobody listens on right now.
int FreePort() {
    platform::Descriptor probe(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (bind(probe.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        getsockname(probe.get(), reinterpret_cast<sockaddr*>(&address), &length) != 0)
        throw std::runtime_error("no free loopback port");
    return ntohs(address.sin_port);
}

bool Accepts(int port) {
    platform::Descriptor client(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return connect(client.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
}

// slapd with its own configuration and database in a scratch folder,
// serving dc=zor,dc=test on a free loopback port until the owner goes.
class DirectoryServer {
public:
    explicit DirectoryServer(std::string const& localName) : port_(FreePort()) {
        std::string const schema = folder_.Write("zor.schema", kSchema);
        folder_.Folder("db");
        config_ = folder_.Write("slapd.conf", "include /etc/ldap/schema/core.schema\n"
                                              "include " +
                                                  schema +
                                                  "\n"
                                                  "pidfile " +
                                                  folder_.Path("slapd.pid") +
                                                  "\n"
                                                  "modulepath /usr/lib/ldap\n"
                                                  "moduleload back_mdb\n"
                                                  "database mdb\n"
                                                  "suffix \"" +
                                                  kBase +
                                                  "\"\n"
                                                  "rootdn \"" +
                                                  kAdmin +
                                                  "\"\n"
                                                  "rootpw secret\n"
                                                  "directory " +
                                                  folder_.Path("db") + "\n");
        std::string const data = folder_.Write(
            "data.ldif",
            std::string("dn: ") + kBase +
                "\nobjectClass: dcObject\nobjectClass: organization\no: zor\ndc: zor\n\n" +
                ComputerEntry("WS01", true) + ComputerEntry("BARE", false) +
                ComputerEntry(localName, true));
        zorq::testing::Outcome const loaded =
            zorq::testing::run(kSlapadd, {"-f", config_, "-l", data});
        if (loaded.status != 0)
            throw std::runtime_error("slapadd failed: " + loaded.err);
        Start();
    }
    ~DirectoryServer() { Stop(); }
    DirectoryServer(DirectoryServer const&) = delete;
    DirectoryServer& operator=(DirectoryServer const&) = delete;

    std::string Uri() const { return "ldap://127.0.0.1:" + std::to_string(port_); }
    std::string PasswordFile(std::string const& password) const {
        return folder_.Write("password-" + password, password + "\n");
    }
    std::chrono::milliseconds StartTime() const { return startTime_; }

private:
    void Start() {
        Clock::time_point const begin = Clock::now();
        std::string const listen = Uri();
        std::string const log = folder_.Path("slapd.log");
        pid_ = fork();
        if (pid_ < 0)
            throw std::runtime_error("cannot start slapd");
        if (pid_ == 0) {
            // The server goes with the test even when the test dies.
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            int const output = open(log.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
            dup2(output, 1);
            dup2(output, 2);
            execl(kSlapd, kSlapd, "-f", config_.c_str(), "-h", listen.c_str(), "-d", "0", nullptr);
            _exit(127);
        }
        while (!Accepts(port_)) {
            int status = 0;
            if (waitpid(pid_, &status, WNOHANG) == pid_) {
                pid_ = -1;
                throw std::runtime_error("slapd ended at start: " +
                                         platform::ReadWholeFile(log.c_str()).value_or(""));
            }
            if (Clock::now() - begin > std::chrono::seconds(20)) {
                Stop();
                throw std::runtime_error("slapd did not start listening within 20 s");
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        startTime_ = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin);
    }
    void Stop() {
        if (pid_ > 0) {
            kill(pid_, SIGTERM);
            waitpid(pid_, nullptr, 0);
            pid_ = -1;
        }
    }

    TempTree folder_;
    int port_;
    std::string config_;
    pid_t pid_ = -1;
    std::chrono::milliseconds startTime_{0};
};

std::string LocalName() {
    std::string const account =
        platform::ComputerAccountName(platform::System().HostName().value_or(""));
    return account.substr(0, account.size() - 1);
}

class DirectoryLookup : public testing::Test {
protected:
    static void SetUpTestSuite() {
        if (access(kSlapd, X_OK) != 0) {
            return;
        }
        server_ = std::make_unique<DirectoryServer>(LocalName());
        std::printf("slapd started in %lld ms\n",
                    static_cast<long long>(server_->StartTime().count()));
    }
    static void TearDownTestSuite() { server_.reset(); }
    void SetUp() override {
        if (!server_) {
            GTEST_SKIP() << kSlapd << " is missing: scripts/setup installs the slapd package";
        }
    }

    static platform::DirectoryConfiguration Administrator() {
        return {server_->Uri(), kBase, kAdmin, server_->PasswordFile("secret"), 10};
    }

    // The text naming the failed step, or the name found.
    static std::string Outcome(platform::DirectoryConfiguration const& directory,
                               std::string const& account) {
        try {
            return platform::LookUpDistinguishedName(directory, account);
        } catch (std::exception const&) {
            return platform::DirectoryErrorText();
        }
    }

    static std::unique_ptr<DirectoryServer> server_;
};

std::unique_ptr<DirectoryServer> DirectoryLookup::server_;

} // namespace

TEST_F(DirectoryLookup, FindsTheComputerOrNamesTheStepThatFailed) {
    platform::DirectoryConfiguration directory = Administrator();
    EXPECT_EQ(Outcome(directory, "WS01$"), DistinguishedNameOf("WS01"));
    EXPECT_EQ(Outcome(directory, "ws01$"), DistinguishedNameOf("WS01"));
    EXPECT_EQ(Outcome(directory, "NOSUCH$"), "dsGetRecordEntry() failed");
    EXPECT_EQ(Outcome(directory, "BARE$"), "dsGetAttributeEntry() failed");
    EXPECT_EQ(Outcome(directory, "*"), "dsGetRecordEntry() failed");
    EXPECT_EQ(Outcome(directory, ""), "dsBuildListFromStrings() failed");

    directory.base = "dc=elsewhere,dc=test";
    EXPECT_EQ(Outcome(directory, "WS01$"), "dsGetRecordList() failed");

    platform::DirectoryConfiguration anonymous = Administrator();
    anonymous.bindDn.clear();
    anonymous.passwordFile.clear();
    EXPECT_EQ(Outcome(anonymous, "WS01$"), DistinguishedNameOf("WS01"));
}

TEST_F(DirectoryLookup, WrongCredentialsOrAddressFailToOpen) {
    platform::DirectoryConfiguration directory = Administrator();
    directory.passwordFile = server_->PasswordFile("wrong");
    EXPECT_EQ(Outcome(directory, "WS01$"), "dsOpenDirNode() failed");
    directory.passwordFile = server_->PasswordFile("secret") + ".missing";
    EXPECT_EQ(Outcome(directory, "WS01$"), "dsOpenDirNode() failed");
    directory.uri = "nonsense://127.0.0.1";
    EXPECT_EQ(Outcome(directory, "WS01$"), "dsGetDirNodeName() failed");
}

TEST_F(DirectoryLookup, AServerThatIsDownOrSilentFailsWithinTheTimeLimit) {
    platform::DirectoryConfiguration directory = Administrator();
    directory.timeoutSeconds = 1;
    directory.uri = "ldap://127.0.0.1:" + std::to_string(FreePort());
    EXPECT_EQ(Outcome(directory, "WS01$"), "dsOpenDirNode() failed");

    // Accepts connections (the kernel completes them) but never answers.
    platform::Descriptor silent(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    ASSERT_EQ(bind(silent.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(listen(silent.get(), 4), 0);
    ASSERT_EQ(getsockname(silent.get(), reinterpret_cast<sockaddr*>(&address), &length), 0);
    directory.uri = "ldap://127.0.0.1:" + std::to_string(ntohs(address.sin_port));
    Clock::time_point const begin = Clock::now();
    EXPECT_EQ(Outcome(directory, "WS01$"), "dsOpenDirNode() failed");
    EXPECT_LT(Clock::now() - begin, std::chrono::seconds(5));
}

TEST_F(DirectoryLookup, ZorqFindsTheDirectoryThroughTheClientConfiguration) {
    auto const ask = [](std::string const& password) {
        return zorq::testing::run(
            ZORQ_PATH,
            {"--", "distinguished names of local computers of active directories; "
                   "distinguished name error messages of local computers of active directories"},
            {},
            {"LDAPURI=" + server_->Uri(), std::string("LDAPBASE=") + kBase,
             std::string("LDAPBINDDN=") + kAdmin,
             "ZOR_DIRECTORY_PASSWORD_FILE=" + server_->PasswordFile(password)});
    };
    EXPECT_EQ(ask("secret").out, "A: " + DistinguishedNameOf(LocalName()) + "\nA: \n");
    EXPECT_EQ(ask("wrong").out, "A: dsOpenDirNode() failed\n");
}
