// One moment of an agent's state, read from an agent-state file: the data
// the simulated agent's contexts hand to the inspectors. Every part is
// optional; an absent part is a context kind the agent does not offer.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "inspectors/agent/action.h"
#include "inspectors/agent/action_lock.h"
#include "inspectors/agent/client.h"
#include "inspectors/content/content.h"
#include "inspectors/selected_server/host_selector.h"
#include "inspectors/sites/site_map.h"
#include "inspectors/usage/measure_logger.h"

// A file that is not a valid agent-state file. The message names the file
// and the key path of the first fault ("actions.records[2].id: ...").
class AgentStateError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct AgentAction {
    InspectorActionData data{}; // parameterLookup left null; the agent sets it
    // Looked up by exact bytes.
    std::optional<std::map<std::string, std::string, std::less<>>> parameters;
};

struct AgentActions {
    std::vector<AgentAction> records;
    std::optional<std::size_t> current; // index into records
    std::optional<std::size_t> active;
};

struct AgentPendingRestart {
    bool pending = false;
    std::vector<std::string> names;
};

struct AgentContentItem {
    std::uint32_t id = 0;
    bool relevant = false;
    // "Name: value" lines ended by CR LF; none when the block fails to load.
    std::optional<std::string> headers = std::string();
};

struct AgentSite {
    std::unique_ptr<SiteMap> map; // chained to the next site's
    std::string displayName;
    std::vector<InspectorGroupData> groups;
    std::vector<AgentContentItem> content;
    std::vector<std::size_t> relevant; // indexes of the relevant items of content
};

struct AgentSites {
    std::vector<AgentSite> list;
    std::optional<std::size_t> current; // index into list
    std::uint32_t instance = 0;
};

struct AgentContent {
    bool evaluatingRelevance = false;
    unsigned long adviceListChangeCount = 0;
};

struct AgentUsageSummary {
    unsigned long totalRunCount = 0;
    Instant firstStart = Instant::First();
    Instant lastStart = Instant::First();
    Instant lastSeen = Instant::First();
    TimeInterval totalDuration;
    unsigned long running = 0;
};

struct AgentApplicationUsage {
    std::optional<AgentUsageSummary> summary;
    std::vector<ExecutionEvent> events;
};

using AgentUsage = std::map<std::string, AgentApplicationUsage, std::less<>>;

// A part that is present may still hold no data (null in the file).
template <class T> using AgentPart = std::optional<std::optional<T>>;

struct AgentState {
    std::optional<std::string> clientFolder; // absolute
    std::optional<std::string> clientVersion;
    AgentPart<InspectorSystemData> system;
    AgentPart<InspectorAnalysisData> analysis;
    AgentPart<AgentActions> actions;
    AgentPart<InspectorServerData> servers;
    AgentPart<AgentPendingRestart> pendingRestart;
    AgentPart<std::string> storage; // absolute
    AgentPart<AgentSites> sites;
    AgentPart<AgentContent> content;
    AgentPart<AgentUsage> usage;
    AgentPart<HostSelectorEntry> selectedServer;
};

// The largest file read and the deepest nesting accepted.
inline constexpr std::size_t kMaxAgentStateBytes = 16 * 1024 * 1024;
inline constexpr int kMaxAgentStateDepth = 32;

// Reads and checks the whole file; throws AgentStateError.
AgentState ReadAgentState(std::string const& path);
// Checks the text of a file; a relative client folder is taken from
// baseFolder. Throws AgentStateError with the key path only.
AgentState ParseAgentState(std::string_view text, std::string const& baseFolder);
