// The device registry's handles and attribute reads against a fake sysfs
// tree (real files in a scratch folder), and the utmp reader on records
// built here: what a transcript cannot see.
#include <gtest/gtest.h>

#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utmp.h>
#include <vector>

#include "inspectors/system/registry.h"
#include "platform/linux/console_user.h"
#include "tests/environment/scoped_environment.h"
#include "tests/files/temp_tree.h"
#include "tests/system/ask.h"

namespace {

std::ptrdiff_t OpenDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

bool IsOpen(int fd) {
    return fcntl(fd, F_GETFD) != -1;
}

// One fake tree for the whole program: the registry reaches sysfs through
// a root it opens once per process.
class DeviceRegistry : public testing::Test {
protected:
    static void SetUpTestSuite() {
        tree_ = std::make_unique<TempTree>();
        environment_ = std::make_unique<ScopedEnvironment>(
            std::vector<std::string>{"ZOR_SYSTEM_ROOT=" + tree_->Path()});
        tree_->Write("sys/devices/a/x/leaf/value", "1\n");
        tree_->Write("sys/devices/a/y/value", "2\n");
        tree_->Write("sys/devices/b/value", "3\n");
    }
    static void TearDownTestSuite() {
        environment_.reset();
        tree_.reset();
    }

    static inline std::unique_ptr<TempTree> tree_;
    static inline std::unique_ptr<ScopedEnvironment> environment_;
};

TEST_F(DeviceRegistry, CopiesOfAChildShareTheEntryOpenedLater) {
    registry_node const top = service_plane(Of(), theroot());
    OSXRegistryIterator children;
    std::optional<registry_node> child(children.First(Of(), top));
    std::optional<registry_node> copy(*child);
    EXPECT_FALSE(copy->handle.IsOpen());
    int const fd = child->Entry();
    EXPECT_EQ(copy->handle.get(), fd);
    child.reset();
    EXPECT_TRUE(IsOpen(fd));
    copy.reset();
    EXPECT_FALSE(IsOpen(fd));
}

TEST_F(DeviceRegistry, EvaluationsLeaveNoEntryOpen) {
    system_test::Ask("exists service plane of iokit registry"); // the root stays open
    std::ptrdiff_t const before = OpenDescriptors();
    // Among them iterations abandoned after their first value, and failed lookups.
    system_test::Expect({
        {"names of nodes of nodes of nodes of service plane of iokit registry", "leaf"},
        {"(name of it, (path of it, name of it)) of nodes of nodes of node \"IOService:/\" of "
         "iokit registry",
         "x, IOService:/a/x, x; y, IOService:/a/y, y"},
        {"exists nodes of nodes of service plane of iokit registry", "True"},
        {"name of node \"a/z\" of service plane of iokit registry",
         "error: Singular expression refers to nonexistent object."},
    });
    EXPECT_EQ(OpenDescriptors(), before);
}

TEST_F(DeviceRegistry, AttributesAreReadBoundedAndNeverBlock) {
    std::string const device = tree_->Folder("sys/devices/d");
    tree_->Write("sys/devices/d/text", "line\n\n");
    tree_->Write("sys/devices/d/limit", std::string(platform::kLargestAttribute, 'x'));
    tree_->Write("sys/devices/d/huge", std::string(platform::kLargestAttribute + 1, 'x'));
    chmod(tree_->Write("sys/devices/d/write-only", "secret").c_str(), 0200);
    ASSERT_EQ(mkfifo((device + "/fifo").c_str(), 0644), 0);
    symlink("text", (device + "/link").c_str());

    auto entry = platform::OpenRegistryEntry(*platform::PlaneNamed("IOService"), "d");
    ASSERT_TRUE(entry.valid());
    EXPECT_EQ(platform::ReadAttributes(entry.get(), false),
              (std::vector<std::pair<std::string, std::string>>{
                  {"limit", std::string(platform::kLargestAttribute, 'x')}, {"text", "line\n"}}));
}

// Held by an O_PATH descriptor, a folder this process may not read is still
// a node; it has no children to list.
TEST_F(DeviceRegistry, AFolderThatCannotBeReadIsANodeWithoutChildren) {
    chmod(tree_->Folder("sys/devices/locked").c_str(), 0111);
    EXPECT_EXIT(
        {
            system_test::Ask("exists service plane of iokit registry"); // opens the root
            if (geteuid() == 0 && setuid(65534) != 0) {
                _exit(2);
            }
            std::string const answer = system_test::Answer(
                "(exists it, number of nodes of it) of node \"locked\" of service plane of "
                "iokit registry");
            _exit(answer == "True, 0" ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

utmp Login(short type, char const* line, char const* user, int seconds) {
    utmp record{};
    record.ut_type = type;
    std::strncpy(record.ut_line, line, sizeof record.ut_line);
    std::strncpy(record.ut_user, user, sizeof record.ut_user);
    record.ut_tv.tv_sec = seconds;
    return record;
}

TEST(ConsoleUser, UtmpGivesTheNewestLoginOnALocalConsole) {
    std::vector<utmp> records{Login(USER_PROCESS, "tty1", "early", 100),
                              Login(USER_PROCESS, "pts/0", "remote", 900),
                              Login(DEAD_PROCESS, ":0", "gone", 800),
                              Login(USER_PROCESS, ":0", "desk", 300),
                              Login(USER_PROCESS, "ttyS0", "serial", 700),
                              Login(LOGIN_PROCESS, "tty2", "LOGIN", 600),
                              Login(USER_PROCESS, "tty12345678901234567890123456789", "", 999)};
    auto bytes = [&](std::size_t count) {
        return ConstData(reinterpret_cast<unsigned char const*>(records.data()),
                         reinterpret_cast<unsigned char const*>(records.data()) +
                             count * sizeof(utmp));
    };
    EXPECT_EQ(platform::ConsoleUserOfUtmp(bytes(records.size())), "desk");
    EXPECT_EQ(platform::ConsoleUserOfUtmp(bytes(1)), "early");
    EXPECT_EQ(platform::ConsoleUserOfUtmp(bytes(0)), std::nullopt);
    // A truncated last record is not read.
    EXPECT_EQ(platform::ConsoleUserOfUtmp(ConstData(bytes(1).begin(), bytes(1).end() - 1)),
              std::nullopt);
}

} // namespace
