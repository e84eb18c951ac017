#include "inspectors/agent/action_lock.h"

#include <ctime>

#include "evaluator/helpers.h"
#include "framework/contexts.h"
#include "framework/memory.h"
#include "inspectors/settings/settings.h"
#include "settings/agent_settings.h"

namespace {

constexpr std::int64_t kLockedIndefinitely = 0;
constexpr std::int64_t kUnlocked = 1;

bool IsDated(std::int64_t lock) {
    return lock != kLockedIndefinitely && lock != kUnlocked;
}

// The lock setting; its absence, or a cleared one, is no such object.
WrappedSettingIterator<CFPreferenceSettingIterator> LockSetting() {
    auto item = GetSettingStore().FindItem(ClientSettingSection(), cActionLockSettingName);
    if (item.AtEnd() || item.Deleted()) {
        throw NoSuchObject();
    }
    return item;
}

// Whether a dated lock still holds: later than the agent's reference time,
// or, when the agent gives none, than the system clock in whole seconds.
bool InForce(std::int64_t lock) {
    InspectorSystemData data{};
    if (GetInspectorContext<InspectorSystemContext>().GetSystemData(&data) &&
        data.referenceTime != 0) {
        return lock > data.referenceTime;
    }
    return lock / 1000000 > std::time(nullptr);
}

void RequireLockController(action_lock_state const& state) {
    if (state.controller == kActionLockNobody) {
        throw NoSuchObject();
    }
}

inspector_string Text(char const* text) {
    return AsInspectorString(ConstData(text));
}

} // namespace

action_lock_state::action_lock_state(InspectorSystemData& data)
    : controller(data.actionLockController) {}

std::int64_t GetActionLockExpireDate() {
    ConstData const value = LockSetting().Value();
    if (CompareIgnoreCase(value, cActionLockIndefiniteValue) == 0) {
        return kLockedIndefinitely;
    }
    if (CompareIgnoreCase(value, cActionLockUnlockedValue) == 0) {
        return kUnlocked;
    }
    return TextToTime(value).microseconds;
}

action_lock_state ActionLockState_of_world() {
    InspectorSystemData data{};
    if (!GetInspectorContext<InspectorSystemContext>().GetSystemData(&data)) {
        throw NoSuchObject();
    }
    return action_lock_state(data);
}

boolean Locked_of(action_lock_state const&) {
    // Whoever controls the lock, the setting decides; a lock that cannot be
    // read does not hold.
    try {
        std::int64_t const lock = GetActionLockExpireDate();
        return lock == kLockedIndefinitely || (lock != kUnlocked && InForce(lock));
    } catch (DebuggableException const&) {
        return false;
    }
}

moment Expire_of(action_lock_state const& state) {
    RequireLockController(state);
    std::int64_t const lock = GetActionLockExpireDate();
    if (!IsDated(lock)) {
        throw NoSuchObject();
    }
    return january_1_1970() + microsecond_of() * lock;
}

moment Effective_of(action_lock_state const& state) {
    RequireLockController(state);
    Instant const date = LockSetting().Date();
    if (date == Instant::First()) {
        throw NoSuchObject();
    }
    return january_1_1970() + microsecond_of() * (date - Instant::Jan_1_1970_GMT()).Microseconds();
}

inspector_string Controller_of(action_lock_state const& state) {
    switch (state.controller) {
    case kActionLockClient:
        return Text(cActionLockClientString);
    case kActionLockConsole:
        return Text(cActionLockConsoleString);
    default:
        return Text(cActionLockNobodyString);
    }
}

inspector_string LockString_of(action_lock_state const& state) {
    return Text(Locked_of(state) ? "Yes" : "");
}

inspector_string AsString(action_lock_state const& state) {
    RequireLockController(state);
    std::int64_t const lock = GetActionLockExpireDate();
    if (!IsDated(lock) || !InForce(lock)) {
        return Text("");
    }
    std::string const text = TimeText(january_1_1970() + microsecond_of() * lock);
    return CopyToInspectorString(ConstData(text));
}

namespace {

Type<action_lock_state> actionLockStateType;
GlobalProperty<action_lock_state> actionLockStateOfWorld("action lock state", "action lock states",
                                                         ActionLockState_of_world, nullptr);
Property<action_lock_state, boolean> lockedOfLock("locked", "lockeds", Locked_of, nullptr);
Property<action_lock_state, moment> expirationDateOfLock("expiration date", "expiration dates",
                                                         Expire_of, nullptr);
Property<action_lock_state, moment> effectiveDateOfLock("effective date", "effective dates",
                                                        Effective_of, nullptr);
Property<action_lock_state, inspector_string> controllerOfLock("controller", "controllers",
                                                               Controller_of, nullptr);
Property<action_lock_state, inspector_string> lockStringOfLock("lock string", "lock strings",
                                                               LockString_of, nullptr);
Cast<action_lock_state, inspector_string> lockAsString("string", AsString, nullptr);

} // namespace
