// The error classes of the agent's context kinds: thrown when the agent's
// context record lacks the operation an inspector needs.
#pragma once

#include "evaluator/errors.h"

#define ZOR_CONTEXT_ERROR(Name)                                                                    \
    class Name : public DebuggableException {                                                      \
    public:                                                                                        \
        const char* what() const noexcept override { return #Name; }                               \
    }

ZOR_CONTEXT_ERROR(InspectorAnalysisContextError);
ZOR_CONTEXT_ERROR(InspectorActionContextError);
ZOR_CONTEXT_ERROR(InspectorSystemContextError);
ZOR_CONTEXT_ERROR(InspectorSettingsContextError);
ZOR_CONTEXT_ERROR(InspectorStorageContextError);
ZOR_CONTEXT_ERROR(InspectorSiteContextError);
ZOR_CONTEXT_ERROR(InspectorQuamelContextError);
ZOR_CONTEXT_ERROR(InspectorProcessTableContextError);
ZOR_CONTEXT_ERROR(InspectorServerContextError);

#undef ZOR_CONTEXT_ERROR
