// Whether the agent has a restart pending, in general or for one reason.
#include "framework/contexts.h"
#include "framework/memory.h"
#include "framework/prop.h"

namespace {

boolean PendingRestart() {
    return GetInspectorContext<PendingRestartInspectorContext>().PendingRestart();
}

boolean NamedPendingRestart(inspector_string const& name) {
    return GetInspectorContext<PendingRestartInspectorContext>().PendingRestart(AsConstData(name));
}

Prop pendingRestart("pending restart", "pending restarts", PendingRestart, nullptr);
Prop namedPendingRestart("pending restart", "pending restarts", NamedPendingRestart, nullptr);

} // namespace
