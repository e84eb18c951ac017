#include "agent/site_parts.h"

#include <utility>

#include "text/header_maker.h"
#include "text/read_file.h"
#include "url/url.h"

namespace agent_json {
namespace {

// The agent's times count from 1970; 0, "none", is 1970 itself.
Instant InstantOf(std::int64_t unixMicroseconds) {
    return Instant::FromUnixMicroseconds(unixMicroseconds);
}

// A word from `words`, or the number of its place in them.
std::uint32_t WordOrNumber(Json const& value, KeyPath const& path,
                           std::initializer_list<std::string_view> words, bool ignoreCase) {
    if (!value.is_string())
        return static_cast<std::uint32_t>(
            SignedInteger(value, path, 0, static_cast<std::int64_t>(words.size()) - 1));
    std::string const& text = value.get_ref<std::string const&>();
    std::uint32_t place = 0;
    for (std::string_view word : words) {
        bool const same =
            ignoreCase ? CompareIgnoreCase(ConstData(word), ConstData(text)) == 0 : word == text;
        if (same)
            return place;
        ++place;
    }
    std::string list;
    for (std::string_view word : words)
        list += (list.empty() ? "\"" : ", \"") + std::string(word) + "\"";
    Fail(path, "not one of " + list + " or their number");
}

// The block the agent hands over for an item's headers, checked by reading it
// back with the header framing: every pair must come back as it was given.
std::string HeaderBlock(Json const& value, KeyPath const& path) {
    auto const pairs = List(value, path, [](Json const& pair, KeyPath const& at) {
        if (!pair.is_array() || pair.size() != 2)
            Fail(at, "not a [name, value] pair");
        return std::pair<std::string, std::string>(Text(pair[0], at.Index(0)),
                                                   Text(pair[1], at.Index(1)));
    });
    std::string block;
    for (auto const& [name, text] : pairs)
        block += name + ": " + text + "\r\n";
    std::vector<std::pair<std::string, std::string>> read;
    try {
        HeaderMaker reader([&read](std::string_view name, std::string_view text) {
            read.emplace_back(name, text);
        });
        reader.Start();
        reader.Receive(ConstData(block));
        reader.ReceiveEnd();
    } catch (HeaderFormatError const& error) {
        Fail(path.Index(error.LineNumber() - 1), error.GetErrorMessage());
    }
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        if (i >= read.size() || read[i] != pairs[i])
            Fail(path.Index(i), "not a header the agent could read back unchanged");
    }
    return block;
}

AgentContentItem ReadContentItem(Json const& value, KeyPath const& path) {
    auto const& members = Object(value, path, {"id", "relevant", "headers"});
    AgentContentItem item;
    if (Json const* id = Member(members, "id"))
        item.id = Unsigned<std::uint32_t>(*id, path.Key("id"));
    if (Json const* relevant = Member(members, "relevant"))
        item.relevant = Boolean(*relevant, path.Key("relevant"));
    if (Json const* headers = Member(members, "headers")) {
        if (headers->is_null())
            item.headers.reset();
        else
            item.headers = HeaderBlock(*headers, path.Key("headers"));
    }
    return item;
}

InspectorGroupData ReadGroup(Json const& value, KeyPath const& path) {
    auto const& members = Object(value, path, {"id", "member"});
    InspectorGroupData group;
    if (Json const* id = Member(members, "id"))
        group.id = Unsigned<std::uint32_t>(*id, path.Key("id"));
    if (Json const* member = Member(members, "member"))
        group.member = Boolean(*member, path.Key("member"));
    return group;
}

URL SiteUrl(Json const& value, KeyPath const& path) {
    try {
        return URL::Parse(Text(value, path));
    } catch (MalformedURL const& error) {
        Fail(path, error.GetErrorMessage());
    }
}

std::uint32_t IntervalField(Json const& value, KeyPath const& path) {
    std::int64_t const seconds = IntervalSeconds(value, path);
    if (seconds < 0 || seconds > std::numeric_limits<std::uint32_t>::max())
        Fail(path, "not an interval from 0 to 4294967295 seconds");
    return static_cast<std::uint32_t>(seconds);
}

AgentSite ReadSite(Json const& value, KeyPath const& path) {
    auto const& m = Object(value, path,
                           {"name", "url", "type", "number", "subscribe_time", "gather_time",
                            "gather_schedule", "version", "publisher_interval", "custom_interval",
                            "display_name", "groups", "content"});
    auto const field = [&](char const* key) { return Member(m, key); };
    Json const* url = field("url");
    if (!url)
        Fail(path.Key("url"), "missing: every site has a url");
    AgentSite site;
    site.map = std::make_unique<SiteMap>(
        MacintoshPlatform::FileLocation("/"),
        Stringy(field("name") ? Text(*field("name"), path.Key("name")) : std::string()),
        SiteUrl(*url, path.Key("url")),
        SiteType(field("type") ? Text(*field("type"), path.Key("type")).c_str() : cSiteIsQuamel),
        field("number") ? Unsigned<std::uint32_t>(*field("number"), path.Key("number")) : 0,
        InstantOf(field("subscribe_time")
                      ? Time(*field("subscribe_time"), path.Key("subscribe_time"))
                      : 0),
        InstantOf(field("gather_time") ? Time(*field("gather_time"), path.Key("gather_time")) : 0),
        static_cast<ScheduleOption>(
            field("gather_schedule")
                ? WordOrNumber(*field("gather_schedule"), path.Key("gather_schedule"),
                               {"publisher", "custom", "manual", "disable"}, false)
                : 0),
        field("version") ? Unsigned<std::uint32_t>(*field("version"), path.Key("version")) : 0,
        field("publisher_interval")
            ? IntervalField(*field("publisher_interval"), path.Key("publisher_interval"))
            : 0,
        field("custom_interval")
            ? IntervalField(*field("custom_interval"), path.Key("custom_interval"))
            : 0);
    if (Json const* display = field("display_name"))
        site.displayName = Text(*display, path.Key("display_name"));
    if (Json const* groups = field("groups"))
        site.groups = List(*groups, path.Key("groups"), ReadGroup);
    if (Json const* content = field("content"))
        site.content = List(*content, path.Key("content"), ReadContentItem);
    for (std::size_t i = 0; i < site.content.size(); ++i) {
        if (site.content[i].relevant)
            site.relevant.push_back(i);
    }
    return site;
}

// FNV-1a: any edit of the file gives another list instance.
std::uint32_t InstanceOf(std::string_view text) {
    std::uint32_t hash = 2166136261u;
    for (unsigned char c : text)
        hash = (hash ^ c) * 16777619u;
    return hash;
}

AgentUsageSummary ReadSummary(Json const& value, KeyPath const& path) {
    auto const& m = Object(
        value, path,
        {"total_run_count", "first_start", "last_start", "last_seen", "total_duration", "running"});
    AgentUsageSummary summary;
    if (Json const* runs = Member(m, "total_run_count"))
        summary.totalRunCount = Unsigned<std::uint32_t>(*runs, path.Key("total_run_count"));
    for (auto [key, slot] :
         {std::pair{"first_start", &summary.firstStart},
          std::pair{"last_start", &summary.lastStart}, std::pair{"last_seen", &summary.lastSeen}}) {
        if (Json const* time = Member(m, key))
            *slot = InstantOf(Time(*time, path.Key(key)));
    }
    if (Json const* duration = Member(m, "total_duration"))
        summary.totalDuration =
            TimeInterval::Seconds(IntervalSeconds(*duration, path.Key("total_duration")));
    if (Json const* running = Member(m, "running"))
        summary.running = Unsigned<std::uint32_t>(*running, path.Key("running"));
    return summary;
}

ExecutionEvent ReadEvent(Json const& value, KeyPath const& path) {
    auto const& m = Object(value, path, {"type", "time", "path", "modification_time", "version"});
    ExecutionEvent event;
    Json const* type = Member(m, "type");
    if (!type)
        Fail(path.Key("type"), "missing: every event has a type");
    event.type = WordOrNumber(
        *type, path.Key("type"),
        {"start sampling", "application start", "application end", "end sampling"}, true);
    if (Json const* time = Member(m, "time"))
        event.time = InstantOf(Time(*time, path.Key("time")));
    if (Json const* file = Member(m, "path"))
        event.location = MacintoshPlatform::FileLocation(FolderPath(*file, path.Key("path"), "/"));
    if (Json const* time = Member(m, "modification_time"))
        event.modificationTime = InstantOf(Time(*time, path.Key("modification_time")));
    if (Json const* version = Member(m, "version"))
        event.version = Text(*version, path.Key("version"));
    return event;
}

IPAddress Address(Json const& value, KeyPath const& path) {
    std::string const& text = Text(value, path);
    try {
        return TextToIpv4Address(ConstData(text)).value;
    } catch (MalformedText const&) {
        Fail(path, "not an IPv4 address: \"" + text + "\"");
    }
}

// A record holds one host name; no real one comes near this.
constexpr std::size_t cMaxRecordBytes = 64 * 1024;

HostSelectorEntry ReadRecordFile(Json const& value, KeyPath const& path,
                                 std::string const& baseFolder) {
    std::string const file = FolderPath(value, path, baseFolder);
    BoundedText bytes(cMaxRecordBytes);
    try {
        ReadFile(file, bytes);
    } catch (ExceptionPL const& error) {
        Fail(path, error.GetErrorMessage());
    } catch (AgentStateError const& error) {
        Fail(path, file + ": " + error.what());
    }
    ConstBuffer record{ConstData(bytes.Text())};
    HostSelectorEntry entry;
    try {
        record >> entry;
    } catch (RecordTruncated const& error) {
        Fail(path, file + ": " + error.GetErrorMessage());
    }
    if (!record.empty())
        Fail(path, file + ": " + std::to_string(record.Length()) + " bytes after the record");
    return entry;
}

} // namespace

AgentSites ReadSites(Json const& value, KeyPath const& path, std::string_view fileText) {
    auto const& members = Object(value, path, {"current", "instance", "list"});
    AgentSites sites;
    sites.instance = InstanceOf(fileText);
    if (Json const* instance = Member(members, "instance"))
        sites.instance = Unsigned<std::uint32_t>(*instance, path.Key("instance"));
    if (Json const* list = Member(members, "list"))
        sites.list = List(*list, path.Key("list"), ReadSite);
    for (std::size_t i = 0; i + 1 < sites.list.size(); ++i)
        sites.list[i].map->next = sites.list[i + 1].map.get();
    if (Json const* current = Member(members, "current"); current && !current->is_null()) {
        std::string const& name = Text(*current, path.Key("current"));
        for (std::size_t i = 0; i < sites.list.size() && !sites.current; ++i) {
            if (sites.list[i].map->name.str() == name)
                sites.current = i;
        }
        if (!sites.current)
            Fail(path.Key("current"), "no site in the list is named \"" + name + "\"");
    }
    return sites;
}

AgentContent ReadContent(Json const& value, KeyPath const& path) {
    auto const& members = Object(value, path, {"evaluating_relevance", "advice_list_change_count"});
    AgentContent content;
    if (Json const* evaluating = Member(members, "evaluating_relevance"))
        content.evaluatingRelevance = Boolean(*evaluating, path.Key("evaluating_relevance"));
    if (Json const* count = Member(members, "advice_list_change_count"))
        content.adviceListChangeCount =
            Unsigned<std::uint32_t>(*count, path.Key("advice_list_change_count"));
    return content;
}

AgentUsage ReadUsage(Json const& value, KeyPath const& path) {
    if (!value.is_object())
        Fail(path, "not an object");
    AgentUsage usage;
    for (auto const& [name, application] : value.get_ref<Json::object_t const&>()) {
        KeyPath const at = path.Key(name);
        auto const& members = Object(application, at, {"summary", "events"});
        AgentApplicationUsage& entry = usage[name];
        if (Json const* summary = Member(members, "summary"))
            entry.summary = ReadSummary(*summary, at.Key("summary"));
        if (Json const* events = Member(members, "events"))
            entry.events = List(*events, at.Key("events"), ReadEvent);
    }
    return usage;
}

HostSelectorEntry ReadSelectedServer(Json const& value, KeyPath const& path,
                                     std::string const& baseFolder) {
    auto const& m = Object(value, path,
                           {"record", "name", "time", "address", "port", "priority", "weight",
                            "distance", "competition_size", "competition_weight", "gateways"});
    if (Json const* record = Member(m, "record")) {
        if (m.size() > 1)
            Fail(path.Key("record"), "a record file stands alone, without other fields");
        return ReadRecordFile(*record, path.Key("record"), baseFolder);
    }
    HostSelectorEntry entry;
    if (Json const* name = Member(m, "name"))
        entry.name = Text(*name, path.Key("name"));
    if (Json const* time = Member(m, "time"))
        entry.time = InstantOf(Time(*time, path.Key("time")));
    if (Json const* address = Member(m, "address"))
        entry.address.ip = Address(*address, path.Key("address"));
    if (Json const* port = Member(m, "port"))
        entry.address.port = Unsigned<std::uint16_t>(*port, path.Key("port"));
    if (Json const* priority = Member(m, "priority"))
        entry.priority = Unsigned<std::uint16_t>(*priority, path.Key("priority"));
    if (Json const* weight = Member(m, "weight"))
        entry.weight = Unsigned<std::uint16_t>(*weight, path.Key("weight"));
    if (Json const* distance = Member(m, "distance")) {
        auto const bounds = List(*distance, path.Key("distance"), Unsigned<std::uint8_t>);
        if (bounds.size() != 2)
            Fail(path.Key("distance"), "not a [lower, upper] pair");
        entry.distanceLowerBound = bounds[0];
        entry.distanceUpperBound = bounds[1];
    }
    if (Json const* size = Member(m, "competition_size"))
        entry.competitionSize = Unsigned<std::uint32_t>(*size, path.Key("competition_size"));
    if (Json const* weight = Member(m, "competition_weight"))
        entry.competitionWeight = Unsigned<std::uint32_t>(*weight, path.Key("competition_weight"));
    if (Json const* gateways = Member(m, "gateways")) {
        auto const addresses = List(*gateways, path.Key("gateways"), Address);
        if (addresses.size() > HostSelectorEntry::cMaxGateways)
            Fail(path.Key("gateways"), "more than 20 gateways");
        std::copy(addresses.begin(), addresses.end(), entry.gateways.begin());
    }
    return entry;
}

} // namespace agent_json
