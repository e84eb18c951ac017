// The settings context this library offers the agent: the agent's own
// preference-backed setting store.
#pragma once

#include "framework/contexts.h"

class ZORSettingsContext {
public:
    virtual InspectorSettingStore& Settings() const;
    virtual ~ZORSettingsContext() = default;
};
