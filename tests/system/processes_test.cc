// The process inspectors and the process-list routine against a stand-in
// process table, and the reader of /proc/<pid>/stat lines.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "inspectors/system/processes.h"
#include "platform/linux/processes.h"
#include "tests/files/temp_tree.h"
#include "tests/system/ask.h"

using system_test::Expect;

namespace {

kinfo_proc Record(std::int32_t pid, char const* name) {
    kinfo_proc record{};
    record.kp_proc.p_pid = pid;
    std::memcpy(record.kp_proc.p_comm, name,
                std::min(std::strlen(name), sizeof record.kp_proc.p_comm - 1));
    return record;
}

class FakeProcessTable : public platform::ProcessTableSource {
public:
    std::vector<kinfo_proc> table;
    // Processes that appear after the table is next sized, once.
    std::vector<kinfo_proc> startAfterSizing;
    int sizeError = 0;
    int readError = 0;
    int sizings = 0;

    int TableSize(std::size_t& records) override {
        ++sizings;
        records = table.size();
        table.insert(table.end(), startAfterSizing.begin(), startAfterSizing.end());
        startAfterSizing.clear();
        return sizeError;
    }

    int ReadTable(kinfo_proc* records, std::size_t room, std::size_t& count) override {
        if (readError != 0)
            return readError;
        if (table.size() > room)
            return ENOMEM;
        std::copy(table.begin(), table.end(), records);
        count = table.size();
        return 0;
    }

    bool ReadProcess(std::uint32_t pid, kinfo_proc& record) override {
        auto found = std::find_if(table.begin(), table.end(), [&](kinfo_proc const& candidate) {
            return static_cast<std::uint32_t>(candidate.kp_proc.p_pid) == pid;
        });
        if (found != table.end())
            record = *found;
        return found != table.end();
    }
};

class ProcessInspectors : public testing::Test {
protected:
    FakeProcessTable processes;

    void SetUp() override {
        processes.table = {Record(0, "kernel_task"), Record(1, "launchd"), Record(77, "sshd")};
    }

private:
    platform::ScopedProcessTableSource installed{processes};
};

} // namespace

TEST_F(ProcessInspectors, IteratesTheTableAndLooksUpById) {
    Expect({{"names of processes", "kernel_task; launchd; sshd"},
            {"pids of processes", "0; 1; 77"},
            {"number of processes", "3"},
            {"names of processes whose (pid of it > 0)", "launchd; sshd"},
            {"(name of process 0, name of process 77)", "kernel_task, sshd"}});
    processes.table.push_back(Record(-1, "wrapped"));
    processes.table.push_back(Record(5, "abcdefghijklmnop"));
    Expect({{"names of processes whose (pid of it = 5)", "abcdefghijklmnop"},
            {"(pid of it, id of it, process id of it) of process 77", "77, 77, 77"},
            {"exists process 78", "False"},
            {"name of process 4294967295", "wrapped"},
            {"exists process 4294967296", "False"},
            {"name of process 5", "abcdefghijklmnop"}});
}

TEST_F(ProcessInspectors, ATableThatGrowsWhileReadIsSizedAgain) {
    processes.startAfterSizing = {Record(90, "new")};
    Expect({{"number of processes", "4"}});
    EXPECT_EQ(processes.sizings, 2);
}

TEST_F(ProcessInspectors, AnUnreadableTableFailsTheIteration) {
    processes.readError = EACCES;
    Expect({{"number of processes", "error: GetBSDProcessListFailed"}});
    processes.readError = 0;
    processes.sizeError = EPERM;
    Expect({{"names of processes", "error: GetBSDProcessListFailed"}});
}

TEST_F(ProcessInspectors, AnEmptyTableHasNoProcesses) {
    processes.table.clear();
    Expect({{"(number of processes, exists process 1)", "0, False"}});
}

TEST_F(ProcessInspectors, EachPassReadsAFreshSnapshotThatLaterProcessesDoNotJoin) {
    process_iterator iterator;
    auto rest = [&] {
        std::vector<std::int32_t> pids;
        for (;;)
            try {
                pids.push_back(iterator.Next().kp_proc.p_pid);
            } catch (NoSuchObject const&) {
                return pids;
            }
    };
    EXPECT_EQ(iterator.First().kp_proc.p_pid, 0);
    processes.table.push_back(Record(99, "late"));
    EXPECT_EQ(rest(), (std::vector<std::int32_t>{1, 77}));
    EXPECT_THROW(iterator.Next(), NoSuchObject);
    EXPECT_EQ(iterator.First().kp_proc.p_pid, 0);
    EXPECT_EQ(rest(), (std::vector<std::int32_t>{1, 77, 99}));
}

// The list read is seen through the inspectors; a failed read hands out none.
TEST_F(ProcessInspectors, AFailedReadLeavesNoListAndNoCount) {
    processes.readError = EIO;
    kinfo_proc* list = nullptr;
    std::size_t count = 99;
    EXPECT_EQ(GetBSDProcessList(&list, &count), EIO);
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(count, 0u);
}

TEST(ProcessListAssertions, BrokenPreconditionsEndTheProcessWithTheirText) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    std::size_t count = 0;
    kinfo_proc record{};
    kinfo_proc* notNull = &record;
    kinfo_proc* list = nullptr;
    EXPECT_DEATH(
        GetBSDProcessList(nullptr, &count),
        "^Shared/Portable/Processes/Mac/BSDProcessList:32: failed assertion `procList != NULL'\n");
    EXPECT_DEATH(GetBSDProcessList(&notNull, &count),
                 "BSDProcessList:33: failed assertion `\\*procList == NULL'");
    EXPECT_DEATH(GetBSDProcessList(&list, nullptr),
                 "BSDProcessList:34: failed assertion `procCount != NULL'");
}

TEST(ProcessStatLine, ReadsTheIdAndTheNameUpToTheLastParenthesis) {
    kinfo_proc record = Record(1234, "stale");
    ASSERT_TRUE(platform::ParseProcessStat("42 (bash) S 1 42 42 0 -1", record));
    EXPECT_EQ(record.kp_proc.p_pid, 42);
    EXPECT_STREQ(record.kp_proc.p_comm, "bash");

    ASSERT_TRUE(platform::ParseProcessStat("7 (a) (b) c) R 1 2", record));
    EXPECT_STREQ(record.kp_proc.p_comm, "a) (b) c");
    ASSERT_TRUE(platform::ParseProcessStat("8 () S", record));
    EXPECT_STREQ(record.kp_proc.p_comm, "");
    ASSERT_TRUE(platform::ParseProcessStat("9 (abcdefghijklmnopqrstuvwxyz) S", record));
    EXPECT_STREQ(record.kp_proc.p_comm, "abcdefghijklmnop");

    kinfo_proc const before = Record(5, "kept");
    for (char const* bad : {"", "bash", "x (bash) S", "-3 (bash) S", " 3 (bash) S", "3(bash) S",
                            "99999999999 (bash) S", "3 )bash( S", "3 (", ")", "10 (cut off"}) {
        record = before;
        EXPECT_FALSE(platform::ParseProcessStat(bad, record)) << bad;
        EXPECT_EQ(record.kp_proc.p_pid, 5) << bad;
        EXPECT_STREQ(record.kp_proc.p_comm, "kept") << bad;
    }
}

TEST(ProcessDirectoryName, OnlyDecimalIdsAreProcesses) {
    for (char const* id : {"1", "4194304", "2147483647"})
        EXPECT_TRUE(platform::IsProcessId(id)) << id;
    for (char const* other : {"", "self", "0", "01", "12a", "-1", "2147483648", "sys", "1 "})
        EXPECT_FALSE(platform::IsProcessId(other)) << other;
}

TEST(ProcDirectoryTable, ListsProcessesAndSkipsEverythingElse) {
    TempTree proc;
    proc.Write("12/stat", "12 (init) S 0 12 12");
    proc.Write("345/stat", "345 (my prog) R 12 345");
    proc.Folder("13"); // ended after the listing
    proc.Write("14/stat",
               "garbage without parentheses"); // unreadable as a process
    proc.Write("self/stat", "12 (init) S 0 12 12");
    proc.Write("007/stat", "7 (octal) S 0 7 7");
    proc.Write("uptime", "1.0 2.0");

    platform::ProcDirectoryTable table(proc.Path());
    std::size_t room = 0;
    ASSERT_EQ(table.TableSize(room), 0);
    EXPECT_GE(room, 4u);
    std::vector<kinfo_proc> records(room);
    std::size_t count = 0;
    ASSERT_EQ(table.ReadTable(records.data(), room, count), 0);
    std::vector<std::string> names;
    for (std::size_t i = 0; i < count; ++i)
        names.push_back(records[i].kp_proc.p_comm);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (std::vector<std::string>{"init", "my prog"}));

    // More processes than room: the caller must size the table again.
    EXPECT_EQ(table.ReadTable(records.data(), 1, count), ENOMEM);

    kinfo_proc record{};
    EXPECT_TRUE(table.ReadProcess(345, record));
    EXPECT_STREQ(record.kp_proc.p_comm, "my prog");
    EXPECT_FALSE(table.ReadProcess(13, record));
    EXPECT_FALSE(table.ReadProcess(14, record));
    EXPECT_FALSE(table.ReadProcess(99, record));

    platform::ProcDirectoryTable missing(proc.Path("absent"));
    EXPECT_EQ(missing.TableSize(room), ENOENT);
    EXPECT_EQ(missing.ReadTable(records.data(), room, count), ENOENT);
}

TEST(ProcDirectoryTable, IsSizedFromTheSchedulingEntitiesWhenTheKernelCountsThem) {
    TempTree proc;
    proc.Write("1/stat", "1 (init) S 0 1 1");
    proc.Write("20/stat", "21 (other) S 0 21 21");
    platform::ProcDirectoryTable table(proc.Path());
    std::size_t counted = 0;
    ASSERT_EQ(table.TableSize(counted), 0);
    kinfo_proc record{};
    EXPECT_FALSE(table.ReadProcess(20, record)) << "the file names another process";

    proc.Write("loadavg", "0.52 0.58 0.59 2/170 12345\n");
    std::size_t sized = 0;
    ASSERT_EQ(table.TableSize(sized), 0);
    EXPECT_EQ(sized, counted - 2 + 170) << "two process directories were counted";

    proc.Write("loadavg", "not a load average\n");
    ASSERT_EQ(table.TableSize(sized), 0);
    EXPECT_EQ(sized, counted);
}

TEST(LoadAverageText, TheTotalOfTheFourthField) {
    EXPECT_EQ(platform::ParseSchedulingEntities("0.52 0.58 0.59 2/170 12345\n"), 170u);
    EXPECT_EQ(platform::ParseSchedulingEntities("0 0 0 1/1"), 1u);
    for (char const* bad : {"", "0.52 0.58 0.59", "0.52 0.58 0.59 2/ 1", "0.52 0.58 0.59 2/x 1",
                            "0.52 0.58 0.59 2-170 1", "0.52 0.58 0.59 2/170x 1",
                            "0.52 0.58 0.59 2/99999999999999999999999 1"})
        EXPECT_EQ(platform::ParseSchedulingEntities(bad), std::nullopt) << bad;
}
