#include "text/header_maker.h"

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/text/chunks.h"

namespace {

using Fields = std::vector<std::pair<std::string, std::string>>;

struct Recorder {
    HeaderMaker Maker(bool withBody = true) {
        return HeaderMaker(
            [this](std::string_view n, std::string_view v) { fields.emplace_back(n, v); },
            [this] { ++ends; },
            withBody ? HeaderMaker::BodyHandler([this](ConstData b) { body.append(b.view()); })
                     : HeaderMaker::BodyHandler());
    }
    void Reset() { *this = Recorder(); }
    Fields fields;
    int ends = 0;
    std::string body;
};

TEST(HeaderMaker, FieldsFoldsAndBodyInAnySplit) {
    struct Case {
        std::string text;
        Fields fields;
        std::string body;
    } const cases[] = {
        {"Host: example.com\r\nX-Empty:\r\n\r\nbody\r\n",
         {{"Host", "example.com"}, {"X-Empty", ""}},
         "body\r\n"},
        {"A:  one \n\t two\n   three  \nB:b\n\n", {{"A", "one two three"}, {"B", "b"}}, ""},
        {"A: x\r \r\n\r\n\n", {{"A", "x"}}, "\n"},    // a blank continuation adds nothing
        {"A: 1\nB: 2", {{"A", "1"}, {"B", "2"}}, ""}, // no final line end
        {"A: 1\n  more", {{"A", "1 more"}}, ""},      // ends inside a fold
        {"A: 1\r", {{"A", "1"}}, ""},                 // ends after a lone CR
        {"", {}, ""},
        {"\r\n\r\n", {}, "\r\n"}, // empty block, body is a line end
        {"V: caf\xc3\xa9 ok\n\n", {{"V", "caf\xc3\xa9 ok"}}, ""},
        {"Dup: 1\nDup: 2\n\n", {{"Dup", "1"}, {"Dup", "2"}}, ""},
    };
    for (Case const& c : cases) {
        Recorder recorder;
        HeaderMaker maker = recorder.Maker();
        ForEachSplit(c.text, maker, [&] {
            EXPECT_EQ(recorder.fields, c.fields) << c.text;
            EXPECT_EQ(recorder.body, c.body) << c.text;
            EXPECT_EQ(recorder.ends, 1) << c.text;
            EXPECT_TRUE(maker.Ended());
            recorder.Reset();
        });
    }
}

TEST(HeaderMaker, MalformedLinesNameTheirLine) {
    struct Case {
        char const* text;
        std::size_t line;
    } const cases[] = {
        {"A: 1\nno colon here\n\n", 2},
        {" leading: fold\n\n", 1},
        {"A: 1\nBad Name: x\n", 2},
        {"A : 1\n", 1},
        {": empty\n", 1},
        {"A: 1\nB: nul\x01here\n", 2},
        {"A: 1\n more\x7f\n", 2},
        {"A\xc3\xa9: x\n", 1},
    };
    for (Case const& c : cases) {
        Recorder recorder;
        HeaderMaker maker = recorder.Maker();
        maker.Start();
        try {
            maker.Receive(c.text);
            maker.ReceiveEnd();
            ADD_FAILURE() << "accepted " << c.text;
        } catch (HeaderFormatError const& e) {
            EXPECT_EQ(e.LineNumber(), c.line) << c.text << ": " << e.what();
        }
    }
}

TEST(HeaderMaker, DataAfterTheBlockNeedsABodyHandler) {
    Recorder recorder;
    HeaderMaker maker = recorder.Maker(false);
    maker.Start();
    maker.Receive("A: 1\n\n");
    EXPECT_TRUE(maker.Ended());
    EXPECT_THROW(maker.Receive("x"), HeaderFormatError);
    maker.Start();
    EXPECT_THROW(maker.Receive("A: 1\n\nx"), HeaderFormatError);
    EXPECT_EQ(recorder.fields, (Fields{{"A", "1"}, {"A", "1"}}));
}

TEST(HeaderMaker, FoldedValuesAreLimitedToo) {
    HeaderMaker maker([](std::string_view, std::string_view) {}, {}, {}, 10);
    maker.Start();
    maker.Receive("A: 12345\n 678\n");
    EXPECT_THROW(maker.Receive(" 9\n"), MessageTooLong);
}

} // namespace
