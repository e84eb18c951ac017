// The framework linked against the real evaluator: composite type names as
// the evaluator spells them.
#include <gtest/gtest.h>

#include <string>

#include "framework/tuples.h"

TEST(FrameworkWithEvaluator, TimedValueNameIsTimedFollowedByTheTupleName) {
    EXPECT_EQ(std::string(InspectorTuple2<time_range, integer>::TypeName()),
              "( time range, integer )");
    EXPECT_EQ(std::string(TimedValue<integer>::TypeName()), "timed( time range, integer )");
}
