// The framework linked against the real evaluator: composite type names as
// the evaluator spells them, and contexts installed the evaluator's way.
#include <gtest/gtest.h>

#include <string>

#include "framework/contexts.h"
#include "framework/tuples.h"

namespace {

struct AgentContext : InspectorContext, InspectorSystemContext, ZORAgentVersionContext {
    AgentContext() : InspectorSystemContext() {}
};

} // namespace

TEST(FrameworkWithEvaluator, TimedValueNameIsTimedFollowedByTheTupleName) {
    EXPECT_EQ(std::string(InspectorTuple2<time_range, integer>::TypeName()),
              "( time range, integer )");
    EXPECT_EQ(std::string(TimedValue<integer>::TypeName()), "timed( time range, integer )");
}

TEST(FrameworkWithEvaluator, ContextsAreReachedOnlyWhileInstalled) {
    EXPECT_EQ(GetInspectorContextPointer<InspectorSystemContext>(), nullptr);
    AgentContext agent;
    {
        ScopedInspectorContext installed(&agent);
        EXPECT_EQ(GetInspectorContextPointer<InspectorSystemContext>(),
                  static_cast<InspectorSystemContext const*>(&agent));
        EXPECT_STREQ(GetInspectorContext<InspectorVersionContext>().VersionOfClient(), "6.0.9.55");
        EXPECT_THROW(GetInspectorContext<InspectorSiteContext>(), NoInspectorContext);
        EXPECT_THROW(GetInspectorContext<InspectorSystemContext>().GetSystemData(nullptr),
                     InspectorSystemContextError);
    }
    EXPECT_THROW(GetInspectorContext<InspectorSystemContext>(), NoInspectorContext);
}
