#include "agent/agent_state.h"
#include "agent/json_fields.h"
#include "agent/site_parts.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <limits>
#include <nlohmann/json.hpp>
#include <unordered_set>

#include "evaluator/helpers.h"
#include "framework/contexts.h"
#include "text/read_file.h"

namespace {

using namespace agent_json;

InspectorSystemData ReadSystem(Json const& value, KeyPath const& path) {
    auto const& members = Object(value, path, {"action_lock_controller", "reference_time"});
    InspectorSystemData data{kActionLockNobody, 0};
    if (Json const* controller = Member(members, "action_lock_controller")) {
        KeyPath const at = path.Key("action_lock_controller");
        if (controller->is_string()) {
            std::string const& word = controller->get_ref<std::string const&>();
            if (word == cActionLockClientString) {
                data.actionLockController = kActionLockClient;
            } else if (word == cActionLockConsoleString) {
                data.actionLockController = kActionLockConsole;
            } else if (word == cActionLockNobodyString) {
                data.actionLockController = kActionLockNobody;
            } else {
                Fail(at, "not \"client\", \"console\", \"nobody\" or a number");
            }
        } else {
            data.actionLockController = Unsigned<std::uint32_t>(*controller, at);
        }
    }
    if (Json const* reference = Member(members, "reference_time")) {
        data.referenceTime = Time(*reference, path.Key("reference_time"));
    }
    return data;
}

InspectorAnalysisData ReadAnalysis(Json const& value, KeyPath const& path) {
    auto const& members = Object(value, path, {"last_time"});
    InspectorAnalysisData data{0};
    if (Json const* last = Member(members, "last_time")) {
        data.lastTime = Time(*last, path.Key("last_time"));
    }
    return data;
}

// The readers of one action record's fields, by key.
struct ActionField {
    std::string_view key;
    void (*read)(InspectorActionData&, Json const&, KeyPath const&);
};

template <auto Member> void ReadFlag(InspectorActionData& data, Json const& v, KeyPath const& p) {
    data.*Member = Boolean(v, p);
}
template <auto Member> void ReadTime(InspectorActionData& data, Json const& v, KeyPath const& p) {
    data.*Member = Time(v, p);
}
template <auto Member> void ReadCount(InspectorActionData& data, Json const& v, KeyPath const& p) {
    data.*Member = Unsigned<std::remove_reference_t<decltype(data.*Member)>>(v, p);
}

constexpr ActionField kActionFields[] = {
    {"id", ReadCount<&InspectorActionData::id>},
    {"pending", ReadFlag<&InspectorActionData::pending>},
    {"pending_time", ReadTime<&InspectorActionData::pendingTime>},
    {"complete_time", ReadTime<&InspectorActionData::completeTime>},
    {"pending_restart", ReadFlag<&InspectorActionData::pendingRestart>},
    {"pending_login", ReadFlag<&InspectorActionData::pendingLogin>},
    {"constrained", ReadFlag<&InspectorActionData::constrained>},
    {"constraint_code", ReadCount<&InspectorActionData::constraintCode>},
    {"first_active_count", ReadCount<&InspectorActionData::firstActiveCount>},
    {"active_count", ReadCount<&InspectorActionData::activeCount>},
    {"active_line_number", ReadCount<&InspectorActionData::activeLineNumber>},
    {"active_start_time", ReadTime<&InspectorActionData::activeStartTime>},
    {"last_active_line_number", ReadCount<&InspectorActionData::lastActiveLineNumber>},
    {"last_active_time", ReadTime<&InspectorActionData::lastActiveTime>},
    {"last_change_time", ReadTime<&InspectorActionData::lastChangeTime>},
    {"waiting_for_download", ReadFlag<&InspectorActionData::waitingForDownload>},
    {"active", ReadFlag<&InspectorActionData::active>},
    {"origin_quamel_id", ReadCount<&InspectorActionData::originQuamelId>},
};

std::map<std::string, std::string, std::less<>> ReadParameters(Json const& value,
                                                               KeyPath const& path) {
    if (!value.is_object()) {
        Fail(path, "not an object");
    }
    std::map<std::string, std::string, std::less<>> parameters;
    for (auto const& [name, text] : value.get_ref<Json::object_t const&>()) {
        parameters.emplace(name, Text(text, path.Key(name)));
    }
    return parameters;
}

AgentAction ReadAction(Json const& value, KeyPath const& path) {
    if (!value.is_object()) {
        Fail(path, "not an object");
    }
    AgentAction result;
    for (auto const& [key, member] : value.get_ref<Json::object_t const&>()) {
        KeyPath const at = path.Key(key);
        if (key == "parameters") {
            result.parameters = ReadParameters(member, at);
            continue;
        }
        std::string_view const name = key;
        auto const* field =
            std::find_if(std::begin(kActionFields), std::end(kActionFields),
                         [name](ActionField const& candidate) { return candidate.key == name; });
        if (field == std::end(kActionFields)) {
            Fail(at, "unknown key");
        }
        field->read(result.data, member, at);
    }
    return result;
}

// An id of the records, or null; the id must be one of theirs.
std::optional<std::size_t> RecordIndex(Json const& value, KeyPath const& path,
                                       std::vector<AgentAction> const& records) {
    if (value.is_null()) {
        return std::nullopt;
    }
    std::uint32_t const id = Unsigned<std::uint32_t>(value, path);
    for (std::size_t i = 0; i < records.size(); ++i) {
        if (records[i].data.id == id) {
            return i;
        }
    }
    Fail(path, "no record has id " + std::to_string(id));
}

AgentActions ReadActions(Json const& value, KeyPath const& path) {
    auto const& members = Object(value, path, {"current", "active", "records"});
    AgentActions actions;
    if (Json const* records = Member(members, "records")) {
        KeyPath const at = path.Key("records");
        if (!records->is_array()) {
            Fail(at, "not a list");
        }
        std::unordered_set<std::uint32_t> ids;
        for (std::size_t i = 0; i < records->size(); ++i) {
            KeyPath const record = at.Index(i);
            actions.records.push_back(ReadAction((*records)[i], record));
            if (!ids.insert(actions.records.back().data.id).second) {
                Fail(record.Key("id"), "another record has this id");
            }
        }
    }
    if (Json const* current = Member(members, "current")) {
        actions.current = RecordIndex(*current, path.Key("current"), actions.records);
    }
    if (Json const* active = Member(members, "active")) {
        actions.active = RecordIndex(*active, path.Key("active"), actions.records);
    }
    return actions;
}

InspectorServerData ReadServers(Json const& value, KeyPath const& path) {
    auto const& members = Object(value, path, {"registration", "download"});
    InspectorServerData data{};
    if (Json const* registration = Member(members, "registration")) {
        KeyPath const at = path.Key("registration");
        auto const& fields = Object(*registration, at, {"name", "version", "time"});
        if (Json const* name = Member(fields, "name")) {
            FixedText(data.registrationName, *name, at.Key("name"));
        }
        if (Json const* version = Member(fields, "version")) {
            FixedText(data.registrationVersion, *version, at.Key("version"));
        }
        if (Json const* time = Member(fields, "time")) {
            data.apparentTime = Time(*time, at.Key("time"));
        }
    }
    if (Json const* download = Member(members, "download")) {
        KeyPath const at = path.Key("download");
        auto const& fields = Object(*download, at, {"name"});
        if (Json const* name = Member(fields, "name")) {
            FixedText(data.downloadName, *name, at.Key("name"));
        }
    }
    return data;
}

AgentPendingRestart ReadPendingRestart(Json const& value, KeyPath const& path) {
    auto const& members = Object(value, path, {"pending", "names"});
    AgentPendingRestart restart;
    if (Json const* pending = Member(members, "pending")) {
        restart.pending = Boolean(*pending, path.Key("pending"));
    }
    if (Json const* names = Member(members, "names")) {
        KeyPath const at = path.Key("names");
        restart.names = List(*names, at, [](Json const& name, KeyPath const& where) {
            return Text(name, where);
        });
    }
    return restart;
}

void ReadClient(Json const& value, KeyPath const& path, std::string const& baseFolder,
                AgentState& state) {
    auto const& members = Object(value, path, {"folder", "version"});
    if (Json const* folder = Member(members, "folder")) {
        state.clientFolder = FolderPath(*folder, path.Key("folder"), baseFolder);
    }
    if (Json const* version = Member(members, "version")) {
        state.clientVersion = Text(*version, path.Key("version"));
    }
}

// Refuses nesting deeper than the limit before the parser sees it.
void CheckNesting(std::string_view text) {
    int depth = 0;
    bool inString = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        char const c = text[i];
        if (inString) {
            if (c == '\\') {
                ++i;
            } else if (c == '"') {
                inString = false;
            }
        } else if (c == '"') {
            inString = true;
        } else if (c == '{' || c == '[') {
            if (++depth > kMaxAgentStateDepth) {
                throw AgentStateError("nested deeper than " + std::to_string(kMaxAgentStateDepth) +
                                      " levels at byte " + std::to_string(i));
            }
        } else if (c == '}' || c == ']') {
            --depth;
        }
    }
}

} // namespace

AgentState ParseAgentState(std::string_view text, std::string const& baseFolder) {
    CheckNesting(text);
    Json document;
    try {
        document = Json::parse(text);
    } catch (Json::exception const& error) {
        // A syntax error, or a number too large for any type (out_of_range).
        std::string message = error.what();
        // The library's own prefix ("[json.exception.parse_error.101] ") says nothing here.
        if (auto const end = message.find("] "); message.starts_with("[") && end != message.npos) {
            message.erase(0, end + 2);
        }
        throw AgentStateError("not valid JSON: " + message);
    }
    KeyPath const root;
    auto const& top = Object(document, root,
                             {"client", "system", "analysis", "actions", "servers",
                              "pending_restart", "storage", "sites", "content", "usage",
                              "selected_server"});
    AgentState state;
    if (Json const* client = Member(top, "client")) {
        ReadClient(*client, root.Key("client"), baseFolder, state);
    }
    // With a file the agent always knows its version.
    if (!state.clientVersion) {
        state.clientVersion = ZORAgentVersionContext().VersionOfClient();
    }
    state.system = Part<InspectorSystemData>(top, "system", root, ReadSystem);
    state.analysis = Part<InspectorAnalysisData>(top, "analysis", root, ReadAnalysis);
    state.actions = Part<AgentActions>(top, "actions", root, ReadActions);
    state.servers = Part<InspectorServerData>(top, "servers", root, ReadServers);
    state.pendingRestart =
        Part<AgentPendingRestart>(top, "pending_restart", root, ReadPendingRestart);
    state.storage = Part<std::string>(top, "storage", root, [&](Json const& v, KeyPath const& p) {
        return FolderPath(v, p, baseFolder);
    });
    state.sites = Part<AgentSites>(top, "sites", root, [&](Json const& v, KeyPath const& p) {
        return ReadSites(v, p, text);
    });
    state.content = Part<AgentContent>(top, "content", root, ReadContent);
    state.usage = Part<AgentUsage>(top, "usage", root, ReadUsage);
    state.selectedServer =
        Part<HostSelectorEntry>(top, "selected_server", root, [&](Json const& v, KeyPath const& p) {
            return ReadSelectedServer(v, p, baseFolder);
        });
    return state;
}

AgentState ReadAgentState(std::string const& path) {
    try {
        BoundedText text(kMaxAgentStateBytes);
        ReadFile(path, text);
        std::string const folder = std::filesystem::absolute(path).parent_path();
        return ParseAgentState(text.Text(), folder);
    } catch (AgentStateError const& error) {
        throw AgentStateError(path + ": " + error.what());
    } catch (ExceptionPL const& error) {
        throw AgentStateError(path + ": " + error.GetErrorMessage());
    }
}
