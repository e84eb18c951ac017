// The environment family end to end: the plug-in loaded into the evaluator,
// expressions compiled and evaluated against an environment the test installs.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "evaluator/evaluator.h"
#include "tests/environment/scoped_environment.h"
#include "tests/framework/loaded_plugin.h"

namespace {

using Answers = std::vector<std::string>;

class EnvironmentPlugin : public PluginSuite {};

} // namespace

TEST_F(EnvironmentPlugin, AnswersVariablesNamesValuesAndStrings) {
    ScopedEnvironment env({"HOME=/Users/x", "A=b=c", "EMPTY=", "AFTER=1"});
    EXPECT_EQ(Evaluate("names of variables of environment"), (Answers{"HOME", "A"}));
    EXPECT_EQ(Evaluate("values of variables of environment"), (Answers{"/Users/x", "b=c"}));
    EXPECT_EQ(Evaluate("variables of environment as string"),
              (Answers{"HOME = /Users/x", "A = b=c"}));
    EXPECT_EQ(Evaluate("number of variables of environment"), Answers{"2"});
    EXPECT_EQ(Evaluate("value of variable \"HOME\" of environment"), Answers{"/Users/x"});
    EXPECT_EQ(Evaluate("name of variable \"A\" of environment"), Answers{"A"});
    EXPECT_EQ(Evaluate("variable \"A\" of environment as string"), Answers{"A = b=c"});
}

TEST_F(EnvironmentPlugin, AbsentVariablesDoNotExist) {
    ScopedEnvironment env({"HOME=/Users/x", "EMPTY="});
    EXPECT_EQ(Evaluate("exists variable \"UNSET\" of environment"), Answers{"False"});
    EXPECT_EQ(Evaluate("exists variable \"\" of environment"), Answers{"False"});
    EXPECT_EQ(Evaluate("exists variable \"HOME\" of environment"), Answers{"True"});
    EXPECT_THROW(Evaluate("value of variable \"UNSET\" of environment"), zor::ExpressionError);
    EXPECT_EQ(Evaluate("exists environment"), Answers{"True"});

    ScopedEnvironment empty({});
    EXPECT_EQ(Evaluate("number of variables of environment"), Answers{"0"});
    EXPECT_EQ(Evaluate("exists environment"), Answers{"True"});
}

TEST_F(EnvironmentPlugin, ABoundExpressionReadsTheEnvironmentOfEachEvaluation) {
    zor::Expression const names = zor::Expression::compile("names of variables of environment");
    {
        ScopedEnvironment env({"ONE=1"});
        EXPECT_EQ(names.answers(), Answers{"ONE"});
    }
    {
        ScopedEnvironment env({"TWO=2", "THREE=3"});
        EXPECT_EQ(names.answers(), (Answers{"TWO", "THREE"}));
    }
}
