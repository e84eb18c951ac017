// zorq: evaluate query-language expressions from the command line.
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <memory>

#include "agent/simulated_agent.h"
#include "tools/zorq/options.h"
#include "tools/zorq/session.h"

namespace {

// The settings store reads its folder from the environment when it first
// opens, which is during evaluation.
void usePreferencesFolder(std::string const& folder) {
    if (folder.empty())
        return;
    if (!std::filesystem::is_directory(folder))
        throw zorq::UsageError("preferences folder " + folder + " does not exist");
    setenv("ZOR_PREFERENCES_DIR", folder.c_str(), 1);
}

// The agent the expressions ask about: from the agent-state file, read and
// checked whole before anything is evaluated, else one that knows only its
// settings.
std::unique_ptr<SimulatedAgent> loadAgent(std::string const& file) {
    if (file.empty())
        return std::make_unique<SimulatedAgent>();
    try {
        return std::make_unique<SimulatedAgent>(ReadAgentState(file));
    } catch (AgentStateError const& error) {
        throw zorq::UsageError(std::string("agent state ") + error.what());
    }
}

} // namespace

int main(int argc, char** argv) {
    try {
        auto const options = zorq::parseOptions({argv + 1, argv + argc});
        if (options.help) {
            std::cout << zorq::usageText();
            return 0;
        }
        usePreferencesFolder(options.preferences);
        auto const agent = loadAgent(options.agentState);
        return zorq::runZorq(options, agent.get(), std::cout);
    } catch (zorq::UsageError const& error) {
        std::cerr << "zorq: " << error.what() << "\nTry 'zorq --help' for more information.\n";
        return 2;
    }
}
