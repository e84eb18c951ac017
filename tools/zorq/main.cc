// zorq: evaluate query-language expressions from the command line.
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <optional>

#include "tools/zorq/options.h"
#include "tools/zorq/plugin.h"
#include "tools/zorq/session.h"

namespace {

// The settings store reads its folder from the environment; the plug-in's
// stores open on first use, so this must happen before it loads.
void usePreferencesFolder(std::string const& folder) {
    if (folder.empty())
        return;
    if (!std::filesystem::is_directory(folder))
        throw zorq::UsageError("preferences folder " + folder + " does not exist");
    setenv("ZOR_PREFERENCES_DIR", folder.c_str(), 1);
}

std::optional<zorq::Plugin> openPlugin(zorq::Options const& options) {
    switch (options.plugin) {
    case zorq::PluginChoice::Named:
        return zorq::Plugin::load(options.pluginPath);
    case zorq::PluginChoice::Default:
        return zorq::loadFirstPresent(zorq::defaultPluginLocations(zorq::executableFolder()));
    case zorq::PluginChoice::None:
        break;
    }
    return std::nullopt;
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
        auto const plugin = openPlugin(options);
        return zorq::runZorq(options, std::cout);
    } catch (zorq::UsageError const& error) {
        std::cerr << "zorq: " << error.what() << "\nTry 'zorq --help' for more information.\n";
        return 2;
    } catch (zorq::PluginError const& error) {
        std::cerr << "zorq: " << error.what() << "\n";
        return 2;
    }
}
