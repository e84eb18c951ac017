#include "inspectors/settings/settings.h"

#include "evaluator/helpers.h"
#include "framework/memory.h"
#include "framework/moments.h"
#include "framework/prop.h"

setting::setting(WrappedSettingIterator<CFPreferenceSettingIterator> position_)
    : position(position_) {
    if (position.AtEnd())
        throw NoSuchObject();
}

namespace {

InspectorSettingStore& StoreOrNoContext(InspectorSettingStore* store) {
    if (!store)
        throw NoInspectorContext();
    return *store;
}

ConstData SectionOf(SiteMapProbe const& site) {
    return site.site->name.Data();
}

// The setting of that name, deleted or not; none is no such object.
setting LookUp(InspectorSettingStore const& store, ConstData section, ConstData name) {
    return setting(store.FindItem(section, name));
}

moment DateOf(setting const& item) {
    Instant const date = item.position.Date();
    if (date == Instant::First())
        throw NoSuchObject();
    return AsMoment(date);
}

} // namespace

InspectorSettingStore& GetSettingStore() {
    return StoreOrNoContext(
        GetInspectorContext<InspectorSettingsContext>().GetInspectorSettingStore());
}

InspectorSettingStore& GetSitesStore() {
    return StoreOrNoContext(
        GetInspectorContext<InspectorSettingsContext>().GetInspectorSitesStore());
}

setting setting_of_section(InspectorSettingStore const& store, ConstData section, ConstData name) {
    setting found = LookUp(store, section, name);
    if (found.position.Deleted())
        throw NoSuchObject();
    return found;
}

setting setting_iterator::First(InspectorSettingStore const& store, ConstData section) {
    position_ = store.FindSection(section);
    return SkipDeleted();
}

setting setting_iterator::Next() {
    ++position_;
    return SkipDeleted();
}

setting setting_iterator::SkipDeleted() {
    while (!position_.AtEnd() && position_.Deleted())
        ++position_;
    return setting(position_);
}

setting setting_iterator::First(client const&) {
    return First(GetSettingStore(), ClientSettingSection());
}

setting setting_iterator::Next(client const&) {
    return Next();
}

setting setting_of_client(unsigned char const* name, unsigned long length, client const&) {
    return setting_of_section(GetSettingStore(), ClientSettingSection(), ConstData(name, length));
}

setting setting_iterator::First(SiteMapProbe const& site) {
    return First(GetSitesStore(), SectionOf(site));
}

setting setting_iterator::Next(SiteMapProbe const&) {
    return Next();
}

setting setting_of_site(unsigned char const* name, unsigned long length, SiteMapProbe const& site) {
    return setting_of_section(GetSitesStore(), SectionOf(site), ConstData(name, length));
}

inspector_string name_of(setting const& item) {
    return CopyToInspectorString(item.position.Name());
}

inspector_string value_of(setting const& item) {
    if (item.position.Deleted())
        throw NoSuchObject();
    return AsInspectorString(item.position.Value());
}

moment effective_date_of(setting const& item) {
    return DateOf(item);
}

// Only the word "enabled", in any case, turns a setting on.
boolean enabled_of(setting const& item) {
    return CompareIgnoreCase(item.position.Value(), ConstData("enabled")) == 0;
}

// A cleared subscription still reports its date: the deleted mark is not
// consulted here.
moment customEffectiveDate(inspector_string const& siteName) {
    return DateOf(LookUp(GetSettingStore(), CustomSiteSettingSection(), AsConstData(siteName)));
}

inspector_string AsString(setting const& item) {
    ConstData const pieces[] = {item.position.Name(), ConstData("="), item.position.Value()};
    return CopyToInspectorString(ConstDataRopeReference(pieces));
}

namespace {

Type<setting> setting_type;

IteratedProperty<setting_iterator, client, setting> settingsOfClient("setting", "settings",
                                                                     nullptr);
NamedProperty<client, setting> settingOfClient("setting", "settings", setting_of_client, nullptr);
IteratedProperty<setting_iterator, SiteMapProbe, setting> settingsOfSite("setting", "settings",
                                                                         nullptr);
NamedProperty<SiteMapProbe, setting> settingOfSite("setting", "settings", setting_of_site, nullptr);
Property<setting, inspector_string> settingName("name", "names", name_of, nullptr);
Property<setting, inspector_string> settingValue("value", "values", value_of, nullptr);
Property<setting, moment> settingDate("effective date", "effective dates", effective_date_of,
                                      nullptr);
Property<setting, boolean> settingEnabled("enabled", "enableds", enabled_of, nullptr);
Prop customSiteDate("custom site subscription effective date",
                    "custom site subscription effective dates", customEffectiveDate, nullptr);
Cast<setting, inspector_string> settingAsString("string", AsString, nullptr);

} // namespace
