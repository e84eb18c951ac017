// The running processes as inspector values: every process of a fresh
// snapshot of the table, or one process by id, with its name and id.
#pragma once

#include <cstddef>

#include "evaluator/values.h"
#include "framework/registration.h"
#include "platform/linux/processes.h"

template <> struct InspectorTypeName<kinfo_proc> {
    static char const* Get() { return "process"; }
};

// Holds one snapshot of the table from First until it is destroyed or First
// runs again; the values it yields are copies.
class process_iterator {
public:
    process_iterator() = default;
    ~process_iterator();
    process_iterator(process_iterator const&) = delete;
    process_iterator& operator=(process_iterator const&) = delete;

    kinfo_proc First();
    kinfo_proc Next();
    void FreeProcList();

private:
    kinfo_proc* list_ = nullptr;
    std::size_t count_ = 0;
    std::size_t index_ = 0;
};

kinfo_proc numbered_process_of_world(unsigned long long pid);
inspector_string name_of_process(kinfo_proc const& process);
integer pid_of_process(kinfo_proc const& process);
