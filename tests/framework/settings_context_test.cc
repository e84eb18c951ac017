// The settings context hands out the agent's own setting store.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

#include "framework/settings_context.h"
#include "settings/agent_settings.h"
#include "settings/preference_domain.h"
#include "tests/framework/fake_registry.h"

namespace {

struct SettingsAgentContext : InspectorContext, ZORSettingsContext {};

} // namespace

TEST(SettingsContext, SettingsIsTheAgentsSettingStore) {
    std::filesystem::path folder = std::filesystem::temp_directory_path() / "zor-settings-context";
    std::filesystem::create_directories(folder);
    setenv(kPreferencesFolderVariable, folder.c_str(), 1);

    SettingsAgentContext agent;
    ScopedInspectorContext installed(&agent);
    ZORSettingsContext const& context = GetInspectorContext<ZORSettingsContext>();
    InspectorSettingStore& store = context.Settings();
    EXPECT_EQ(&store, static_cast<InspectorSettingStore*>(&MacintoshPlatform::ZORSettingStore()));
    EXPECT_EQ(&context.Settings(), &store) << "one store for the process";
    EXPECT_TRUE(store.FindItem("Client", "NoSuchSetting").AtEnd());
}
