// The distinguished name's cache and waiting periods on a clock the tests
// move, and the directory phrases against a stand-in directory.
#include <gtest/gtest.h>

#include <string>

#include "inspectors/system/active_directory.h"
#include "platform/linux/directory.h"
#include "tests/system/ask.h"

using system_test::Ask;
using system_test::One;

namespace {

// A lookup that counts its calls and fails while `fails` is set.
struct CountingLookup {
    int calls = 0;
    bool fails = false;
    std::string operator()() {
        ++calls;
        if (fails)
            throw ODOpenDirNodeFailed();
        return "CN=WS01,DC=zor,DC=test";
    }
};

class Cache : public testing::Test {
protected:
    // Asks `seconds` after the start; whether a name came back.
    bool AskAt(std::int64_t seconds) {
        try {
            cache.Get(start + TimeInterval::Seconds(seconds), [this] { return lookup(); });
            return true;
        } catch (NoSuchObject const&) {
            return false;
        }
    }

    TimeMark const start = TimeMark::Now();
    DistinguishedNameCache cache;
    CountingLookup lookup;
};

class FakeDirectory : public platform::DirectorySource {
public:
    TimeMark now = TimeMark::Now();
    mutable CountingLookup lookup;
    TimeMark Now() const override { return now; }
    std::string LocalComputerDistinguishedName() const override { return lookup(); }
};

} // namespace

TEST_F(Cache, ASuccessServesTwelveHours) {
    EXPECT_TRUE(AskAt(0));
    EXPECT_TRUE(AskAt(1));
    EXPECT_EQ(lookup.calls, 1);
    EXPECT_TRUE(AskAt(12 * 3600 - 1));
    EXPECT_EQ(lookup.calls, 1);
    EXPECT_TRUE(AskAt(12 * 3600));
    EXPECT_EQ(lookup.calls, 2);
    EXPECT_EQ(cache.ErrorMessage(), "");
}

TEST_F(Cache, AFailureIsRetriedAfterSixtySeconds) {
    lookup.fails = true;
    EXPECT_FALSE(AskAt(0));
    EXPECT_EQ(cache.ErrorMessage(), "dsOpenDirNode() failed");
    EXPECT_FALSE(AskAt(30));
    EXPECT_EQ(lookup.calls, 1);
    lookup.fails = false;
    EXPECT_TRUE(AskAt(61));
    EXPECT_EQ(lookup.calls, 2);
    EXPECT_EQ(cache.ErrorMessage(), "");
}

TEST_F(Cache, AfterSixFailuresInARowRetriesWaitSixtyMinutes) {
    lookup.fails = true;
    for (int attempt = 0; attempt < 6; ++attempt) {
        EXPECT_FALSE(AskAt(61 * attempt));
    }
    EXPECT_EQ(lookup.calls, 6);
    std::int64_t const sixth = 61 * 5;
    EXPECT_FALSE(AskAt(sixth + 61));
    EXPECT_FALSE(AskAt(sixth + 3599));
    EXPECT_EQ(lookup.calls, 6);
    lookup.fails = false;
    EXPECT_TRUE(AskAt(sixth + 3600));
    EXPECT_EQ(lookup.calls, 7);

    // A success clears the count: the next failure waits 60 seconds again.
    lookup.fails = true;
    std::int64_t const refresh = sixth + 3600 + 12 * 3600;
    EXPECT_FALSE(AskAt(refresh));
    EXPECT_FALSE(AskAt(refresh + 61));
    EXPECT_EQ(lookup.calls, 9);
}

TEST(ActiveDirectoryPhrases, AnswerFromTheCachedLookup) {
    FakeDirectory directory;
    platform::ScopedDirectorySource const installed(directory);
    directory.lookup.fails = true;
    EXPECT_EQ(One("exists distinguished name of local computer of active directory"), "False");
    EXPECT_EQ(One("distinguished name error message of local computer of active directory"),
              "dsOpenDirNode() failed");
    EXPECT_EQ(directory.lookup.calls, 1);

    directory.lookup.fails = false;
    directory.now = directory.now + TimeInterval::Seconds(61);
    EXPECT_EQ(Ask("distinguished names of local computers of active directories"),
              system_test::Answers{"CN=WS01,DC=zor,DC=test"});
    EXPECT_EQ(One("distinguished name error message of local computer of active directory"), "");
    EXPECT_EQ(directory.lookup.calls, 2);
}
