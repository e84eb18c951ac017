#include "settings/agent_settings.h"

namespace MacintoshPlatform {

CFPreferenceSettingStore& ZORSettingStore() {
    static CFPreferenceSettingStore store(kSettingsPreferenceKey, AgentPreferenceDomain,
                                          kCFPreferencesAnyUser, kCFPreferencesCurrentHost);
    return store;
}

CFPreferenceSettingStore& ZORSitesStore() {
    static CFPreferenceSettingStore store(kSitesPreferenceKey, AgentPreferenceDomain,
                                          kCFPreferencesAnyUser, kCFPreferencesCurrentHost);
    return store;
}

CFPreferenceSettingStore& ZOROptionStore() {
    static CFPreferenceSettingStore store(kOptionsPreferenceKey, AgentPreferenceDomain,
                                          kCFPreferencesAnyUser, kCFPreferencesCurrentHost);
    return store;
}

CFPreferenceSettingStore& ZORServerStore() {
    static CFPreferenceSettingStore store(kServerPreferenceKey, AgentPreferenceDomain,
                                          kCFPreferencesAnyUser, kCFPreferencesCurrentHost);
    return store;
}

void UpdateOptions() {
    MoveOptionsOnce(ZORSettingStore(), ZOROptionStore());
}

void UpdateAdministartors() {
    ZORSettingStore().RenameSection("Administrator", AdministratorsSettingSection());
}

} // namespace MacintoshPlatform

void MoveOptionsOnce(AgentSettingStore& settings, AgentSettingStore& options) {
    AgentSubsectionSettings globalOptions(options, GlobalOptionsSubsection());
    ConstCString updated(kOptionsUpdatedName);
    if (globalOptions.GetBoolWithDefault(updated, false)) {
        return;
    }
    for (char const* name : sOptionsToUpdate) {
        auto item = settings.FindItem(ClientSettingSection(), name);
        if (!item.AtEnd()) {
            options.Set(GlobalOptionsSubsection(), name, item.Value(), item.Date());
            settings.Clear(ClientSettingSection(), name, Instant::Now());
        }
    }
    globalOptions.SetBool(updated, true);
}

ConstData ClientSettingSection() {
    return "Client";
}
ConstData AdministratorsSettingSection() {
    return "Administrators";
}
ConstData CustomSiteSettingSection() {
    return "CustomSites";
}
ConstData SitesSettingSection() {
    return "Sites";
}
ConstData UserOrMachineSettingSection() {
    return "UserOrMachine";
}
ConstData GlobalOptionsSubsection() {
    return "GlobalOptions";
}
ConstData ClientRegisterSubsection() {
    return "ClientRegister";
}

AgentSubsectionSettings& ZORClientSettingStore() {
    static AgentSubsectionSettings view(MacintoshPlatform::ZORSettingStore(),
                                        ClientSettingSection());
    return view;
}

AgentSubsectionSettings& ZORAdministratorsSettingStore() {
    static AgentSubsectionSettings view(MacintoshPlatform::ZORSettingStore(),
                                        AdministratorsSettingSection());
    return view;
}

AgentSubsectionSettings& ZORCustomSiteSettingStore() {
    static AgentSubsectionSettings view(MacintoshPlatform::ZORSettingStore(),
                                        CustomSiteSettingSection());
    return view;
}

AgentSubsectionSettings& ZORSitesSettingStore() {
    static AgentSubsectionSettings view(MacintoshPlatform::ZORSettingStore(),
                                        SitesSettingSection());
    return view;
}

AgentSubsectionSettings& ZORUserOrMachineSettingStore() {
    static AgentSubsectionSettings view(MacintoshPlatform::ZORSettingStore(),
                                        UserOrMachineSettingSection());
    return view;
}

AgentSubsectionSettings& ZORGlobalOptionStore() {
    static AgentSubsectionSettings view(MacintoshPlatform::ZOROptionStore(),
                                        GlobalOptionsSubsection());
    return view;
}

AgentSubsectionSettings& ZORServerClientRegister() {
    static AgentSubsectionSettings view(MacintoshPlatform::ZORServerStore(),
                                        ClientRegisterSubsection());
    return view;
}
