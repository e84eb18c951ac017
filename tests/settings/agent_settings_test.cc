#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include "settings/agent_settings.h"
#include "settings_test_support.h"

namespace {

// Runs body in a child process whose preferences live in folder, and
// returns the child's exit status. The singletons are built in the child.
template <class Body> int InChild(std::filesystem::path const& folder, Body body) {
    pid_t child = ::fork();
    if (child == 0) {
        ::setenv(kPreferencesFolderVariable, folder.c_str(), 1);
        SetPreferencesFolder({});
        std::exit(body() ? 0 : 1); // exit, not _exit: statics write at exit
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace

TEST(AgentStores, SingletonsViewsAndMigrationsWriteAtExit) {
    TemporaryFolder folder;
    int status = InChild(folder.Path(), [] {
        using namespace MacintoshPlatform;
        ZORSettingStore().Set("Administrator", "alice", "admin", Instant(1));
        ZORSettingStore().Set("Client", "GatherUrl", "http://server/", Instant(2));
        ZORClientSettingStore().SetString(ConstCString("Name"), "client");
        ZORSitesStore().Set("Site", "n", "site value", Instant(3));
        ZORServerClientRegister().SetInt64(ConstCString("Count"), 12);
        UpdateOptions();
        UpdateAdministartors();
        return &ZORSettingStore() == &ZORSettingStore() &&
               &ZORClientSettingStore().UnderlyingStore() == &ZORSettingStore() &&
               &ZORGlobalOptionStore().UnderlyingStore() == &ZOROptionStore() &&
               ZORAdministratorsSettingStore().GetString(ConstCString("alice")) == "admin" &&
               ZORGlobalOptionStore().GetString(ConstCString("GatherUrl")) == "http://server/";
    });
    ASSERT_EQ(status, 0);

    // A second process reads what the first left at exit.
    status = InChild(folder.Path(), [] {
        using namespace MacintoshPlatform;
        return ZORClientSettingStore().GetString(ConstCString("Name")) == "client" &&
               ZORAdministratorsSettingStore().GetString(ConstCString("alice")) == "admin" &&
               ZORGlobalOptionStore().GetBool(ConstCString("5.1_Options_Updated")) &&
               ZORGlobalOptionStore().GetString(ConstCString("GatherUrl")) == "http://server/" &&
               ZORClientSettingStore().GetStringWithDefault(ConstCString("GatherUrl"), "x") == "" &&
               ZORServerClientRegister().GetInt64(ConstCString("Count")) == 12 &&
               ZORSitesStore().FindItem("Site", "n").Value() == ConstData("site value") &&
               ZORSitesSettingStore().Section() == ConstData("Sites") &&
               ZORCustomSiteSettingStore().Section() == ConstData("CustomSites") &&
               ZORUserOrMachineSettingStore().Section() == ConstData("UserOrMachine");
    });
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(std::filesystem::exists(folder.Path() / "com.zor.agent.plist"));
}
