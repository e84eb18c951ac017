// The agent's four setting stores in its preference domain, the section
// views over them, and the one-time migrations run at start.
#pragma once

#include <array>

#include "settings/setting_store.h"
#include "settings/subsection_store.h"

// The agent's preference application identifier; its file is
// "<preferences folder>/com.zor.agent.plist".
inline constexpr char const* AgentPreferenceDomain = "com.zor.agent";

// The preference keys of the four stores.
inline constexpr char const* kSettingsPreferenceKey = "Settings";
inline constexpr char const* kSitesPreferenceKey = "Sites";
inline constexpr char const* kOptionsPreferenceKey = "Options";
inline constexpr char const* kServerPreferenceKey = "EnterpriseServer";

// The action-lock setting names, shared with the action-lock inspectors.
inline constexpr char const* cActionLockSettingName = "__LockState";
inline constexpr char const* cActionLockControllerValueName = "ActionLockController";

// The flag that records that the options left the client section.
inline constexpr char const* kOptionsUpdatedName = "5.1_Options_Updated";

// The options that moved from the client section to the option store, in order.
inline constexpr std::array<char const*, 22> sOptionsToUpdate = {
    "HostSelector",
    "GatherUrl",
    "StoragePath",
    "LibPath",
    "EMsgFile",
    "LastRelaySelectTime",
    "LastKnownClockShift",
    "ListenPort",
    "GatherManualOnly",
    "GatherOnlyDuringUserPeriod",
    "GatherUserPeriodStart",
    "GatherUserPeriodEnd",
    "ComputerId",
    "RegCount",
    "ReportSequenceNumber",
    "LastRegistrationServerVersion",
    "PostponedActionRemindIntervalSeconds",
    "LastActiveActionId",
    cActionLockControllerValueName,
    cActionLockSettingName,
    "BootTime",
    "ActionPostponedBootTime",
};

using AgentSettingStore = SettingStore<CFPreferenceSettingIterator>;
using AgentSubsectionSettings = ZORSubsectionSettings<AgentSettingStore>;

namespace MacintoshPlatform {

// Each store is read on first use and written back when flushed and at exit.
CFPreferenceSettingStore& ZORSettingStore();
CFPreferenceSettingStore& ZORSitesStore();
CFPreferenceSettingStore& ZOROptionStore();
CFPreferenceSettingStore& ZORServerStore();

// Moves the options of sOptionsToUpdate from the setting store's "Client"
// section to the option store's "GlobalOptions" section, once. Flushes nothing.
void UpdateOptions();
// Copies the old "Administrator" section into "Administrators".
void UpdateAdministartors();

} // namespace MacintoshPlatform

// The migration of UpdateOptions on any pair of stores: unless the option
// store's "GlobalOptions" says it was done, each listed option found in the
// settings' "Client" section is set in "GlobalOptions" with its value and
// date and cleared from "Client" (dated now); then the flag is set.
void MoveOptionsOnce(AgentSettingStore& settings, AgentSettingStore& options);

ConstData ClientSettingSection();
ConstData AdministratorsSettingSection();
ConstData CustomSiteSettingSection();
ConstData SitesSettingSection();
ConstData UserOrMachineSettingSection();
ConstData GlobalOptionsSubsection();
ConstData ClientRegisterSubsection();

AgentSubsectionSettings& ZORClientSettingStore();
AgentSubsectionSettings& ZORAdministratorsSettingStore();
AgentSubsectionSettings& ZORCustomSiteSettingStore();
AgentSubsectionSettings& ZORSitesSettingStore();
AgentSubsectionSettings& ZORUserOrMachineSettingStore();
AgentSubsectionSettings& ZORGlobalOptionStore();
AgentSubsectionSettings& ZORServerClientRegister();
