// The sites the agent is subscribed to, as inspector types: every site, a
// site by the end of its locator, the current site, and each site's
// properties. The agent's site list is reached through the site context and
// its folders through the storage context; a probe is valid only during the
// evaluation that made it.
#pragma once

#include <cstdint>

#include "evaluator/values.h"
#include "files/file_values.h"
#include "framework/registration.h"
#include "inspectors/sites/site_map.h"

struct SiteMapProbe {
    static char const* TypeName() { return "site"; }
    explicit SiteMapProbe(SiteMap const* site) : site(site) {}
    SiteMap const* site;
};
static_assert(sizeof(void*) != 4 || sizeof(SiteMapProbe) == 4, "a probe is one pointer");

// Builds a child location for the storage context; the caller deletes it.
// An empty name is the parent itself.
MacintoshPlatform::FileLocation*
InspectorFileLocation(MacintoshPlatform::FileLocation const& parent, char const* name);

// The n-th site of the list, counted from 1.
SiteMapProbe SiteMapProbe_of(unsigned long long ordinal);

// Walks the list from its head at every step, so a list the agent replaced
// in between is read afresh.
class SiteMapProbe_iterator {
public:
    SiteMapProbe First();
    SiteMapProbe Next();

private:
    unsigned long long ordinal_ = 0;
};

SiteMapProbe SiteMap_of_world(inspector_string const& name);
SiteMapProbe CurrentSite_of_world();
moment GatherTime_of(Of, SiteMapProbe const& probe);
moment SubscribeTime_of(Of, SiteMapProbe const& probe);
folder ClientFolder_of(Of, SiteMapProbe const& probe);
file Masthead_of(Of, SiteMapProbe const& probe);
folder folder_of_site(Of, SiteMapProbe const& probe);
inspector_string url_of_site(Of, SiteMapProbe const& probe);
inspector_string name_of_site(Of, SiteMapProbe const& probe);
inspector_string tag_of_site(Of, SiteMapProbe const& probe);
inspector_string type_of_site(Of, SiteMapProbe const& probe);
integer version_of_site(Of, SiteMapProbe const& probe);
inspector_string schedule_auth_of_site(Of, SiteMapProbe const& probe);
time_interval schedule_interval_of_site(Of, SiteMapProbe const& probe);
