#include "text/message_maker.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/text/chunks.h"

namespace {

using Strings = std::vector<std::string>;

class Collected {
public:
    MessageMaker Maker(std::string delimiter, std::size_t limit = MessageMaker::cDefaultLimit) {
        return MessageMaker(
            std::move(delimiter), [this](ConstData m) { got.push_back(m.str()); }, limit);
    }
    Strings Take() { return std::exchange(got, {}); }
    Strings got;
};

TEST(MessageMaker, CutsAtTheDelimiterHoweverTheStreamIsSplit) {
    struct Case {
        std::string delimiter;
        std::string text;
        Strings messages;
    } const cases[] = {
        {"\n\n", "a\n\nb\nc\n\n\n\nd", {"a", "b\nc", "", "d"}},
        {"\n\n", "a\n\n", {"a"}},
        {"\n\n", "", {}},
        {"--", "x---y--", {"x", "-y"}},
        {"abab", "xabababy", {"x", "aby"}},
        {std::string(1, '\0'), std::string("one\0two\0", 8), {"one", "two"}},
        {"END", "ENENDEND", {"EN", ""}},
    };
    for (Case const& c : cases) {
        Collected collected;
        MessageMaker maker = collected.Maker(c.delimiter);
        ForEachSplit(c.text, maker, [&] { EXPECT_EQ(collected.Take(), c.messages) << c.text; });
    }
}

TEST(MessageMaker, LimitsTheLengthOfAMessage) {
    Collected collected;
    MessageMaker maker = collected.Maker("|", 3);
    maker.Start();
    maker.Receive("abc|de");
    EXPECT_THROW(maker.Receive("ff"), MessageTooLong);
    maker.Start(); // starting again forgets the partial message
    EXPECT_THROW(maker.Receive("abcd|"), MessageTooLong);
    maker.Start();
    maker.Receive("abc");
    maker.ReceiveEnd();
    EXPECT_EQ(collected.Take(), (Strings{"abc", "abc"}));
    EXPECT_THROW(collected.Maker(""), std::invalid_argument);
}

} // namespace
