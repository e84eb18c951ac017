// The distinguished name's cache and waiting periods, on a clock the test
// moves.
#include <gtest/gtest.h>

#include <string>

#include "inspectors/system/active_directory.h"

namespace {

constexpr std::int64_t kHour = 3600;

class Cache : public testing::Test {
protected:
    // Asks `seconds` after the start: the name, or "" when there is none.
    std::string AskAt(std::int64_t seconds) {
        try {
            return cache.Get(start + TimeInterval::Seconds(seconds), [this] {
                ++lookups;
                if (fails)
                    throw ODOpenDirNodeFailed();
                return std::string("CN=WS01");
            });
        } catch (NoSuchObject const&) {
            return "";
        }
    }

    TimeMark const start = TimeMark::Now();
    DistinguishedNameCache cache;
    int lookups = 0;
    bool fails = false;
};

} // namespace

TEST_F(Cache, ASuccessServesTwelveHours) {
    EXPECT_EQ(AskAt(0), "CN=WS01");
    EXPECT_EQ(AskAt(12 * kHour - 1), "CN=WS01");
    EXPECT_EQ(lookups, 1);
    fails = true;
    EXPECT_EQ(AskAt(12 * kHour), "");
    EXPECT_EQ(lookups, 2);
    EXPECT_EQ(cache.ErrorMessage(), "dsOpenDirNode() failed");
}

TEST_F(Cache, FailuresWaitSixtySecondsAndAfterSixInARowSixtyMinutes) {
    fails = true;
    AskAt(0);
    AskAt(30);
    EXPECT_EQ(lookups, 1);
    for (int attempt = 1; attempt < 6; ++attempt)
        AskAt(61 * attempt);
    EXPECT_EQ(lookups, 6);

    std::int64_t const sixth = 61 * 5;
    AskAt(sixth + 61);
    AskAt(sixth + kHour - 1);
    EXPECT_EQ(lookups, 6);
    fails = false;
    EXPECT_EQ(AskAt(sixth + kHour), "CN=WS01");
    EXPECT_EQ(cache.ErrorMessage(), "");

    // A success clears the count: the next failure waits 60 seconds again.
    fails = true;
    std::int64_t const refresh = sixth + 13 * kHour;
    AskAt(refresh);
    AskAt(refresh + 61);
    EXPECT_EQ(lookups, 9);
}
