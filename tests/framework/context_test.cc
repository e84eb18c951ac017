// The agent's contexts: narrowing to a kind as contexts come and go, calling a
// kind's operations, the kind's error when an operation is missing, and the
// fingerprint of what depends on parameters only.
#include <gtest/gtest.h>

#include <functional>
#include <utility>

#include "framework/contexts.h"
#include "framework/fingerprints.h"
#include "tests/framework/fake_registry.h"

namespace {

// An agent context with the site and version kinds only.
struct SiteAgentContext : InspectorContext, InspectorSiteContext, ZORAgentVersionContext {
    SiteAgentContext() : InspectorSiteContext() {}
};

struct SystemAgentContext : InspectorContext, InspectorSystemContext {
    SystemAgentContext() : InspectorSystemContext() {}
};

std::uint32_t instance = 0x01020304;
std::uint32_t SiteInstance() {
    return instance;
}

unsigned long seenId = 0;
bool FindGroup(unsigned long id, URL const&, InspectorGroupData*, void (*)()) {
    seenId = id;
    return id == 5;
}

// Stand-ins for records whose types the framework only names; the operations
// under test pass them through without looking inside.
alignas(std::max_align_t) unsigned char opaque[64];
template <class T> T const& Opaque() {
    return *reinterpret_cast<T const*>(opaque);
}

bool systemAnswer = false;
bool SystemData(InspectorSystemData*) {
    return systemAnswer;
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

TEST(Contexts, OperationsPassArgumentsAndMissingOnesThrowTheKindsError) {
    SiteAgentContext agent;
    InspectorSiteContext const& site = agent;
    ExpectError<InspectorSiteContextError>([&] { site.GetSiteMapInstance(); },
                                           "InspectorSiteContextError");
    agent.getSiteMapInstance = &SiteInstance;
    agent.getGroupFromId = &FindGroup;
    EXPECT_EQ(site.GetSiteMapInstance(), instance);
    EXPECT_TRUE(site.GetGroupFromId(5, Opaque<URL>(), nullptr, nullptr));
    EXPECT_FALSE(site.GetGroupFromId(6, Opaque<URL>(), nullptr, nullptr));
    EXPECT_EQ(seenId, 6u);

    SystemAgentContext system;
    ExpectError<InspectorSystemContextError>([&] { system.GetSystemData(nullptr); },
                                             "InspectorSystemContextError");
    system.getSystemData = &SystemData;
    systemAnswer = true;
    EXPECT_TRUE(system.GetSystemData(nullptr));
    systemAnswer = false;
    EXPECT_FALSE(system.GetSystemData(nullptr));
}

TEST(Contexts, EveryKindThrowsItsOwnErrorForAMissingOperation) {
    InspectorAnalysisContext analysis{};
    InspectorActionContext action{};
    InspectorSettingsContext settings{};
    InspectorStorageContext storage{};
    InspectorQuamelContext quamel{};
    InspectorProcessTableContext processes{};
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
    };
    for (auto const& [operation, name] : missing)
        ExpectError<std::exception>(operation, name);
}

TEST(Fingerprints, ParametersAloneFeedNothing) {
    Fingerprinter nothing;
    DependsOnlyOnParameters(nothing);
    EXPECT_TRUE(nothing.bytes.empty());
    EXPECT_THROW(NoPropertyOfWorld<integer>(), NoSuchObject);
}
