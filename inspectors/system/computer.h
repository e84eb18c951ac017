// The computer, its operating system, its processors and its memory as
// inspector types. Every value is read from the system when it is asked for,
// except the build number, which the system source works out once.
#pragma once

#include <cstdint>

#include "evaluator/values.h"
#include "files/stringy.h"
#include "framework/registration.h"

struct Computer {
    static char const* TypeName() { return "computer"; }
};

// The hardware architecture and the kernel's build text, as uname gives them.
struct OperatingSystem {
    static char const* TypeName() { return "operating system"; }
    Stringy machine;
    Stringy version;
};

// Every processor value describes the main processor.
struct InspectorProcessor {
    static char const* TypeName() { return "processor"; }
};

// Yields one processor per online processor.
class ProcessorIterator {
public:
    InspectorProcessor First();
    InspectorProcessor Next();

private:
    std::uint32_t count_ = 0;
    std::uint32_t next_ = 0;
};

struct RAMInspector {
    static char const* TypeName() { return "ram"; }
};

// The name of a processor response code: PowerPC models by number, Intel
// ones by their four-character code; "unknown" for any other.
char const* ProcessorName(std::uint32_t response);

Computer computer();
inspector_string hostname();
inspector_string name_of_computer(Of, Computer const&);

OperatingSystem operating_system();
inspector_string AsString(OperatingSystem const& system);
inspector_string name_of_operating_system(Of, OperatingSystem const&);
version release_of_operating_system(Of, OperatingSystem const&);
inspector_string BuildOf(Of, OperatingSystem const& system);
inspector_string ArchOf(Of, OperatingSystem const& system);
moment Boot_Time_of(OperatingSystem const&);
time_interval Up_Time_of(OperatingSystem const& system);
inspector_string build_number_of_operating_system(Of, OperatingSystem const&);

InspectorProcessor main_processor_of();
hertz speed_of_processor(Of, InspectorProcessor const&);
inspector_string family_name_of_processor(Of, InspectorProcessor const&);
inspector_string processor_name_of_processor(Of, InspectorProcessor const&);

RAMInspector ram_of();
integer size_of_ram(Of, RAMInspector const&);
