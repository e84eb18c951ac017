#include "text/line_maker.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/text/chunks.h"

namespace {

using Strings = std::vector<std::string>;

TEST(LineMaker, EveryLineEndingInAnySplit) {
    struct Case {
        std::string text;
        Strings lines;
    } const cases[] = {
        {"a\nb\r\nc\rd", {"a", "b", "c", "d"}},
        {"a\n", {"a"}},
        {"a\r", {"a"}},
        {"a\r\n", {"a"}},
        {"\r\n\r\n", {"", ""}},
        {"\n\r", {"", ""}},   // LF then a lone CR
        {"\r\r\n", {"", ""}}, // CR, then CRLF
        {"\n\n\n", {"", "", ""}},
        {"no end", {"no end"}},
        {"", {}},
    };
    for (Case const& c : cases) {
        Strings got;
        LineMaker maker([&](ConstData line) { got.push_back(line.str()); });
        ForEachSplit(c.text, maker, [&] {
            EXPECT_EQ(got, c.lines) << "text of " << c.text.size() << " bytes";
            EXPECT_EQ(maker.LineCount(), c.lines.size());
            got.clear();
        });
    }
}

TEST(LineMaker, LimitsLineLength) {
    Strings got;
    LineMaker maker([&](ConstData line) { got.push_back(line.str()); }, 4);
    maker.Start();
    maker.Receive("1234\n12");
    maker.Receive("34\r");
    EXPECT_THROW(maker.Receive("12345"), MessageTooLong);
    maker.Start();
    EXPECT_THROW(maker.Receive("12345\n"), MessageTooLong);
    EXPECT_EQ(got, (Strings{"1234", "1234"}));
}

TEST(LineMaker, FeedStopsAfterTheLineThatAskedForIt) {
    Strings got;
    LineMaker* self = nullptr;
    LineMaker maker([&](ConstData line) {
        got.push_back(line.str());
        if (line.view() == "stop")
            self->Stop();
    });
    self = &maker;
    maker.Start();
    EXPECT_EQ(maker.Feed("a\r\nstop\r\nrest\n"), 9u);
    EXPECT_EQ(got, (Strings{"a", "stop"}));
    // A CR at the end of one chunk and LF at the start of the next are one ending.
    got.clear();
    maker.Start();
    EXPECT_EQ(maker.Feed("stop\r"), 5u);
    EXPECT_TRUE(got.empty());
    EXPECT_EQ(maker.Feed("\nrest"), 1u);
    EXPECT_EQ(got, (Strings{"stop"}));
}

} // namespace
