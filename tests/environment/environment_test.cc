// The environment family through the thunks it registers: the registration
// table, iteration that stops at the first malformed or empty-valued entry,
// lookup by name with its length limit, and the string form. Runs against an
// environment the test installs.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "evaluator/errors.h"
#include "inspectors/environment/environment.h"
#include "tests/environment/scoped_environment.h"
#include "tests/framework/fake_registry.h"

using fake::Call;
using fake::Record;

namespace {

std::string Text(inspector_string const& s) {
    return std::string(reinterpret_cast<char const*>(s.pointer), s.length);
}

Record const& Registered(Call call, std::string const& phrase, std::string const& objectType) {
    for (Record const& record : fake::Log()) {
        if (record.call == call && record.phrase == phrase && record.objectType == objectType) {
            return record;
        }
    }
    throw std::runtime_error("not registered: " + phrase);
}

environment World() {
    Record const& r = Registered(Call::RegisterProperty, "environment", "");
    alignas(std::max_align_t) unsigned char slot[16];
    r.get(slot, nullptr, nullptr, nullptr, r.userData);
    return *reinterpret_cast<environment const*>(slot);
}

// Every variable the iterated property yields, as the evaluator walks it.
std::vector<environment_variable> Variables() {
    Record const& r = Registered(Call::RegisterIteratedProperty, "variable", "environment");
    environment const env = World();
    alignas(std::max_align_t) unsigned char state[sizeof(environment_var_iterator)];
    r.construct(state);
    std::vector<environment_variable> variables;
    environment_variable variable{};
    try {
        r.first(&variable, nullptr, &env, state, r.userData);
        for (;;) {
            variables.push_back(variable);
            r.next(&variable, nullptr, &env, state, r.userData);
        }
    } catch (NoSuchObject const&) {
    }
    r.destroy(state);
    return variables;
}

std::vector<std::string> Names() {
    std::vector<std::string> names;
    for (environment_variable const& v : Variables()) {
        names.push_back(Text(v.name));
    }
    return names;
}

environment_variable Lookup(std::string const& name) {
    Record const& r = Registered(Call::RegisterProperty, "variable", "environment");
    environment const env = World();
    inspector_string index{reinterpret_cast<unsigned char const*>(name.data()),
                           static_cast<std::uint32_t>(name.size())};
    environment_variable variable{};
    r.get(&variable, &index, &env, nullptr, r.userData);
    return variable;
}

std::string PropertyOf(char const* phrase, environment_variable const& variable) {
    Record const& r = Registered(Call::RegisterProperty, phrase, "environment variable");
    inspector_string result{};
    r.get(&result, nullptr, &variable, nullptr, r.userData);
    return Text(result);
}

std::string StringOf(environment_variable const& variable) {
    Record const& r = Registered(Call::RegisterCast, "string", "environment variable");
    inspector_string result{};
    r.cast(&result, &variable, r.userData);
    return Text(result);
}

} // namespace

// Phrases and types are exercised end to end; what the evaluator never shows
// is the order, the sizes and the absent fingerprints.
TEST(EnvironmentRegistrations, RegisterTheFamilyInOrder) {
    std::vector<Record> const& log = fake::Log();
    ASSERT_GE(log.size(), 8u);
    EXPECT_EQ(log[0].call, Call::RegisterType);
    EXPECT_EQ(log[0].phrase, "environment");
    EXPECT_EQ(log[0].valueSize, 1u);
    EXPECT_EQ(log[0].blockSize, 512u);
    EXPECT_FALSE(log[0].baseName.has_value());
    EXPECT_EQ(log[1].call, Call::RegisterType);
    EXPECT_EQ(log[1].phrase, "environment variable");
    EXPECT_EQ(log[1].valueSize, sizeof(environment_variable));

    Call const calls[] = {Call::RegisterProperty, Call::RegisterIteratedProperty,
                          Call::RegisterProperty, Call::RegisterProperty,
                          Call::RegisterProperty, Call::RegisterCast};
    char const* const phrases[] = {"environment", "variable", "variable",
                                   "name",        "value",    "string"};
    for (std::size_t i = 0; i < std::size(calls); ++i) {
        Record const& r = log[i + 2];
        EXPECT_EQ(r.call, calls[i]) << i;
        EXPECT_EQ(r.phrase, phrases[i]) << i;
        EXPECT_EQ(r.blockSize, 128u) << i;
        EXPECT_EQ(r.fingerprint, nullptr) << i;
    }
    EXPECT_EQ(log[3].stateSize, sizeof(environment_var_iterator));
}

// Names, values and string forms are checked end to end; here only that
// nothing is copied, and what the string form allocates.
TEST(EnvironmentVariables, NamesAndValuesPointIntoTheEntries) {
    ScopedEnvironment env({"HOME=/Users/x", "A=b=c", "EMPTY=", "AFTER=1"});
    fake::AllocationSizes().clear();
    std::vector<environment_variable> variables = Variables();
    ASSERT_EQ(variables.size(), 2u);
    EXPECT_EQ(reinterpret_cast<char const*>(variables[1].name.pointer), env.Entry(1));
    EXPECT_EQ(reinterpret_cast<char const*>(variables[1].value.pointer), env.Entry(1) + 2);
    EXPECT_EQ(PropertyOf("value", variables[1]), "b=c");
    EXPECT_EQ(StringOf(variables[0]), "HOME = /Users/x");
    EXPECT_EQ(StringOf(variables[1]), "A = b=c");
    EXPECT_EQ(fake::AllocationSizes(), (std::vector<unsigned long>{4 + 8 + 3, 1 + 3 + 3}));
}

TEST(EnvironmentVariables, MalformedEntriesEndTheIteration) {
    {
        ScopedEnvironment env({"X=1", "NOEQUALS", "Y=2"});
        EXPECT_EQ(Names(), std::vector<std::string>{"X"});
    }
    {
        ScopedEnvironment env({"=nameless", "Y=2"});
        EXPECT_TRUE(Names().empty());
    }
    {
        ScopedEnvironment env({});
        EXPECT_TRUE(Names().empty()) << "an empty environment ends at First";
        EXPECT_NO_THROW(World()) << "the environment itself always exists";
    }
}

TEST(EnvironmentVariables, FirstReloadsTheLiveEnvironment) {
    ScopedEnvironment first({"ONE=1", "TWO=2"});
    Record const& r = Registered(Call::RegisterIteratedProperty, "variable", "environment");
    environment const world = World();
    alignas(environment_var_iterator) unsigned char state[sizeof(environment_var_iterator)];
    r.construct(state);
    {
        ScopedEnvironment second({"THREE=3"});
        environment_variable variable{};
        r.first(&variable, nullptr, &world, state, r.userData);
        EXPECT_EQ(Text(variable.name), "THREE") << "First reloads the array";
        EXPECT_THROW(r.next(&variable, nullptr, &world, state, r.userData), NoSuchObject);
    }
    r.destroy(state);
}

TEST(EnvironmentLookup, FindsSetNamesAndRefusesOthers) {
    std::string const longest(2047, 'L');
    std::string const tooLong(2048, 'T');
    ScopedEnvironment env({"HOME=/Users/x", longest + "=yes", tooLong + "=no", "=orphan"});

    environment_variable home = Lookup("HOME");
    EXPECT_EQ(PropertyOf("value", home), "/Users/x");
    EXPECT_EQ(reinterpret_cast<char const*>(home.value.pointer), env.Entry(0) + 5)
        << "the value points into the environment block";

    EXPECT_EQ(PropertyOf("value", Lookup(longest)), "yes");
    EXPECT_THROW(Lookup(tooLong), NoSuchObject) << "a 2048-byte name is never looked up";
    EXPECT_THROW(Lookup(""), NoSuchObject);
    EXPECT_THROW(variable_of(nullptr, 0, environment{}), NoSuchObject);
}

TEST(EnvironmentLookup, TheNameIsTheCallersIndexBytes) {
    ScopedEnvironment env({"HOME=/Users/x"});
    std::string const index("HOME\0tail", 9);
    environment_variable home = variable_of(reinterpret_cast<unsigned char const*>(index.data()),
                                            index.size(), environment{});
    EXPECT_EQ(static_cast<void const*>(home.name.pointer), static_cast<void const*>(index.data()));
    EXPECT_EQ(home.name.length, 9u) << "looked up to the NUL, named by the whole index";
    EXPECT_EQ(Text(home.value), "/Users/x");
}
