// Reaching the agent's contexts: narrowing the generic context to a kind,
// calling a kind's operations, the kind's error when an operation is missing,
// and the fingerprint functions built on them.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

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

TEST(Contexts, NarrowsToTheKindsTheAgentSupports) {
    EXPECT_EQ(GetInspectorContextPointer<InspectorSiteContext>(), nullptr);
    EXPECT_THROW(GetInspectorContext<InspectorQuamelContext>(), NoInspectorContext);
    SiteAgentContext agent;
    ScopedInspectorContext installed(&agent);
    EXPECT_EQ(GetInspectorContextPointer<InspectorSiteContext>(),
              static_cast<InspectorSiteContext const*>(&agent));
    EXPECT_EQ(&GetInspectorContext<InspectorVersionContext>(),
              static_cast<InspectorVersionContext const*>(&agent));
    EXPECT_EQ(GetInspectorContextPointer<InspectorSystemContext>(), nullptr);
    EXPECT_THROW(GetInspectorContext<InspectorProcessTableContext>(), NoInspectorContext);
    EXPECT_STREQ(GetInspectorContext<InspectorVersionContext>().VersionOfClient(), "6.0.9.55");
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
    ExpectError<InspectorAnalysisContextError>([&] { analysis.GetCurrentAnalysisData(nullptr); },
                                               "InspectorAnalysisContextError");
    ExpectError<InspectorActionContextError>([&] { action.GetActiveActionData(nullptr); },
                                             "InspectorActionContextError");
    ExpectError<InspectorActionContextError>([&] { action.GetActionDataById(1, nullptr, nullptr); },
                                             "InspectorActionContextError");
    ExpectError<InspectorSettingsContextError>([&] { settings.GetInspectorSitesStore(); },
                                               "InspectorSettingsContextError");
    ExpectError<InspectorStorageContextError>([&] { storage.GetGlobalLocation(); },
                                              "InspectorStorageContextError");
    ExpectError<InspectorQuamelContextError>([&] { quamel.GetEvaluatingQuamelRelevance(); },
                                             "InspectorQuamelContextError");
    ExpectError<InspectorProcessTableContextError>(
        [&] {
            unsigned long runs = 0;
            unsigned long running = 0;
            Instant a, b, c;
            TimeInterval d;
            processes.GetAppUsage(Opaque<FileName>(), runs, a, b, c, d, running);
        },
        "InspectorProcessTableContextError");
}

TEST(Fingerprints, SiteListFeedsTheInstanceAndNeedsTheSiteContext) {
    Fingerprinter nothing;
    DependsOnlyOnParameters(nothing);
    EXPECT_TRUE(nothing.bytes.empty());

    Fingerprinter withoutContext;
    EXPECT_THROW(DependsOnSiteList(withoutContext), NoInspectorContext);

    SystemAgentContext wrongKind;
    {
        ScopedInspectorContext installed(&wrongKind);
        EXPECT_THROW(DependsOnSiteList(withoutContext), NoInspectorContext);
    }

    SiteAgentContext agent;
    agent.getSiteMapInstance = &SiteInstance;
    ScopedInspectorContext installed(&agent);
    Fingerprinter first;
    DependsOnSiteList(first);
    ASSERT_EQ(first.bytes.size(), 4u);
    std::uint32_t fed = 0;
    std::memcpy(&fed, first.bytes.data(), 4);
    EXPECT_EQ(fed, instance);

    instance = 0x0A0B0C0D;
    Fingerprinter second;
    DependsOnSiteList(second);
    EXPECT_NE(first.bytes, second.bytes) << "a new site list changes the fingerprint";

    EXPECT_THROW(NoPropertyOfWorld<integer>(), NoSuchObject);
}
