#include "inspectors/agent/action.h"

#include <algorithm>
#include <cstring>

#include "evaluator/helpers.h"
#include "evaluator/registration.h"
#include "framework/contexts.h"
#include "framework/memory.h"
#include "framework/registration.h"

ConstData const cActionTagPending(":pending=");
ConstData const cActionTagId(":id=");
ConstData const cActionTagDateTrue(":pt=");
ConstData const cActionTagDateFalse(":ct=");
ConstData const cActionTagConstrained(":constrained=");
ConstData const cActionTagConstraint(":constraint=");
ConstData const cActionTagSystemConstraint(":sysconstraint=");
ConstData const cActionTagFirstActiveCount(":fac=");
ConstData const cActionTagActiveCount(":ac=");
ConstData const cActionTagActiveLineNumber(":al=");
ConstData const cActionTagActiveStartTime(":ast=");
ConstData const cActionTagLastActiveLineNumber(":lal=");
ConstData const cActionTagLastActiveTime(":lat=");
ConstData const cActionTagLastChangeTime(":lct=");
ConstData const cActionTagWaitingForDownloads(":wfd=");
ConstData const cActionTagActive(":act=");
ConstData const cActionTagStatus(":s=");
ConstData const cActionTagPendingRestart(":pr=");
ConstData const cActionTagPendingLogin(":pl=");
ConstData const cActionTagActionId(":aid=");
ConstData const cActionTagSubActionOrdinal(":sao=");
ConstData const cActionTagEnd(":");
ConstData const cActionValueTrue("1");
ConstData const cActionValueFalse("0");
ConstData const cActionValueRunning("Running");
ConstData const cActionValueExecuted("Executed");
ConstData const cActionValueNotRelevant("Not Relevant");
ConstData const cActionValueWaiting("Waiting");
ConstData const cActionValueNotExecuted("Not Executed");
ConstData const cActionValueFailed("Failed");
ConstData const cActionTagDownloadFailed(":df=");
ConstData const cActionTagActionDependencyCanceled(":adc=");
ConstData const cActionTagActionDependencyWaitingOnUser(":adwu=");

namespace {

constexpr std::uint8_t kLastUserConstraint = 200;
constexpr std::uint8_t kFirstDownloadFailure = 213;
constexpr std::uint8_t kLastDownloadFailure = 216;
// Room for the field values; with the tags counted below it is the whole
// record's capacity.
constexpr std::size_t kValueRoom = 101;

moment MomentOf(std::int64_t microseconds) {
    if (microseconds == 0) {
        throw NoSuchObject();
    }
    return january_1_1970() + microsecond_of() * microseconds;
}

bool IsSystemConstraint(InspectorActionData const& data) {
    return data.constraintCode > kLastUserConstraint;
}

bool IsDownloadFailure(InspectorActionData const& data) {
    return data.constrained && data.constraintCode >= kFirstDownloadFailure &&
           data.constraintCode <= kLastDownloadFailure;
}

// Appends what fits into a fixed block; a record longer than its capacity
// is cut at the end of the block.
class BoundedWriter {
public:
    explicit BoundedWriter(Data room) : buffer_(room) {}

    void Append(ConstData bytes) {
        std::size_t const count = std::min(bytes.Length(), buffer_.Room());
        if (count != 0) {
            std::memcpy(buffer_.Next(), bytes.begin(), count);
            buffer_.Advance(count);
        }
    }
    void Field(ConstData tag, ConstData value) {
        Append(tag);
        Append(value);
    }
    template <class N> void Number(ConstData tag, N value) { Field(tag, Numeral(value).Data()); }
    void Flag(ConstData tag, bool value) {
        Field(tag, value ? cActionValueTrue : cActionValueFalse);
    }
    // Whole seconds, truncated toward zero; only for a time that is set.
    void Time(ConstData tag, std::int64_t microseconds) {
        if (microseconds != 0) {
            Number(tag, microseconds / 1000000);
        }
    }
    ConstData Written() const { return buffer_.Written(); }

private:
    Buffer buffer_;
};

action FetchedAction(bool (InspectorActionContext::*fetch)(InspectorActionData*) const) {
    InspectorActionContext const& context = GetInspectorContext<InspectorActionContext>();
    InspectorActionData data{};
    if (!(context.*fetch)(&data)) {
        throw NoSuchObject();
    }
    return action(data);
}

} // namespace

action::action(InspectorActionData const& source) {
    std::memcpy(&data, &source, sizeof data);
}

ConstData ActionStatus(InspectorActionData const& data) {
    if (data.active) {
        return cActionValueRunning;
    }
    if (!data.pending) {
        return data.firstActiveCount != 0 ? cActionValueExecuted : cActionValueNotRelevant;
    }
    if (!data.constrained) {
        return data.firstActiveCount != 0 ? cActionValueFailed : cActionValueNotExecuted;
    }
    return cActionValueWaiting;
}

std::size_t ActionStateRecordCapacity() {
    // The system-constraint and download-failure tags are not counted.
    ConstData const* const counted[] = {&cActionTagPending,
                                        &cActionTagId,
                                        &cActionTagDateTrue,
                                        &cActionTagDateFalse,
                                        &cActionTagConstrained,
                                        &cActionTagConstraint,
                                        &cActionTagFirstActiveCount,
                                        &cActionTagActiveCount,
                                        &cActionTagActiveLineNumber,
                                        &cActionTagActiveStartTime,
                                        &cActionTagLastActiveLineNumber,
                                        &cActionTagLastActiveTime,
                                        &cActionTagLastChangeTime,
                                        &cActionTagWaitingForDownloads,
                                        &cActionTagActive,
                                        &cActionTagPendingRestart,
                                        &cActionTagPendingLogin,
                                        &cActionTagStatus,
                                        &cActionTagEnd};
    std::size_t capacity = kValueRoom;
    for (ConstData const* tag : counted) {
        capacity += tag->Length();
    }
    return capacity;
}

ConstData WriteActionStateRecord(InspectorActionData const& data, Data room) {
    BoundedWriter out(room);
    out.Flag(cActionTagPending, data.pending);
    out.Number(cActionTagId, data.id);
    out.Time(cActionTagDateTrue, data.pendingTime);
    out.Time(cActionTagDateFalse, data.completeTime);
    if (data.pending) {
        out.Flag(cActionTagConstrained, data.constrained);
        if (data.constrained) {
            out.Number(cActionTagConstraint,
                       IsSystemConstraint(data) ? 0 : unsigned{data.constraintCode});
            if (IsSystemConstraint(data)) {
                out.Number(cActionTagSystemConstraint, data.constraintCode - kLastUserConstraint);
            }
        }
    }
    // Written whether or not the action is pending, as the agent reads it.
    if (IsDownloadFailure(data)) {
        out.Number(cActionTagDownloadFailed, data.constraintCode - kFirstDownloadFailure);
    }
    out.Number(cActionTagFirstActiveCount, data.firstActiveCount);
    out.Number(cActionTagActiveCount, data.activeCount);
    out.Number(cActionTagActiveLineNumber, data.activeLineNumber);
    out.Time(cActionTagActiveStartTime, data.activeStartTime);
    out.Number(cActionTagLastActiveLineNumber, data.lastActiveLineNumber);
    out.Time(cActionTagLastActiveTime, data.lastActiveTime);
    out.Time(cActionTagLastChangeTime, data.lastChangeTime);
    out.Flag(cActionTagWaitingForDownloads, data.waitingForDownload);
    out.Flag(cActionTagActive, data.active);
    out.Field(cActionTagStatus, ActionStatus(data));
    out.Flag(cActionTagPendingRestart, data.pendingRestart);
    out.Flag(cActionTagPendingLogin, data.pendingLogin);
    out.Append(cActionTagEnd);
    return out.Written();
}

action CurrentAction_of_world() {
    return FetchedAction(&InspectorActionContext::GetCurrentActionData);
}

action ActiveAction_of_world() {
    return FetchedAction(&InspectorActionContext::GetActiveActionData);
}

action ActionById_of_world(unsigned long long id) {
    // Ids are 32-bit: a wider index names no action, whatever the agent has.
    if (id >> 32 != 0) {
        throw NoSuchObject();
    }
    InspectorActionContext const& context = GetInspectorContext<InspectorActionContext>();
    InspectorActionData data{};
    if (!context.GetActionDataById(static_cast<unsigned long>(id), &data,
                                   CheckForInspectorInterruption)) {
        throw NoSuchObject();
    }
    return action(data);
}

integer Id_of(action const& a) {
    return a.data.id;
}

integer Constraint_of(action const& a) {
    if (!a.data.pending || !a.data.constrained) {
        throw NoSuchObject();
    }
    return IsSystemConstraint(a.data) ? 0 : a.data.constraintCode;
}

integer SystemConstraint_of(action const& a) {
    if (!a.data.pending || !a.data.constrained || !IsSystemConstraint(a.data)) {
        throw NoSuchObject();
    }
    return a.data.constraintCode - kLastUserConstraint;
}

integer TotalActiveCount_of(action const& a) {
    return a.data.firstActiveCount;
}

integer ActiveCountof(action const& a) {
    return a.data.activeCount;
}

integer ActiveLineNumber_of(action const& a) {
    return a.data.activeLineNumber;
}

integer LastActiveLineNumber_of(action const& a) {
    return a.data.lastActiveLineNumber;
}

integer OriginQuamelId_of(action const& a) {
    if (!a.data.active) {
        throw NoSuchObject();
    }
    return a.data.originQuamelId;
}

boolean Constrained_of(action const& a) {
    if (!a.data.pending) {
        throw NoSuchObject();
    }
    return a.data.constrained;
}

boolean Pending_of(action const& a) {
    return a.data.pending;
}

boolean WaitingForDownload_of(action const& a) {
    return a.data.waitingForDownload;
}

boolean Active_of(action const& a) {
    return a.data.active;
}

boolean Restart_of(action const& a) {
    return a.data.pendingRestart;
}

boolean Login_of(action const& a) {
    return a.data.pendingLogin;
}

moment DateTrue_of(action const& a) {
    return MomentOf(a.data.pendingTime);
}

moment DateFalse_of(action const& a) {
    return MomentOf(a.data.completeTime);
}

moment ActiveStartTime_of(action const& a) {
    return MomentOf(a.data.activeStartTime);
}

moment LastActiveTime_of(action const& a) {
    return MomentOf(a.data.lastActiveTime);
}

moment LastChangeTime_of(action const& a) {
    return MomentOf(a.data.lastChangeTime);
}

integer DownloadFailure_of(action const& a) {
    if (!IsDownloadFailure(a.data)) {
        throw NoSuchObject();
    }
    return a.data.constraintCode - kFirstDownloadFailure;
}

inspector_string Status_of(action const& a) {
    return AsInspectorString(ActionStatus(a.data));
}

inspector_string AsString(action const& a) {
    std::size_t const capacity = ActionStateRecordCapacity();
    void* block = Allocate_Inspector_Memory(capacity);
    return AsInspectorString(WriteActionStateRecord(a.data, Data(block, capacity)));
}

inspector_string ActionParameter(unsigned char const* name, unsigned long length, action const& a) {
    if (!a.data.parameterLookup) {
        throw NoSuchObject();
    }
    ConstData value;
    if (!a.data.parameterLookup(ConstData(name, length), &value)) {
        throw NoSuchObject();
    }
    return AsInspectorString(value);
}

namespace {

Type<action> actionType;
GlobalProperty<action> currentAction("action", "actions", CurrentAction_of_world, nullptr);
GlobalProperty<action> activeAction("active action", "active actions", ActiveAction_of_world,
                                    nullptr);
NumberedGlobalProperty<action> actionById("action", "actions", ActionById_of_world, nullptr);
Property<action, integer> idOfAction("id", "ids", Id_of, nullptr);
Property<action, integer> constraintOfAction("constraint", "constraints", Constraint_of, nullptr);
Property<action, integer> systemConstraintOfAction("system constraint", "system constraints",
                                                   SystemConstraint_of, nullptr);
Property<action, integer> firstActiveCountOfAction("first active count", "first active counts",
                                                   TotalActiveCount_of, nullptr);
Property<action, integer> activeCountOfAction("active count", "active counts", ActiveCountof,
                                              nullptr);
Property<action, integer> activeLineNumberOfAction("active line number", "active line numbers",
                                                   ActiveLineNumber_of, nullptr);
Property<action, integer> lastActiveLineNumberOfAction("last active line number",
                                                       "last active line numbers",
                                                       LastActiveLineNumber_of, nullptr);
Property<action, integer> originQuamelIdOfAction("origin quamel id", "origin quamel ids",
                                                 OriginQuamelId_of, nullptr);
Property<action, boolean> constrainedOfAction("constrained", "constraineds", Constrained_of,
                                              nullptr);
Property<action, boolean> pendingOfAction("pending", "pendings", Pending_of, nullptr);
Property<action, boolean> waitingForDownloadOfAction("waiting for download",
                                                     "waiting for downloads", WaitingForDownload_of,
                                                     nullptr);
Property<action, boolean> activeOfAction("active", "actives", Active_of, nullptr);
Property<action, boolean> pendingRestartOfAction("pending restart", "pending restarts", Restart_of,
                                                 nullptr);
Property<action, boolean> pendingLoginOfAction("pending login", "pending logins", Login_of,
                                               nullptr);
Property<action, moment> pendingTimeOfAction("pending time", "pending times", DateTrue_of, nullptr);
Property<action, moment> completeTimeOfAction("complete time", "complete times", DateFalse_of,
                                              nullptr);
Property<action, moment> activeStartTimeOfAction("active start time", "active start times",
                                                 ActiveStartTime_of, nullptr);
Property<action, moment> lastActiveTimeOfAction("last active time", "last active times",
                                                LastActiveTime_of, nullptr);
Property<action, moment> lastChangeTimeOfAction("last change time", "last change times",
                                                LastChangeTime_of, nullptr);
Property<action, integer> downloadFailureOfAction("download failure", "download failures",
                                                  DownloadFailure_of, nullptr);
Property<action, inspector_string> statusOfAction("status", "statuss", Status_of, nullptr);
Cast<action, inspector_string> actionAsString("string", AsString, nullptr);
NamedProperty<action, inspector_string> parameterOfAction("parameter", "parameters",
                                                          ActionParameter, nullptr);

} // namespace
