#include <gtest/gtest.h>

#include "inspectors/selected_server/host_selector.h"

namespace {

std::vector<unsigned char> Written(HostSelectorEntry const& entry, std::size_t room) {
    std::vector<unsigned char> bytes(room);
    Buffer out(Data(bytes.data(), bytes.size()));
    out << entry;
    bytes.resize(out.Written().Length());
    return bytes;
}

HostSelectorEntry Read(std::vector<unsigned char> const& bytes) {
    ConstBuffer in(ConstData(bytes.data(), bytes.size()));
    HostSelectorEntry entry;
    in >> entry;
    EXPECT_TRUE(in.empty());
    return entry;
}

TEST(HostSelectorRecord, DefaultEntryFillsItsReservedLengthExactly) {
    HostSelectorEntry const entry("relay", Instant::First(), {0xC0000201, 52311}, 7, 9);
    ASSERT_EQ(FlattenedLength(entry), 5u + 112u);
    auto const bytes = Written(entry, FlattenedLength(entry));
    ASSERT_EQ(bytes.size(), 5u + 112u);
    std::vector<unsigned char> const head{0, 0, 0, 5, 'r', 'e', 'l', 'a', 'y'};
    EXPECT_TRUE(std::equal(head.begin(), head.end(), bytes.begin()));
    EXPECT_EQ(bytes[5 + 8], 0xC0);         // the address, big-endian
    EXPECT_EQ(bytes[5 + 18 + 10 + 3], 20); // the gateway count, capped
    EXPECT_THROW(Written(entry, FlattenedLength(entry) - 1), DataTooSmall);
}

TEST(HostSelectorRecord, ReadsBackTimesUnsignedAndDropsGatewaysPastTwenty) {
    HostSelectorEntry entry("h", Instant::Jan_1_1970_GMT() + TimeInterval::Seconds(-1), {}, 1, 2);
    auto bytes = Written(entry, FlattenedLength(entry));
    // Claim 25 gateways and append five more.
    bytes[bytes.size() - 81] = 25;
    for (int i = 0; i < 5 * 4; ++i)
        bytes.push_back(static_cast<unsigned char>(i));
    auto const read = Read(bytes);
    EXPECT_EQ(read.time, Instant::Jan_1_1970_GMT() + TimeInterval::Seconds(0xFFFFFFFFLL));
    EXPECT_EQ(read.priority, 1);
    EXPECT_EQ(read.GatewayAddresses().size(), 20u);

    bytes.resize(bytes.size() - 1);
    ConstBuffer truncated(ConstData(bytes.data(), bytes.size()));
    HostSelectorEntry ignored;
    EXPECT_THROW(truncated >> ignored, RecordTruncated);
}

TEST(HostSelectorDistance, OnlyReportsBetweenTheBoundsNarrowThem) {
    std::vector<HostSelectorEntry> entries(2);
    entries[0].address.ip = 0x0A000005;
    entries[1].address.ip = 0x0B000005;
    ClearDistanceInformation(entries);
    EXPECT_TRUE(entries[0].GatewayAddresses().empty());
    SetDistanceBySubnet(entries, 0x0A000001, 0xFF000000);
    EXPECT_EQ(entries[0].distanceLowerBound, 0);
    EXPECT_EQ(entries[0].distanceUpperBound, 0);
    EXPECT_EQ(entries[1].distanceLowerBound, 1);
    EXPECT_EQ(entries[1].GatewayAddresses()[0], 0x0A000001u);

    HostSelectorEntry bounded;
    bounded.distanceLowerBound = 3;
    bounded.distanceUpperBound = 10;
    bounded.RecordTimeExceeded(3, 1);
    EXPECT_EQ(bounded.distanceLowerBound, 3);
    bounded.RecordTimeExceeded(10, 1);
    EXPECT_EQ(bounded.distanceLowerBound, 3);
    bounded.RecordTimeExceeded(5, 0x01020304);
    EXPECT_EQ(bounded.distanceLowerBound, 5);
    EXPECT_EQ(bounded.gateways[4], 0x01020304u);

    IPAddress const gone[] = {0x0A000005};
    EraseAddresses(entries, gone);
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].address.ip, 0x0B000005u);
}

} // namespace
