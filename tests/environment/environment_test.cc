// The environment family through the thunks it registers, for what no
// transcript shows: no fingerprints, values that point into the environment
// block, what the string form allocates, reloading on every walk, and the
// length limit of a lookup by name.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "evaluator/errors.h"
#include "inspectors/environment/environment.h"
#include "tests/environment/scoped_environment.h"
#include "tests/framework/fake_registry.h"

using fake::Record;

namespace {

// Every variable the registered iteration yields.
std::vector<environment_variable> Variables() {
    environment const env{};
    return fake::Iterate<environment_variable>(fake::Property("variable", "", "environment"),
                                               nullptr, &env);
}

environment_variable Lookup(std::string const& name) {
    return variable_of(reinterpret_cast<unsigned char const*>(name.data()), name.size(),
                       environment{});
}

} // namespace

// The environment changes between evaluations: no answer may be kept.
TEST(EnvironmentRegistrations, NoneHasAFingerprint) {
    for (Record const& r : fake::Log())
        EXPECT_EQ(r.fingerprint, nullptr) << r.phrase;
}

TEST(EnvironmentVariables, PointIntoTheEntriesAndTheStringFormAllocatesOnce) {
    ScopedEnvironment env({"HOME=/Users/x", "A=b=c"});
    fake::allocationSizes.clear();
    std::vector<environment_variable> variables = Variables();
    ASSERT_EQ(variables.size(), 2u);
    EXPECT_EQ(reinterpret_cast<char const*>(variables[1].name.pointer), env.Entry(1));
    EXPECT_EQ(reinterpret_cast<char const*>(variables[1].value.pointer), env.Entry(1) + 2);
    Record const& cast = fake::Cast("string", "environment variable");
    inspector_string text{};
    cast.cast(&text, &variables[0], cast.userData);
    EXPECT_EQ(fake::Text(text), "HOME = /Users/x");
    EXPECT_EQ(fake::allocationSizes, std::vector<unsigned long>{4 + 8 + 3});
}

TEST(EnvironmentVariables, EveryWalkReloadsTheLiveEnvironment) {
    ScopedEnvironment first({"ONE=1", "TWO=2"});
    environment_var_iterator walk;
    ScopedEnvironment second({"THREE=3"});
    EXPECT_EQ(fake::Text(walk.First(environment{}).name), "THREE");
    EXPECT_THROW(walk.Next(environment{}), NoSuchObject);
}

TEST(EnvironmentLookup, NamesUpTo2047BytesAndTheCallersIndexBytes) {
    std::string const longest(2047, 'L');
    std::string const tooLong(2048, 'T');
    ScopedEnvironment env({"HOME=/Users/x", longest + "=yes", tooLong + "=no"});
    EXPECT_EQ(fake::Text(Lookup(longest).value), "yes");
    EXPECT_THROW(Lookup(tooLong), NoSuchObject);
    EXPECT_EQ(reinterpret_cast<char const*>(Lookup("HOME").value.pointer), env.Entry(0) + 5);

    std::string const index("HOME\0tail", 9);
    environment_variable const home = Lookup(index);
    EXPECT_EQ(static_cast<void const*>(home.name.pointer), static_cast<void const*>(index.data()));
    EXPECT_EQ(home.name.length, 9u) << "looked up to the NUL, named by the whole index";
    EXPECT_EQ(fake::Text(home.value), "/Users/x");
}
