#include "url/percent.h"

#include <string>

#include <gtest/gtest.h>

namespace {

TEST(URLEncoder, EachComponentKeepsItsOwnCharacters) {
    std::string const text = "a b/c?d#e:f@g&h=i+j%k~";
    EXPECT_EQ(URLEncoder(URLComponent::Path)(text), "a%20b/c%3Fd%23e:f@g&h=i+j%25k~");
    EXPECT_EQ(URLEncoder(URLComponent::PathSegment)(text), "a%20b%2Fc%3Fd%23e:f@g&h=i+j%25k~");
    EXPECT_EQ(URLEncoder(URLComponent::Query)(text), "a%20b/c?d%23e:f@g&h=i+j%25k~");
    EXPECT_EQ(URLEncoder(URLComponent::Fragment)(text), "a%20b/c?d%23e:f@g&h=i+j%25k~");
    EXPECT_EQ(URLEncoder(URLComponent::UserInfo)(text), "a%20b%2Fc%3Fd%23e:f%40g&h=i+j%25k~");
    EXPECT_EQ(URLEncoder(URLComponent::Host)(text), "a%20b%2Fc%3Fd%23e%3Af%40g&h=i+j%25k~");
    EXPECT_EQ(URLEncoder(URLComponent::FormField)(text), "a%20b/c?d%23e:f@g%26h%3Di%2Bj%25k~");
}

TEST(URLEncoder, EscapesEveryByteOutsideASCIIInUpperCase) {
    std::string const bytes = {'\0', '\x1f', '\x7f', '\x80', '\xc3', '\xa9', '\xff'};
    EXPECT_EQ(URLEncoder(URLComponent::Path)(bytes), "%00%1F%7F%80%C3%A9%FF");
    EXPECT_EQ(URLEncoder(URLComponent::Path)(""), "");
}

TEST(URLDecoder, RoundTripsEveryByteThroughEveryComponent) {
    std::string all;
    for (int c = 0; c < 256; ++c)
        all.push_back(static_cast<char>(c));
    for (URLComponent component :
         {URLComponent::UserInfo, URLComponent::Host, URLComponent::PathSegment, URLComponent::Path,
          URLComponent::Query, URLComponent::Fragment, URLComponent::FormField}) {
        EXPECT_EQ(URLDecoder()(URLEncoder(component)(all)), all);
        EXPECT_EQ(URLDecoder(URLDecoder::Plus::Space)(URLEncoder(URLComponent::FormField)(all)),
                  all);
    }
}

TEST(URLDecoder, DecodesEitherCaseAndPlusOnlyInFormMode) {
    EXPECT_EQ(URLDecoder()("%41%6a%6A+b"), "Ajj+b");
    EXPECT_EQ(URLDecoder(URLDecoder::Plus::Space)("a+b%2B"), "a b+");
    EXPECT_EQ(URLDecoder()("no escapes"), "no escapes");
    EXPECT_EQ(URLDecoder()("%2525"), "%25"); // decodes once only
    std::string out = "kept:";
    URLDecoder().Append(out, "%20x");
    EXPECT_EQ(out, "kept: x");
}

TEST(URLDecoder, MalformedEscapesRaiseWithTheirPosition) {
    struct Case {
        char const* text;
        std::size_t position;
    } const cases[] = {{"%", 0},      {"a%4", 1},  {"ab%g1", 2}, {"%1g", 0},
                       {"ok%41%", 5}, {"% 41", 0}, {"%%41", 0},  {"%-1", 0}};
    for (Case const& c : cases) {
        try {
            URLDecoder()(c.text);
            ADD_FAILURE() << "accepted " << c.text;
        } catch (MalformedPercentEscape const& e) {
            EXPECT_EQ(e.Position(), c.position) << c.text;
            EXPECT_NE(std::string(e.what()).find(c.text), std::string::npos);
        }
    }
}

} // namespace
