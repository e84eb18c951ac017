// Loading and unloading the plug-in. This program stands between the plug-in
// and the evaluator: it defines the registration calls itself (the loader
// binds the plug-in to them first), records those made from the plug-in, and
// passes every call on to the evaluator's own.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <dlfcn.h>
#include <map>
#include <string>
#include <vector>

#include "evaluator/evaluator.h"
#include "evaluator/registration.h"
#include "tests/framework/loaded_plugin.h"

namespace {

enum class Kind { Type, Property, Cast, Operator };

struct Seen {
    Kind kind;
    bool registering;
    void* block;
    std::string name;
};

std::vector<Seen>& Calls() {
    static std::vector<Seen> calls;
    return calls;
}

bool FromPlugin(void const* block) {
    Dl_info info{};
    return dladdr(block, &info) != 0 && info.dli_fname &&
           std::strstr(info.dli_fname, "libZORInspectors") != nullptr;
}

void Note(Kind kind, bool registering, void* block, char const* name) {
    if (FromPlugin(block)) {
        Calls().push_back({kind, registering, block, name ? name : ""});
    }
}

// The evaluator's definition of a registration call.
template <class Function> Function Evaluators(char const* name) {
    void* symbol = dlsym(RTLD_NEXT, name);
    if (!symbol) {
        std::abort();
    }
    Function function;
    std::memcpy(&function, &symbol, sizeof function);
    return function;
}

} // namespace

extern "C" {

void Register_Type(void* block, unsigned long blockSize, char const* name, unsigned long valueSize,
                   DestroyFunction destroy, char const* baseName, int reserved) {
    Note(Kind::Type, true, block, name);
    Evaluators<decltype(&Register_Type)>("Register_Type")(block, blockSize, name, valueSize,
                                                          destroy, baseName, reserved);
}

void Register_Property(void* block, unsigned long blockSize, char const* phrase, char const* plural,
                       char const* indexType, char const* objectType, char const* resultType,
                       PropertyThunk get, void const* userData, FingerprintFunction fingerprint) {
    Note(Kind::Property, true, block, phrase);
    Evaluators<decltype(&Register_Property)>("Register_Property")(block, blockSize, phrase, plural,
                                                                  indexType, objectType, resultType,
                                                                  get, userData, fingerprint);
}

void Register_Iterated_Property(void* block, unsigned long blockSize, char const* phrase,
                                char const* plural, char const* indexType, char const* objectType,
                                char const* resultType, unsigned long stateSize,
                                ConstructFunction construct, DestroyFunction destroy,
                                PropertyThunk first, PropertyThunk next, void const* userData,
                                FingerprintFunction fingerprint) {
    Note(Kind::Property, true, block, phrase);
    Evaluators<decltype(&Register_Iterated_Property)>("Register_Iterated_Property")(
        block, blockSize, phrase, plural, indexType, objectType, resultType, stateSize, construct,
        destroy, first, next, userData, fingerprint);
}

void Register_Cast(void* block, unsigned long blockSize, char const* phrase, char const* sourceType,
                   char const* targetType, CastThunk cast, void const* userData,
                   FingerprintFunction fingerprint) {
    Note(Kind::Cast, true, block, phrase);
    Evaluators<decltype(&Register_Cast)>("Register_Cast")(block, blockSize, phrase, sourceType,
                                                          targetType, cast, userData, fingerprint);
}

void Register_Binary_Operator(void* block, unsigned long blockSize, int operatorCode,
                              char const* leftType, char const* rightType, char const* resultType,
                              OperatorThunk op, void const* userData,
                              FingerprintFunction fingerprint) {
    Note(Kind::Operator, true, block, leftType);
    Evaluators<decltype(&Register_Binary_Operator)>("Register_Binary_Operator")(
        block, blockSize, operatorCode, leftType, rightType, resultType, op, userData, fingerprint);
}

void Unregister_Type(void* block) {
    Note(Kind::Type, false, block, nullptr);
    Evaluators<decltype(&Unregister_Type)>("Unregister_Type")(block);
}

void Unregister_Property(void* block) {
    Note(Kind::Property, false, block, nullptr);
    Evaluators<decltype(&Unregister_Property)>("Unregister_Property")(block);
}

void Unregister_Cast(void* block) {
    Note(Kind::Cast, false, block, nullptr);
    Evaluators<decltype(&Unregister_Cast)>("Unregister_Cast")(block);
}

void Unregister_Binary_Operator(void* block) {
    Note(Kind::Operator, false, block, nullptr);
    Evaluators<decltype(&Unregister_Binary_Operator)>("Unregister_Binary_Operator")(block);
}

} // extern "C"

namespace {

bool Registered(std::string const& kind, std::string const& phrase) {
    for (zor::PhraseInfo const& info : zor::listRegistrations()) {
        if (info.kind == kind && info.phrase == phrase) {
            return true;
        }
    }
    return false;
}

bool Loaded() {
    void* handle = dlopen(ZOR_PLUGIN_PATH, RTLD_NOW | RTLD_NOLOAD);
    if (handle) {
        dlclose(handle);
    }
    return handle != nullptr;
}

} // namespace

TEST(PluginLoading, UnloadWithdrawsEveryRegistrationOnceNewestFirst) {
    Calls().clear();
    LoadedPlugin plugin(ZOR_PLUGIN_PATH);
    std::vector<Seen> const registrations = Calls();
    ASSERT_FALSE(registrations.empty());
    auto const environment =
        std::find_if(registrations.begin(), registrations.end(),
                     [](Seen const& seen) { return seen.name == "environment"; });
    ASSERT_NE(environment, registrations.end());
    EXPECT_EQ(environment->kind, Kind::Type) << "a family registers its types first";
    for (Seen const& seen : registrations) {
        EXPECT_TRUE(seen.registering) << seen.name;
    }
    EXPECT_TRUE(Registered("type", "environment variable"));
    EXPECT_TRUE(Registered("iterated property", "variable"));

    Calls().clear();
    plugin.Unload();
    EXPECT_FALSE(Loaded()) << "the plug-in must really leave the process";
    std::vector<Seen> const withdrawals = Calls();
    ASSERT_EQ(withdrawals.size(), registrations.size());
    std::map<void*, int> perBlock;
    for (std::size_t i = 0; i < withdrawals.size(); ++i) {
        Seen const& registration = registrations[registrations.size() - 1 - i];
        EXPECT_FALSE(withdrawals[i].registering);
        EXPECT_EQ(withdrawals[i].block, registration.block) << "withdrawal " << i;
        EXPECT_EQ(withdrawals[i].kind, registration.kind) << "withdrawal " << i;
        ++perBlock[withdrawals[i].block];
    }
    for (auto const& [block, count] : perBlock) {
        EXPECT_EQ(count, 1);
    }
    EXPECT_FALSE(Registered("type", "environment variable"));
    EXPECT_FALSE(Registered("iterated property", "variable"));
}

TEST(PluginLoading, TheEvaluatorRefusesWithdrawnRegistrations) {
    auto plugin = std::make_unique<LoadedPlugin>(ZOR_PLUGIN_PATH);
    zor::Expression const bound = zor::Expression::compile("names of variables of environment");
    EXPECT_FALSE(bound.answers().empty());
    plugin->Unload();

    EXPECT_THROW(bound.answers(), zor::ExpressionError);
    EXPECT_THROW(zor::Expression::compile("names of variables of environment"),
                 zor::ExpressionError);

    LoadedPlugin again(ZOR_PLUGIN_PATH);
    EXPECT_FALSE(zor::Expression::compile("names of variables of environment").answers().empty())
        << "loading again registers afresh";
}
