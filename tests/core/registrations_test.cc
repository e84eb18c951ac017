// The core registrations called through their thunks as the evaluator calls
// them, against the recording registry: what answers cannot show (empty slots
// call nothing, fingerprints, unequal time ranges), and the numeral helpers no
// phrase shows whole.
#include <gtest/gtest.h>

#include <limits>

#include "evaluator/core/registrar.h"
#include "evaluator/helpers.h"
#include "tests/framework/fake_registry.h"

namespace {

using fake::Record;

class CoreRegistrations : public ::testing::Test {
protected:
    void TearDown() override { fake::ReleaseEvaluationMemory(); }
};

TEST_F(CoreRegistrations, WithoutAResultSlotNothingRunsButANegativeIndexIsStillNoObject) {
    inspector_string subject = fake::View("abc");
    inspector_string missing = fake::View("zzz");
    integer minusOne = -1, zero = 0, one = 1;
    Record const& firstText = fake::Property("first", "string", "string");
    EXPECT_NO_THROW(firstText.get(nullptr, &missing, &subject, nullptr, firstText.userData));
    Record const& asTime = fake::Cast("time", "string");
    EXPECT_NO_THROW(asTime.cast(nullptr, &missing, asTime.userData));
    Record const& divide = fake::Operator(kOperatorDivide, "integer", "integer");
    EXPECT_NO_THROW(divide.op(nullptr, &one, &zero, divide.userData));
    Record const& first = fake::Property("first", "integer", "string");
    EXPECT_NO_THROW(first.get(nullptr, &zero, &subject, nullptr, first.userData));
    EXPECT_THROW(first.get(nullptr, &minusOne, &subject, nullptr, first.userData), NoSuchObject);
}

TEST_F(CoreRegistrations, VersionComponentsAreAlignedInEvaluationMemory) {
    version v = fake::CastValue<version>("version", "string", fake::View("3.14.159"));
    ASSERT_EQ(v.count, 3u);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(v.components) % alignof(std::uint64_t), 0u);
    EXPECT_EQ(v.components[2], 159u);
}

// Their text, ends and length show in the usage transcript.
TEST_F(CoreRegistrations, TimeRangesAreEqualWhenBothEndsAre) {
    moment t{5000000};
    time_range const range{t, t + hour_of()}, instant{t, t};
    Record const& equal = fake::Operator(kOperatorEqual, "time range", "time range");
    boolean same = false;
    equal.op(&same, &range, &range, equal.userData);
    EXPECT_TRUE(same);
    equal.op(&same, &range, &instant, equal.userData);
    EXPECT_FALSE(same);
}

// "now" follows the clock in the time transcripts.
TEST_F(CoreRegistrations, OnlyTheUnitsHaveFingerprints) {
    EXPECT_EQ(fake::Property("now", "", "").fingerprint, nullptr);
    EXPECT_NE(fake::Property("day", "", "").fingerprint, nullptr);
}

integer Twice(integer const& n) {
    return n * 2;
}

TEST_F(CoreRegistrations, RegistrationObjectsWithdrawOnDestruction) {
    std::size_t before = fake::Live().size();
    {
        zor::core::CastRegistration<integer, integer> twice("twice", &Twice);
        EXPECT_EQ(fake::Live().size(), before + 1);
        EXPECT_EQ(fake::CastValue<integer>("twice", "integer", integer{21}), 42);
    }
    EXPECT_EQ(fake::Live().size(), before);
    EXPECT_THROW(fake::Cast("twice", "integer"), std::logic_error);
}

TEST(CoreNumerals, ReadUnsigned32BitAndWriteInAnyBase) {
    EXPECT_EQ(ReadAsciiDecimalNumeral("4294967295"), 4294967295u);
    EXPECT_EQ(ReadAsciiDecimalNumeral("007"), 7u);
    for (char const* bad : {"", "4294967296", "-1", "+1", " 1", "12a"})
        EXPECT_THROW(ReadAsciiDecimalNumeral(bad), MalformedText) << bad;
    EXPECT_EQ(Numeral(std::numeric_limits<std::uint64_t>::max()).view(), "18446744073709551615");
    EXPECT_EQ(Numeral(5u, 2).view(), "101");
    EXPECT_STREQ(Numeral(1234).c_str(), "1234");
    EXPECT_THROW(Numeral(1, 1), std::invalid_argument);
    EXPECT_THROW(Numeral(1, 17), std::invalid_argument);
}

} // namespace
