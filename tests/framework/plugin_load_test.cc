// Loading and unloading the plug-in in front of the evaluator: unloading
// withdraws every registration it made (each object's own withdrawal is
// checked against the recording registry), the evaluator refuses what was
// bound to them, and loading again registers afresh.
#include <gtest/gtest.h>

#include <algorithm>
#include <dlfcn.h>
#include <string>
#include <vector>

#include "evaluator/evaluator.h"
#include "tests/framework/loaded_plugin.h"

namespace {

std::vector<std::string> Listing() {
    std::vector<std::string> rows;
    for (zor::PhraseInfo const& info : zor::listRegistrations())
        rows.push_back(info.kind + "|" + info.phrase + "|" + info.indexType + "|" +
                       info.objectType + "|" + info.resultType);
    std::sort(rows.begin(), rows.end());
    return rows;
}

} // namespace

TEST(PluginLoading, UnloadWithdrawsEverythingAndBoundExpressionsAreRefused) {
    std::vector<std::string> const before = Listing();
    auto plugin = std::make_unique<LoadedPlugin>(ZOR_PLUGIN_PATH);
    std::vector<std::string> const loaded = Listing();
    EXPECT_GT(loaded.size(), before.size() + 20);
    EXPECT_TRUE(std::binary_search(loaded.begin(), loaded.end(), "type|environment variable|||"));
    zor::Expression const bound = zor::Expression::compile("names of variables of environment");
    EXPECT_FALSE(bound.answers().empty());

    plugin->Unload();
    EXPECT_EQ(dlopen(ZOR_PLUGIN_PATH, RTLD_NOW | RTLD_NOLOAD), nullptr)
        << "the plug-in must really leave the process";
    EXPECT_EQ(Listing(), before);
    EXPECT_THROW(bound.answers(), zor::ExpressionError);
    EXPECT_THROW(zor::Expression::compile("names of variables of environment"),
                 zor::ExpressionError);

    LoadedPlugin again(ZOR_PLUGIN_PATH);
    EXPECT_EQ(Listing(), loaded);
    EXPECT_FALSE(bound.answers().empty()) << "loading again registers afresh";
}
