// The agent's settings as inspector types: the client's settings and each
// site's settings, by name and iterated, with their name, value, effective
// date and enabled flag. The stores come from the agent's settings context.
#pragma once

#include "evaluator/values.h"
#include "framework/contexts.h"
#include "framework/registration.h"
#include "inspectors/agent/client.h"
#include "inspectors/sites/sites.h"
#include "settings/agent_settings.h"
#include "settings/setting_store.h"

// A position in one section of a store, with the section's end.
struct setting {
    static char const* TypeName() { return "setting"; }
    // Throws NoSuchObject at the end of the section.
    explicit setting(WrappedSettingIterator<CFPreferenceSettingIterator> position);
    WrappedSettingIterator<CFPreferenceSettingIterator> position;
};

// Every live setting of one section, in the store's order.
class setting_iterator {
public:
    setting First(client const& agent);
    setting Next(client const& agent);
    setting First(SiteMapProbe const& site);
    setting Next(SiteMapProbe const& site);

protected:
    setting First(InspectorSettingStore const& store, ConstData section);
    setting Next();

private:
    setting SkipDeleted();

    WrappedSettingIterator<CFPreferenceSettingIterator> position_;
};

setting setting_of_client(unsigned char const* name, unsigned long length, client const& agent);
setting setting_of_site(unsigned char const* name, unsigned long length, SiteMapProbe const& site);
inspector_string name_of(setting const& item);
inspector_string value_of(setting const& item);
moment effective_date_of(setting const& item);
boolean enabled_of(setting const& item);
moment customEffectiveDate(inspector_string const& siteName);
inspector_string AsString(setting const& item);

InspectorSettingStore& GetSettingStore();
InspectorSettingStore& GetSitesStore();
// The live setting of that name, else NoSuchObject.
setting setting_of_section(InspectorSettingStore const& store, ConstData section, ConstData name);
