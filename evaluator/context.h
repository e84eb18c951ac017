// The generic inspector context a host installs for one evaluation.
#pragma once

#include <cstdint>

// Base of every agent context; inspectors reach a context kind by a
// dynamic_cast from it.
class InspectorContext {
public:
    virtual ~InspectorContext() = default;
};

// The context installed for the evaluation running on this thread, or null.
InspectorContext* Get_Generic_Inspector_Context();

// Identifies the current installation on this thread: it changes each time
// a context is installed or removed, and is 0 before the first.
std::uint64_t InspectorContextInstallation();

// Installs a context for its lifetime on this thread, restoring the previous one.
class ScopedInspectorContext {
public:
    explicit ScopedInspectorContext(InspectorContext* context);
    ~ScopedInspectorContext();
    ScopedInspectorContext(ScopedInspectorContext const&) = delete;
    ScopedInspectorContext& operator=(ScopedInspectorContext const&) = delete;

private:
    InspectorContext* previous_;
};
