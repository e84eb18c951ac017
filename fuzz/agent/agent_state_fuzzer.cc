// Any bytes as an agent-state file: refused with a message naming where, or
// read into a state that the simulated agent takes without complaint.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "agent/agent_state.h"
#include "agent/simulated_agent.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string_view const text(reinterpret_cast<char const*>(data), size);
    try {
        SimulatedAgent const agent(ParseAgentState(text, "/base"));
        auto const& folder = agent.State().clientFolder;
        if (folder && (folder->empty() || folder->front() != '/')) {
            std::abort(); // a client folder is always absolute
        }
    } catch (AgentStateError const& error) {
        if (std::string_view(error.what()).empty()) {
            std::abort();
        }
    }
    return 0;
}
