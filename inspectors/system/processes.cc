#include "inspectors/system/processes.h"

#include <cstdlib>
#include <cstring>

#include "evaluator/errors.h"
#include "framework/memory.h"

namespace {

constexpr unsigned long long kLargestProcessId = 0xFFFFFFFFull;

} // namespace

process_iterator::~process_iterator() {
    FreeProcList();
}

void process_iterator::FreeProcList() {
    std::free(list_);
    list_ = nullptr;
    count_ = 0;
}

kinfo_proc process_iterator::First() {
    FreeProcList();
    if (GetBSDProcessList(&list_, &count_) != 0) {
        throw GetBSDProcessListFailed();
    }
    if (count_ == 0) {
        throw NoSuchObject(); // an empty table has no first record to copy
    }
    index_ = 0;
    return list_[0];
}

kinfo_proc process_iterator::Next() {
    if (++index_ >= count_) {
        throw NoSuchObject();
    }
    return list_[index_];
}

kinfo_proc numbered_process_of_world(unsigned long long pid) {
    kinfo_proc process{};
    if (pid > kLargestProcessId ||
        !platform::ProcessTable().ReadProcess(static_cast<std::uint32_t>(pid), process)) {
        throw NoSuchObject();
    }
    return process;
}

inspector_string name_of_process(kinfo_proc const& process) {
    char const* name = process.kp_proc.p_comm;
    return CopyToInspectorString(ConstData(name, strnlen(name, sizeof process.kp_proc.p_comm)));
}

integer pid_of_process(kinfo_proc const& process) {
    return process.kp_proc.p_pid;
}

namespace {

Type<kinfo_proc> processType;
NumberedGlobalProperty<kinfo_proc> processOfWorld("process", "processes", numbered_process_of_world,
                                                  nullptr);
IteratedGlobalProperty<process_iterator, kinfo_proc> processesOfWorld("process", "processes",
                                                                      nullptr);
Property<kinfo_proc, inspector_string> nameOfProcess("name", "names", name_of_process, nullptr);
Property<kinfo_proc, integer> pidOfProcess("pid", "pids", pid_of_process, nullptr);
Property<kinfo_proc, integer> idOfProcess("id", "ids", pid_of_process, nullptr);
Property<kinfo_proc, integer> processIdOfProcess("process id", "process ids", pid_of_process,
                                                 nullptr);

} // namespace
