#include "util/hex_encoder.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

std::string Text(Buffer const& out) {
    return out.Written().str();
}

TEST(HexEncoder, PendingDigitWaitsForRoom) {
    HexEncoder encoder;
    std::string const input = "\xab";
    ConstBuffer in{ConstData(input)};
    unsigned char room[4];
    Buffer one(Data(room, 1));
    encoder(in, one);
    Buffer none(Data(room, 0));
    encoder(in, none); // no room: the pending digit must not be lost
    Buffer again(Data(room, 4));
    encoder(in, again);
    EXPECT_EQ(Text(again), "b");
    Buffer after(Data(room, 4));
    encoder(in, after);
    EXPECT_EQ(Text(after), "");
}

// Collects everything it receives, counting the blocks.
class Collector : public DataReceiver {
public:
    void Start() override { ++starts; }
    void Receive(ConstData data) override {
        text.append(data.view());
        ++blocks;
    }
    void ReceiveEnd() override { ++ends; }
    std::string text;
    int starts = 0, blocks = 0, ends = 0;
};

TEST(HexEncoder, StreamsThroughOddSizedBlocks) {
    std::string input;
    for (int i = 0; i < 1000; ++i)
        input.push_back(static_cast<char>(i * 37));
    for (std::size_t blockSize : {1u, 3u, 7u, 64u, 5000u}) {
        HexEncoder encoder;
        Collector sink;
        FilterReceiver receiver(encoder, sink, blockSize);
        receiver.Start();
        for (std::size_t at = 0; at < input.size(); at += 11)
            receiver.Receive(ConstData(std::string_view(input).substr(at, 11)));
        receiver.ReceiveEnd();
        EXPECT_EQ(sink.text, HexEncode(ConstData(input))) << "block size " << blockSize;
        EXPECT_EQ(sink.starts, 1);
        EXPECT_EQ(sink.ends, 1);
    }
}

} // namespace
