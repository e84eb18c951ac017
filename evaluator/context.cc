#include "evaluator/context.h"

namespace {

thread_local InspectorContext* currentContext = nullptr;
// Changes whenever the installed context does, so that what was learnt of
// one installation is never taken for another's.
thread_local std::uint64_t installation = 0;

} // namespace

InspectorContext* Get_Generic_Inspector_Context() {
    return currentContext;
}

std::uint64_t InspectorContextInstallation() {
    return installation;
}

ScopedInspectorContext::ScopedInspectorContext(InspectorContext* context)
    : previous_(currentContext) {
    currentContext = context;
    ++installation;
}

ScopedInspectorContext::~ScopedInspectorContext() {
    currentContext = previous_;
    ++installation;
}
