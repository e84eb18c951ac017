// The process table, read from /proc: a snapshot of every process (id and
// the kernel's short command name) and one process by id.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "evaluator/errors.h"

// One process of the table. The field names follow the kernel process
// record of the BSD systems, so the inspectors read alike on both.
struct kinfo_proc {
    struct {
        std::int32_t p_pid;
        char p_comm[17]; // up to 16 characters and a NUL
    } kp_proc;
};

// The process table could not be read.
class GetBSDProcessListFailed : public DebuggableException {
public:
    const char* what() const noexcept override { return "GetBSDProcessListFailed"; }
};

// Reads the whole table into a malloc'ed array that the caller frees: 0 or
// an errno value. procList must point at a null pointer and procCount must
// not be null; a broken precondition prints a failed assertion to standard
// error and ends the process.
int GetBSDProcessList(kinfo_proc** procList, std::size_t* procCount);

namespace platform {

// Where process records come from.
class ProcessTableSource {
public:
    virtual ~ProcessTableSource() = default;
    // Enough room for the table as it is now, in records (with some slack
    // for processes started before it is read): 0 or an errno value.
    virtual int TableSize(std::size_t& records) = 0;
    // Fills up to `room` records and sets count: 0, ENOMEM when the table no
    // longer fits, or another errno value.
    virtual int ReadTable(kinfo_proc* records, std::size_t room, std::size_t& count) = 0;
    // One process by id; false when there is none.
    virtual bool ReadProcess(std::uint32_t pid, kinfo_proc& record) = 0;
};

// The table as a proc file system shows it: one directory per process,
// named by its id, each with a stat file; sized from loadavg when there is
// one, else by counting the directories. A process that ends between the
// listing and the reading of its file is left out, as is any entry that is
// not a process id or whose stat file does not read as one.
class ProcDirectoryTable final : public ProcessTableSource {
public:
    explicit ProcDirectoryTable(std::string root);
    int TableSize(std::size_t& records) override;
    int ReadTable(kinfo_proc* records, std::size_t room, std::size_t& count) override;
    bool ReadProcess(std::uint32_t pid, kinfo_proc& record) override;

private:
    // The kernel's count of scheduling entities (threads) from loadavg:
    // every process has at least one, so it bounds the table without
    // listing it. nullopt when there is no such file.
    std::optional<std::size_t> SchedulingEntities() const;
    std::string root_;
};

// The source the inspectors read: /proc unless a stand-in is installed.
ProcessTableSource& ProcessTable();

// Installs a stand-in for its lifetime.
class ScopedProcessTableSource {
public:
    explicit ScopedProcessTableSource(ProcessTableSource& source);
    ~ScopedProcessTableSource();
    ScopedProcessTableSource(ScopedProcessTableSource const&) = delete;
    ScopedProcessTableSource& operator=(ScopedProcessTableSource const&) = delete;

private:
    ProcessTableSource* previous_;
};

// Reads "pid (comm) state ..." as /proc/<pid>/stat gives it (the command
// name may hold spaces and parentheses; it ends at the last ")"). A name
// longer than the record holds is cut. False for any other text.
bool ParseProcessStat(std::string_view text, kinfo_proc& record);

// The total of "running/total" in the fourth field of loadavg text.
std::optional<std::size_t> ParseSchedulingEntities(std::string_view text);

// A /proc entry name that is a process id: decimal digits only, no leading
// zero, within the id range.
bool IsProcessId(std::string_view name);

} // namespace platform
