// One moment of an agent's state, read from an agent-state file: the data
// the simulated agent's contexts hand to the inspectors. Every part is
// optional; an absent part is a context kind the agent does not offer.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "inspectors/agent/action.h"
#include "inspectors/agent/action_lock.h"
#include "inspectors/agent/client.h"

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
};

// The largest file read and the deepest nesting accepted.
inline constexpr std::size_t kMaxAgentStateBytes = 16 * 1024 * 1024;
inline constexpr int kMaxAgentStateDepth = 32;

// Reads and checks the whole file; throws AgentStateError.
AgentState ReadAgentState(std::string const& path);
// Checks the text of a file; a relative client folder is taken from
// baseFolder. Throws AgentStateError with the key path only.
AgentState ParseAgentState(std::string_view text, std::string const& baseFolder);
