// The simulated agent's sites, storage folders, content items, usage logs and
// selected server, as the operations of the context records.
#include <algorithm>
#include <cstring>

#include "agent/simulated_agent.h"
#include "evaluator/helpers.h"
#include "inspectors/usage/file_name.h"

using MacintoshPlatform::FileLocation;

namespace {

template <class T> T const* DataOf(AgentPart<T> const& part) {
    return part && *part ? &**part : nullptr;
}

AgentSites const* Sites() {
    return DataOf(SimulatedAgent::Current().State().sites);
}

SiteMap const* SiteMapList() {
    AgentSites const* sites = Sites();
    return sites && !sites->list.empty() ? sites->list.front().map.get() : nullptr;
}

SiteMap const* SiteMapCurrent() {
    AgentSites const* sites = Sites();
    return sites && sites->current ? sites->list[*sites->current].map.get() : nullptr;
}

std::uint32_t SiteMapInstance() {
    AgentSites const* sites = Sites();
    return sites ? sites->instance : 0;
}

template <class Matches> AgentSite const* FindSite(Matches matches) {
    AgentSites const* sites = Sites();
    if (!sites)
        return nullptr;
    auto const found = std::find_if(sites->list.begin(), sites->list.end(), matches);
    return found == sites->list.end() ? nullptr : &*found;
}

bool GroupFromId(unsigned long id, URL const& url, InspectorGroupData* data, void (*)()) {
    AgentSite const* site = FindSite([&](AgentSite const& s) { return s.map->url == url; });
    if (!site)
        return false;
    for (InspectorGroupData const& group : site->groups) {
        if (group.id == id) {
            *data = group;
            return true;
        }
    }
    return false;
}

// The display name, cut to the buffer; an empty text when there is none.
void CustomSiteName(ConstData const& name, unsigned char* buffer, unsigned long size) {
    if (size == 0)
        return;
    AgentSite const* site =
        FindSite([&](AgentSite const& s) { return s.map->name.Data() == name; });
    std::string_view const display = site ? std::string_view(site->displayName) : "";
    std::size_t const length = std::min<std::size_t>(display.size(), size - 1);
    std::memcpy(buffer, display.data(), length);
    buffer[length] = '\0';
}

FileLocation const& GlobalStorage() {
    return SimulatedAgent::Current().GlobalLocation();
}

FileLocation* SiteAdviceLocation(MakeChildLocation make, char const* siteName) {
    return make(SimulatedAgent::Current().SitesFolder(), siteName);
}

FileLocation* SiteDataLocation(MakeChildLocation make, FileLocation const& advice) {
    return make(advice, "data");
}

bool QuamelProperties(SiteMap const* map, InspectorQuamelData* data, bool relevantOnly) {
    AgentSite const* site = SimulatedAgent::Current().SiteOf(map);
    if (!site)
        return false;
    std::size_t const count = relevantOnly ? site->relevant.size() : site->content.size();
    if (data->ordinal >= count)
        return false;
    AgentContentItem const& item =
        site->content[relevantOnly ? site->relevant[data->ordinal] : data->ordinal];
    data->relevant = item.relevant;
    data->id = item.id;
    data->agentItem = &item;
    return true;
}

std::string const* HeadersOf(InspectorQuamelData const* data) {
    auto const* item = static_cast<AgentContentItem const*>(data->agentItem);
    return item && item->headers ? &*item->headers : nullptr;
}

bool QuamelHeaderSize(InspectorQuamelData* data) {
    std::string const* headers = HeadersOf(data);
    if (!headers)
        return false;
    data->headerSize = static_cast<std::uint32_t>(headers->size());
    return true;
}

bool QuamelHeaderData(InspectorQuamelData* data) {
    std::string const* headers = HeadersOf(data);
    if (!headers || headers->size() != data->headerSize)
        return false;
    std::memcpy(data->headerData, headers->data(), headers->size());
    return true;
}

// Walks a block of checked "Name: value" lines. With a wanted name (in
// `name`, any case), the next header of that name.
bool QuamelHeader(ConstData& cursor, ConstData& name, ConstData& value, ConstData& next) {
    ConstData const wanted = name;
    std::string_view rest = cursor.view();
    while (!rest.empty()) {
        auto const end = rest.find("\r\n");
        std::string_view const line = rest.substr(0, end);
        rest.remove_prefix(std::min(rest.size(), end + 2));
        auto const colon = line.find(": ");
        ConstData const found(line.substr(0, colon));
        if (wanted.empty() || CompareIgnoreCase(found, wanted) == 0) {
            name = found;
            value = ConstData(line.substr(colon + 2));
            next = ConstData(rest);
            return true;
        }
    }
    return false;
}

bool EvaluatingQuamelRelevance() {
    AgentContent const* content = DataOf(SimulatedAgent::Current().State().content);
    return content && content->evaluatingRelevance;
}

unsigned long AdviceListChangeCount() {
    AgentContent const* content = DataOf(SimulatedAgent::Current().State().content);
    return content ? content->adviceListChangeCount : 0;
}

AgentApplicationUsage const* UsageOf(FileName const& name) {
    AgentUsage const* usage = DataOf(SimulatedAgent::Current().State().usage);
    if (!usage)
        return nullptr;
    auto const found = usage->find(Utf8Of(name));
    return found == usage->end() ? nullptr : &found->second;
}

// The events in order; the stream's position is how many were read, and it
// keeps the log found for the first event.
bool NextAppEvent(FileName const& name, MeasureLoggerStream& stream) {
    if (!stream.Log())
        stream.SetLog(UsageOf(name));
    auto const* usage = static_cast<AgentApplicationUsage const*>(stream.Log());
    if (!usage || stream.Position() >= usage->events.size())
        return false;
    stream.Advance(usage->events[stream.Position()]);
    return true;
}

bool AppUsage(FileName const& name, unsigned long& runs, Instant& firstStart, Instant& lastStart,
              Instant& lastSeen, TimeInterval& duration, unsigned long& running) {
    AgentApplicationUsage const* usage = UsageOf(name);
    if (!usage || !usage->summary)
        return false;
    AgentUsageSummary const& summary = *usage->summary;
    runs = summary.totalRunCount;
    firstStart = summary.firstStart;
    lastStart = summary.lastStart;
    lastSeen = summary.lastSeen;
    duration = summary.totalDuration;
    running = summary.running;
    return true;
}

} // namespace

void SimulatedAgent::InstallContentOperations() {
    getGlobalLocation = GlobalStorage;
    getSiteAdviceLocation = SiteAdviceLocation;
    getSiteDataLocation = SiteDataLocation;
    getSiteMapList = SiteMapList;
    getSiteMapCurrent = SiteMapCurrent;
    getSiteMapInstance = SiteMapInstance;
    getGroupFromId = GroupFromId;
    getCustomSiteName = CustomSiteName;
    getQuamelProperties = QuamelProperties;
    getQuamelHeaderSize = QuamelHeaderSize;
    getQuamelHeaderData = QuamelHeaderData;
    getQuamelHeader = QuamelHeader;
    getEvaluatingQuamelRelevance = EvaluatingQuamelRelevance;
    getAdviceListChangeCount = AdviceListChangeCount;
    findAppEvent = NextAppEvent;
    getAppUsage = AppUsage;
}

FileLocation const& SimulatedAgent::GlobalLocation() const {
    if (!globalLocation_)
        throw NoSuchObject();
    return *globalLocation_;
}

AgentSite const* SimulatedAgent::SiteOf(SiteMap const* map) const {
    auto const found = sitesByMap_.find(map);
    return found == sitesByMap_.end() ? nullptr : found->second;
}

FileLocation const& SimulatedAgent::SitesFolder() const {
    if (!sitesFolder_)
        throw NoSuchObject();
    return *sitesFolder_;
}

// Without data, an entry with no name: no server is selected.
HostSelectorEntry const& SimulatedAgent::SelectedServer() const {
    static HostSelectorEntry const none;
    return state_.selectedServer && *state_.selectedServer ? **state_.selectedServer : none;
}
