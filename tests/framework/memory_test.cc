// Strings in evaluator memory, narrowing, and the composite tuple and
// timed-value types.
#include <gtest/gtest.h>

#include <string>

#include "framework/memory.h"
#include "framework/tuples.h"
#include "tests/framework/fake_registry.h"

TEST(InspectorMemory, CopyRequestsExactlyTheLengthAndCopies) {
    fake::allocationSizes.clear();
    inspector_string empty = CopyToInspectorString(ConstData());
    EXPECT_EQ(empty.length, 0u);
    EXPECT_EQ(fake::allocationSizes, std::vector<unsigned long>{0});

    std::string const expected("bytes\0here!", 11);
    std::string source = expected;
    inspector_string copy = CopyToInspectorString(ConstData(source));
    EXPECT_EQ(fake::allocationSizes.back(), source.size());
    EXPECT_NE(static_cast<void const*>(copy.pointer), static_cast<void const*>(source.data()));
    source[0] = 'X';
    EXPECT_EQ(fake::Text(copy), expected) << "the copy does not follow the source";
}

TEST(InspectorMemory, NarrowingKeepsTheLowBits) {
    EXPECT_EQ(Asuint8(300), 44);
    EXPECT_EQ(Asuint8(-1), 255);
    EXPECT_EQ(Asuint16(70000L), 4464);
    EXPECT_EQ(Asuint32(-1LL), 0xFFFFFFFFu);
    EXPECT_EQ(Asuint32(0x1'2345'6789ULL), 0x2345'6789u);
    EXPECT_EQ(Asint32(0x1'0000'0005UL), 5);
    EXPECT_EQ(Asint32(0xFFFF'FFFFLL), -1);
}

// The names themselves show in the binding transcripts.
TEST(Tuples, TypeNamesAreBuiltOnce) {
    fake::tupleNameRequests.clear();
    EXPECT_EQ(TimedValue<integer>::TypeName(), TimedValue<integer>::TypeName());
    EXPECT_EQ(fake::tupleNameRequests,
              (std::vector<std::pair<std::string, std::string>>{{"time range", "integer"}}));
}

TEST(Tuples, TimedValueCopiesItsMembersIntoEvaluatorMemory) {
    fake::allocationSizes.clear();
    time_range range{{100}, {200}};
    integer count = 17;
    TimedValue<integer> timed = CopyToTimedValue(range, count);
    EXPECT_EQ(fake::allocationSizes, (std::vector<unsigned long>{8, 16}));
    range.start.microseconds = 0;
    count = 0;

    tuple_node const& head = timed.Head();
    ASSERT_NE(head.value, nullptr);
    EXPECT_NE(head.value, &range);
    auto const* copiedRange = static_cast<time_range const*>(head.value);
    EXPECT_EQ(copiedRange->start.microseconds, 100);
    EXPECT_EQ(copiedRange->end.microseconds, 200);
    ASSERT_NE(head.next, nullptr);
    EXPECT_EQ(*static_cast<integer const*>(head.next->value), 17);
    EXPECT_EQ(head.next->next, nullptr);

    // A copy placed in a result slot chains to its own second node.
    alignas(TimedValue<integer>) unsigned char slot[sizeof(TimedValue<integer>)];
    auto* placed = ::new (slot) TimedValue<integer>(timed);
    EXPECT_NE(placed->Head().next, head.next);
    EXPECT_GE(static_cast<void const*>(placed->Head().next), static_cast<void const*>(slot));
    EXPECT_LT(static_cast<void const*>(placed->Head().next),
              static_cast<void const*>(slot + sizeof slot));
    EXPECT_EQ(placed->Head().next->value, head.next->value);
    placed->~TimedValue<integer>();
}
