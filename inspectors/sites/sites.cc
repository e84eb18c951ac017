#include "inspectors/sites/sites.h"

#include <memory>

#include "evaluator/helpers.h"
#include "framework/contexts.h"
#include "framework/fingerprints.h"
#include "framework/memory.h"
#include "framework/prop.h"
#include "url/file_url.h"

using MacintoshPlatform::FileItem;
using MacintoshPlatform::FileLocation;

namespace {

// The agent's own name of the site's masthead file in the site's data folder.
constexpr char cRESERVED_SITE_MASTHEAD[] = "masthead";
constexpr unsigned long cCustomSiteNameSize = 1024;

InspectorSiteContext const& SiteContext() {
    return GetInspectorContext<InspectorSiteContext>();
}

InspectorStorageContext const& StorageContext() {
    return GetInspectorContext<InspectorStorageContext>();
}

SiteMap const& SiteOf(SiteMapProbe const& probe) {
    return *probe.site;
}

// Whole seconds, truncated toward zero, so an unset instant reads 1970.
moment WholeSecondsOf(Instant when) {
    integer const seconds = (when - Instant::Jan_1_1970_GMT()).Microseconds() / 1000000;
    return january_1_1970() + second_of() * seconds;
}

// Takes ownership of a location the storage context made.
std::unique_ptr<FileLocation> Owned(FileLocation* location) {
    if (!location)
        throw NoSuchObject();
    return std::unique_ptr<FileLocation>(location);
}

std::unique_ptr<FileLocation> SiteAdviceLocation(SiteMap const& site) {
    return Owned(
        StorageContext().GetSiteAdviceLocation(InspectorFileLocation, site.name.str().c_str()));
}

} // namespace

FileLocation* InspectorFileLocation(FileLocation const& parent, char const* name) {
    if (*name == '\0')
        return new FileLocation(parent);
    return new FileLocation(parent.Child(name));
}

SiteMapProbe SiteMapProbe_of(unsigned long long ordinal) {
    if (ordinal == 0)
        throw NoSuchObject();
    SiteMap const* site = SiteContext().GetSiteMapList();
    for (unsigned long long n = 1; site && n < ordinal; ++n)
        site = site->next;
    if (!site)
        throw NoSuchObject();
    return SiteMapProbe(site);
}

SiteMapProbe SiteMapProbe_iterator::First() {
    ordinal_ = 1;
    return SiteMapProbe_of(ordinal_);
}

SiteMapProbe SiteMapProbe_iterator::Next() {
    return SiteMapProbe_of(++ordinal_);
}

// The name matches the end of a site's decoded locator, ignoring case; the
// first such site wins, so an empty name is the first site.
SiteMapProbe SiteMap_of_world(inspector_string const& name) {
    std::size_t const length = name.length;
    for (SiteMap const* site = SiteContext().GetSiteMapList(); site; site = site->next) {
        std::string const& locator = site->SiteLocatorDecoded().str();
        if (locator.size() >= length &&
            CompareIgnoreCaseN(locator.data() + locator.size() - length, name.pointer, length) == 0)
            return SiteMapProbe(site);
    }
    throw NoSuchObject();
}

SiteMapProbe CurrentSite_of_world() {
    SiteMap const* site = SiteContext().GetSiteMapCurrent();
    if (!site)
        throw NoSuchObject();
    return SiteMapProbe(site);
}

moment GatherTime_of(Of, SiteMapProbe const& probe) {
    return WholeSecondsOf(SiteOf(probe).lastGatherTime);
}

moment SubscribeTime_of(Of, SiteMapProbe const& probe) {
    return WholeSecondsOf(SiteOf(probe).subscribeTime);
}

folder ClientFolder_of(Of, SiteMapProbe const& probe) {
    return folder(FileItem(*SiteAdviceLocation(SiteOf(probe))));
}

file Masthead_of(Of, SiteMapProbe const& probe) {
    auto const advice = SiteAdviceLocation(SiteOf(probe));
    auto const data = Owned(StorageContext().GetSiteDataLocation(InspectorFileLocation, *advice));
    return file(FileItem(data->Child(cRESERVED_SITE_MASTHEAD)));
}

// A locator that names no local file has no folder.
folder folder_of_site(Of, SiteMapProbe const& probe) {
    try {
        return folder(FileItem(FileLocation(ResolveFileURL(SiteOf(probe).url))));
    } catch (NotALocalFileURL const&) {
        throw NoSuchObject();
    }
}

inspector_string url_of_site(Of, SiteMapProbe const& probe) {
    return AsInspectorString(ConstData(SiteOf(probe).url.Text()));
}

// A custom site's display name comes from the agent; any other site, or a
// custom site without a display name, answers its name.
inspector_string name_of_site(Of, SiteMapProbe const& probe) {
    SiteMap const& site = SiteOf(probe);
    auto const* context = GetInspectorContextPointer<InspectorSiteContext>();
    if (site.type.IsCustom() && context) {
        unsigned char buffer[cCustomSiteNameSize] = {};
        context->GetCustomSiteName(site.name.Data(), buffer, sizeof buffer);
        std::string_view const display(reinterpret_cast<char const*>(buffer));
        if (!display.empty())
            return CopyToInspectorString(ConstData(display));
    }
    return AsInspectorString(site.name.Data());
}

inspector_string tag_of_site(Of, SiteMapProbe const& probe) {
    std::string const& url = SiteOf(probe).url.Text();
    auto const slash = url.rfind('/');
    if (slash == std::string::npos)
        throw NoSuchObject();
    return CopyToInspectorString(ConstData(std::string_view(url).substr(slash + 1)));
}

inspector_string type_of_site(Of, SiteMapProbe const& probe) {
    SiteType const& type = SiteOf(probe).type;
    char const* word = "Quamel Site";
    if (type.IsMasterAction() && !type.IsOperator())
        word = "Master Action Site";
    else if (type.IsOperator())
        word = "Operator Site";
    else if (type.IsCustom())
        word = "Custom Site";
    return AsInspectorString(ConstData(word));
}

integer version_of_site(Of, SiteMapProbe const& probe) {
    return SiteOf(probe).version;
}

inspector_string schedule_auth_of_site(Of, SiteMapProbe const& probe) {
    static constexpr char const* authorities[] = {"Publisher", "Custom", "Manual", "Disable"};
    auto const schedule = SiteOf(probe).gatherSchedule;
    if (schedule > cDisabledSchedule)
        throw NoSuchObject();
    return AsInspectorString(ConstData(authorities[schedule]));
}

time_interval schedule_interval_of_site(Of, SiteMapProbe const& probe) {
    SiteMap const& site = SiteOf(probe);
    if (site.gatherSchedule == cPublisherSchedule)
        return second_of() * static_cast<integer>(site.publisherGatherInterval);
    if (site.gatherSchedule == cCustomSchedule)
        return second_of() * static_cast<integer>(site.customGatherInterval);
    throw NoSuchObject();
}

namespace {

Type<SiteMapProbe> site_type;

Prop siteByName("site", "sites", SiteMap_of_world, DependsOnSiteList);
Prop everySite("site", "sites", &SiteMapProbe_iterator::First, &SiteMapProbe_iterator::Next,
               DependsOnSiteList);
Prop currentSite("current site", "current sites", CurrentSite_of_world, nullptr);
Prop gatherTime("last gather time", "last gather times", GatherTime_of, nullptr);
Prop subscribeTime("subscribe time", "subscribe times", SubscribeTime_of, DependsOnlyOnParameters);
Prop clientFolder("client folder", "client folders", ClientFolder_of, nullptr);
Prop masthead("masthead", "mastheads", Masthead_of, nullptr);
Prop siteFolder("folder", "folders", folder_of_site, DependsOnlyOnParameters);
Prop siteUrl("url", "urls", url_of_site, DependsOnlyOnParameters);
Prop siteName("name", "names", name_of_site, DependsOnlyOnParameters);
Prop siteTag("site tag", "site tags", tag_of_site, DependsOnlyOnParameters);
Prop siteType("type", "types", type_of_site, DependsOnlyOnParameters);
Prop siteVersion("version", "versions", version_of_site, DependsOnlyOnParameters);
Prop scheduleAuthority("gather schedule authority", "gather schedule authoritys",
                       schedule_auth_of_site, DependsOnlyOnParameters);
Prop scheduleInterval("gather schedule time interval", "gather schedule time intervals",
                      schedule_interval_of_site, DependsOnlyOnParameters);

} // namespace
