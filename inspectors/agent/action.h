// The agent's actions and the analysis being evaluated: the records the agent
// fills through its action and analysis contexts, the inspector types that
// hold them, the action state record and its vocabulary.
#pragma once

#include <cstddef>
#include <cstdint>

#include "evaluator/values.h"
#include "util/buffer.h"
#include "util/bytes.h"

// Finds a named parameter of an action; false when it has none by that name.
using ActionParameterLookup = bool (*)(ConstData name, ConstData* value);

// One action as the agent knows it. The agent and this library share the
// layout, so fields keep their order and widths; times are microseconds
// since 1970-01-01 UTC, 0 meaning none.
struct InspectorActionData {
    bool pending;
    std::uint32_t id;
    std::int64_t pendingTime;
    std::int64_t completeTime;
    unsigned char reserved24[2];
    bool pendingRestart;
    bool pendingLogin;
    bool constrained;
    // 0-200 a user constraint, 201-255 a system one (213-216 a download failure).
    std::uint8_t constraintCode;
    std::uint16_t firstActiveCount; // times run; 0 = never ran
    std::uint16_t activeCount;
    std::uint16_t activeLineNumber;
    std::int64_t activeStartTime;
    std::uint16_t lastActiveLineNumber;
    std::int64_t lastActiveTime;
    std::int64_t lastChangeTime;
    bool waitingForDownload;
    unsigned char reserved65[11];
    bool active;
    std::uint32_t originQuamelId; // meaningful only while active
    unsigned char reserved84[4];
    ActionParameterLookup parameterLookup; // null: no parameters
};

#define ZOR_ACTION_FIELD_AT(field, at32, at64)                                                     \
    static_assert(offsetof(InspectorActionData, field) == (sizeof(void*) == 4 ? at32 : at64))
ZOR_ACTION_FIELD_AT(pending, 0, 0);
ZOR_ACTION_FIELD_AT(id, 4, 4);
ZOR_ACTION_FIELD_AT(pendingTime, 8, 8);
ZOR_ACTION_FIELD_AT(completeTime, 16, 16);
ZOR_ACTION_FIELD_AT(pendingRestart, 26, 26);
ZOR_ACTION_FIELD_AT(pendingLogin, 27, 27);
ZOR_ACTION_FIELD_AT(constrained, 28, 28);
ZOR_ACTION_FIELD_AT(constraintCode, 29, 29);
ZOR_ACTION_FIELD_AT(firstActiveCount, 30, 30);
ZOR_ACTION_FIELD_AT(activeCount, 32, 32);
ZOR_ACTION_FIELD_AT(activeLineNumber, 34, 34);
ZOR_ACTION_FIELD_AT(activeStartTime, 36, 40);
ZOR_ACTION_FIELD_AT(lastActiveLineNumber, 44, 48);
ZOR_ACTION_FIELD_AT(lastActiveTime, 48, 56);
ZOR_ACTION_FIELD_AT(lastChangeTime, 56, 64);
ZOR_ACTION_FIELD_AT(waitingForDownload, 64, 72);
ZOR_ACTION_FIELD_AT(active, 76, 84);
ZOR_ACTION_FIELD_AT(originQuamelId, 80, 88);
ZOR_ACTION_FIELD_AT(parameterLookup, 88, 96);
#undef ZOR_ACTION_FIELD_AT
static_assert(sizeof(InspectorActionData) == (sizeof(void*) == 4 ? 92 : 104));

// The analysis being evaluated; the agent's record begins with its last time.
struct InspectorAnalysisData {
    std::int64_t lastTime; // microseconds since 1970-01-01 UTC; 0 = none
};

struct analysis {
    static char const* TypeName() { return "analysis"; }
    explicit analysis(InspectorAnalysisData& data);
    InspectorAnalysisData data;
};
static_assert(sizeof(analysis) == 8);

struct action {
    static char const* TypeName() { return "action"; }
    explicit action(InspectorActionData const& data);
    InspectorActionData data;
};
static_assert(sizeof(action) == sizeof(InspectorActionData));

// The action state record's vocabulary.
extern ConstData const cActionTagPending;
extern ConstData const cActionTagId;
extern ConstData const cActionTagDateTrue;
extern ConstData const cActionTagDateFalse;
extern ConstData const cActionTagConstrained;
extern ConstData const cActionTagConstraint;
extern ConstData const cActionTagSystemConstraint;
extern ConstData const cActionTagFirstActiveCount;
extern ConstData const cActionTagActiveCount;
extern ConstData const cActionTagActiveLineNumber;
extern ConstData const cActionTagActiveStartTime;
extern ConstData const cActionTagLastActiveLineNumber;
extern ConstData const cActionTagLastActiveTime;
extern ConstData const cActionTagLastChangeTime;
extern ConstData const cActionTagWaitingForDownloads;
extern ConstData const cActionTagActive;
extern ConstData const cActionTagStatus;
extern ConstData const cActionTagPendingRestart;
extern ConstData const cActionTagPendingLogin;
extern ConstData const cActionTagActionId;
extern ConstData const cActionTagSubActionOrdinal;
extern ConstData const cActionTagEnd;
extern ConstData const cActionValueTrue;
extern ConstData const cActionValueFalse;
extern ConstData const cActionValueRunning;
extern ConstData const cActionValueExecuted;
extern ConstData const cActionValueNotRelevant;
extern ConstData const cActionValueWaiting;
extern ConstData const cActionValueNotExecuted;
extern ConstData const cActionValueFailed;
extern ConstData const cActionTagDownloadFailed;
extern ConstData const cActionTagActionDependencyCanceled;
extern ConstData const cActionTagActionDependencyWaitingOnUser;

analysis CurrentAnalysis_of_world();
moment LastTime_of(analysis const& current);

action CurrentAction_of_world();
action ActiveAction_of_world();
action ActionById_of_world(unsigned long long id);
integer Id_of(action const& a);
integer Constraint_of(action const& a);
integer SystemConstraint_of(action const& a);
integer TotalActiveCount_of(action const& a);
integer ActiveCountof(action const& a);
integer ActiveLineNumber_of(action const& a);
integer LastActiveLineNumber_of(action const& a);
integer OriginQuamelId_of(action const& a);
boolean Constrained_of(action const& a);
boolean Pending_of(action const& a);
boolean WaitingForDownload_of(action const& a);
boolean Active_of(action const& a);
boolean Restart_of(action const& a);
boolean Login_of(action const& a);
moment DateTrue_of(action const& a);
moment DateFalse_of(action const& a);
moment ActiveStartTime_of(action const& a);
moment LastActiveTime_of(action const& a);
moment LastChangeTime_of(action const& a);
integer DownloadFailure_of(action const& a);
inspector_string Status_of(action const& a);
inspector_string AsString(action const& a);
inspector_string ActionParameter(unsigned char const* name, unsigned long length, action const& a);

// The status word of the record, pointing into its constant.
ConstData ActionStatus(InspectorActionData const& data);
// The action state record written into room, which must hold
// ActionStateRecordCapacity() bytes; returns the bytes used.
ConstData WriteActionStateRecord(InspectorActionData const& data, Data room);
std::size_t ActionStateRecordCapacity();
