// The agent's contexts: narrowing to a kind as contexts come and go, calling a
// kind's operations, the kind's error when an operation is missing, the
// settings context's store, and the fingerprint of what depends on parameters
// only.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <utility>

#include "framework/contexts.h"
#include "framework/fingerprints.h"
#include "framework/settings_context.h"
#include "settings/agent_settings.h"
#include "settings/preference_domain.h"
#include "tests/framework/fake_registry.h"

namespace {

// An agent context with the site and version kinds only.
struct SiteAgentContext : InspectorContext, InspectorSiteContext, ZORAgentVersionContext {
    SiteAgentContext() : InspectorSiteContext() {}
};

struct SystemAgentContext : InspectorContext, InspectorSystemContext {
    SystemAgentContext() : InspectorSystemContext() {}
};

struct SettingsAgentContext : InspectorContext, ZORSettingsContext {};

std::uint32_t instance = 0x01020304;
std::uint32_t SiteInstance() {
    return instance;
}

// A stand-in for records whose types the framework only names; the operations
// under test pass them through without looking inside.
alignas(std::max_align_t) unsigned char opaque[64];
template <class T> T const& Opaque() {
    return *reinterpret_cast<T const*>(opaque);
}

template <class Error, class Operation> void ExpectError(Operation operation, char const* name) {
    try {
        operation();
        ADD_FAILURE() << name << " did not throw";
    } catch (Error const& error) {
        EXPECT_STREQ(error.what(), name);
    }
}

} // namespace

// Narrowings are kept between steps, so each installation must be seen anew.
TEST(Contexts, NarrowingFollowsEveryInstallation) {
    SiteAgentContext site;
    SystemAgentContext system;
    auto reached = [] { return GetInspectorContextPointer<InspectorSiteContext>(); };
    EXPECT_EQ(reached(), nullptr);
    {
        ScopedInspectorContext const outer(&site);
        EXPECT_EQ(reached(), static_cast<InspectorSiteContext const*>(&site));
        {
            ScopedInspectorContext const inner(&system);
            EXPECT_EQ(reached(), nullptr);
            EXPECT_THROW(GetInspectorContext<InspectorSiteContext>(), NoInspectorContext);
        }
        EXPECT_EQ(reached(), static_cast<InspectorSiteContext const*>(&site));
    }
    EXPECT_EQ(reached(), nullptr);
}

// Arguments and results pass through in the content and action-lock
// transcripts; the site map instance only feeds fingerprints.
TEST(Contexts, TheSiteMapInstanceIsPassedThrough) {
    SiteAgentContext agent;
    agent.getSiteMapInstance = &SiteInstance;
    EXPECT_EQ(static_cast<InspectorSiteContext const&>(agent).GetSiteMapInstance(), instance);
}

TEST(Contexts, EveryKindThrowsItsOwnErrorForAMissingOperation) {
    InspectorAnalysisContext analysis{};
    InspectorActionContext action{};
    InspectorSettingsContext settings{};
    InspectorStorageContext storage{};
    InspectorQuamelContext quamel{};
    InspectorProcessTableContext processes{};
    InspectorSiteContext site{};
    InspectorSystemContext system{};
    unsigned long runs = 0, running = 0;
    Instant a, b, c;
    TimeInterval d;
    // Each error's text is the name of its class.
    std::pair<std::function<void()>, char const*> const missing[] = {
        {[&] { analysis.GetCurrentAnalysisData(nullptr); }, "InspectorAnalysisContextError"},
        {[&] { action.GetActiveActionData(nullptr); }, "InspectorActionContextError"},
        {[&] { action.GetActionDataById(1, nullptr, nullptr); }, "InspectorActionContextError"},
        {[&] { settings.GetInspectorSitesStore(); }, "InspectorSettingsContextError"},
        {[&] { storage.GetGlobalLocation(); }, "InspectorStorageContextError"},
        {[&] { quamel.GetEvaluatingQuamelRelevance(); }, "InspectorQuamelContextError"},
        {[&] { processes.GetAppUsage(Opaque<FileName>(), runs, a, b, c, d, running); },
         "InspectorProcessTableContextError"},
        {[&] { site.GetSiteMapInstance(); }, "InspectorSiteContextError"},
        {[&] { system.GetSystemData(nullptr); }, "InspectorSystemContextError"},
    };
    for (auto const& [operation, name] : missing)
        ExpectError<std::exception>(operation, name);
}

// The settings context hands out the agent's own setting store.
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

TEST(Fingerprints, ParametersAloneFeedNothing) {
    Fingerprinter nothing;
    DependsOnlyOnParameters(nothing);
    EXPECT_TRUE(nothing.bytes.empty());
    EXPECT_THROW(NoPropertyOfWorld<integer>(), NoSuchObject);
}
