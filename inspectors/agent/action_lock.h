// The action lock: whether an administrator has stopped the agent from
// running actions, until when, since when and under whose control.
#pragma once

#include <cstdint>

#include "evaluator/values.h"
#include "framework/registration.h"

// What the agent reports about itself through its system context.
struct InspectorSystemData {
    // Who controls the action lock: 0 client, 1 console, 2 nobody (no lock).
    std::uint32_t actionLockController;
    // The time a dated lock is compared with, in microseconds since
    // 1970-01-01 UTC; 0 means the system clock.
    std::int64_t referenceTime;
};

inline constexpr std::uint32_t kActionLockClient = 0;
inline constexpr std::uint32_t kActionLockConsole = 1;
inline constexpr std::uint32_t kActionLockNobody = 2;

// The lock's vocabulary, shared with the agent's lock commands. The setting's
// own name and the controller's value name live with the setting stores.
inline constexpr char const* cActionLockIndefiniteValue = "true";
inline constexpr char const* cActionLockUnlockedValue = "false";
inline constexpr char const* cActionLockExpireValueName = "ActionLockExpire";
inline constexpr char const* cActionLockEffectiveValueName = "ActionLockEffective";
inline constexpr char const* cActionLockOptionKeyName =
    "Software\\Tarnel\\EnterpriseClient\\GlobalOptions";
inline constexpr char const* cActionLockOnString = "on";
inline constexpr char const* cActionLockOffString = "off";
inline constexpr char const* cActionLockIndefiniteString = "indefinite";
inline constexpr char const* cActionLockConsoleString = "console";
inline constexpr char const* cActionLockClientString = "client";
inline constexpr char const* cActionLockNobodyString = "nobody";

struct action_lock_state {
    static char const* TypeName() { return "action lock state"; }
    explicit action_lock_state(InspectorSystemData& data);
    std::uint32_t controller;
};
static_assert(sizeof(action_lock_state) == 4);

// The lock setting as one number: 0 locked with no end, 1 unlocked, else the
// end of the lock in microseconds since 1970. NoSuchObject when unset.
std::int64_t GetActionLockExpireDate();

action_lock_state ActionLockState_of_world();
boolean Locked_of(action_lock_state const& state);
moment Expire_of(action_lock_state const& state);
moment Effective_of(action_lock_state const& state);
inspector_string Controller_of(action_lock_state const& state);
inspector_string LockString_of(action_lock_state const& state);
inspector_string AsString(action_lock_state const& state);
