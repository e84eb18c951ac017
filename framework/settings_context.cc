#include "framework/settings_context.h"

#include "settings/agent_settings.h"

InspectorSettingStore& ZORSettingsContext::Settings() const {
    return MacintoshPlatform::ZORSettingStore();
}

InspectorSettingStore& GetSettingStore() {
    return *GetInspectorContext<InspectorSettingsContext>().GetInspectorSettingStore();
}

InspectorSettingStore& GetSitesStore() {
    return *GetInspectorContext<InspectorSettingsContext>().GetInspectorSitesStore();
}
