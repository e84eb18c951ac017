#include "framework/settings_context.h"

#include "settings/agent_settings.h"

InspectorSettingStore& ZORSettingsContext::Settings() const {
    return MacintoshPlatform::ZORSettingStore();
}
