// Any bytes as an agent-state file: refused with a message naming where, or
// read into a state that the simulated agent takes without complaint.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "agent/agent_state.h"
#include "agent/simulated_agent.h"
#include "fuzz/require.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string_view const text(reinterpret_cast<char const*>(data), size);
    try {
        SimulatedAgent const agent(ParseAgentState(text, "/base"));
        auto const& folder = agent.State().clientFolder;
        Require(!folder || (!folder->empty() && folder->front() == '/')); // always absolute
    } catch (AgentStateError const& error) {
        Require(!std::string_view(error.what()).empty());
    }
    return 0;
}
