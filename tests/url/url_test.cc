#include "url/url.h"

#include <string>

#include <gtest/gtest.h>

namespace {

TEST(URLInfo, SplitsEveryComponent) {
    URLInfo info = URLInfo::Parse("HTTP://us%65r:pw@Example.COM:8080/a/b%2fc?q=1&r=%7e#frag/?");
    EXPECT_EQ(info.scheme, "http");
    EXPECT_TRUE(info.hasAuthority);
    EXPECT_EQ(info.userInfo, "user:pw");
    EXPECT_EQ(info.host, "example.com");
    EXPECT_EQ(info.hostKind, HostKind::RegName);
    EXPECT_EQ(info.port, 8080);
    EXPECT_EQ(info.path, "/a/b%2Fc");
    EXPECT_EQ(info.query, "q=1&r=~");
    EXPECT_EQ(info.fragment, "frag/?");
    EXPECT_EQ(info.ToString(), "http://user:pw@example.com:8080/a/b%2Fc?q=1&r=~#frag/?");
}

TEST(URLInfo, AbsentAndEmptyComponentsDiffer) {
    // The recomposed text shows which components are present.
    EXPECT_EQ(URLInfo::Parse("s:p").ToString(), "s:p");
    URLInfo empties = URLInfo::Parse("s://@:?#");
    EXPECT_FALSE(empties.port); // an empty port is no port
    EXPECT_EQ(empties.ToString(), "s://@?#");
    EXPECT_EQ(URLInfo::Parse("file:///").host, "");
    EXPECT_EQ(URLInfo::Parse("file:///").path, "/");
}

TEST(URLInfo, HostKinds) {
    EXPECT_EQ(URLInfo::Parse("//192.168.0.1").hostKind, HostKind::IPv4);
    EXPECT_EQ(URLInfo::Parse("//0.0.0.0:1").hostKind, HostKind::IPv4);
    // Not dotted-decimal octets: a registered name that merely looks numeric.
    EXPECT_EQ(URLInfo::Parse("//256.1.1.1").hostKind, HostKind::RegName);
    EXPECT_EQ(URLInfo::Parse("//01.1.1.1").hostKind, HostKind::RegName);
    EXPECT_EQ(URLInfo::Parse("//1.1.1").hostKind, HostKind::RegName);
    EXPECT_EQ(URLInfo::Parse("//1.1.1.1.").hostKind, HostKind::RegName);

    URLInfo v6 = URLInfo::Parse("http://[FE80::1]:443/x");
    EXPECT_EQ(v6.hostKind, HostKind::IPv6);
    EXPECT_EQ(v6.ToString(), "http://[fe80::1]:443/x");
    EXPECT_EQ(URLInfo::Parse("//[::ffff:1.2.3.4]").hostKind, HostKind::IPv6);
    URLInfo future = URLInfo::Parse("//[v1F.a:b]");
    EXPECT_EQ(future.hostKind, HostKind::IPvFuture);
    EXPECT_EQ(future.ToString(), "//[v1f.a:b]");
}

TEST(URLInfo, RelativeReferences) {
    URLInfo ref = URLInfo::Parse("../a/b?x#y");
    EXPECT_TRUE(ref.IsRelative());
    EXPECT_FALSE(ref.hasAuthority);
    EXPECT_EQ(ref.path, "../a/b");
    EXPECT_EQ(URLInfo::Parse("").ToString(), "");
    EXPECT_EQ(URLInfo::Parse("#f").fragment, "f");
    EXPECT_EQ(URLInfo::Parse("a/b:c").path, "a/b:c"); // a colon after the first '/' is data
    EXPECT_EQ(URLInfo::Parse("./a:b").path, "./a:b");
}

TEST(URLInfo, NormalisesEscapes) {
    // Unreserved characters are unescaped; others get upper-case hex.
    EXPECT_EQ(URLInfo::Parse("s:/%7e%41%2f%c3%a9").path, "/~A%2F%C3%A9");
    EXPECT_EQ(URLInfo::Parse("//h%4F%2e%c3%A9").host, "ho.%C3%A9");
}

TEST(URLInfo, MalformedTextIsRefusedWithPosition) {
    struct Case {
        char const* text;
        std::size_t position;
    } const cases[] = {
        {"http://ex ample.com/", 9},     // space in host
        {"http://h/a b", 10},            // space in path
        {"http://h/%zz", 9},             // malformed escape
        {"http://h/%4", 9},              // truncated escape
        {"http://h?%", 9},               // truncated escape in query
        {"1http://h", 0},                // scheme must start with a letter
        {":x", 0},                       // empty scheme
        {"ht_tp://h", 2},                // bad scheme character
        {"http://h:8x/", 9},             // non-digit port
        {"http://h:65536/", 9},          // port out of range
        {"http://h:1:2/", 9},            // second colon
        {"http://[::1/", 7},             // unterminated literal
        {"http://[::g]/", 8},            // bad IPv6
        {"http://[fe80::1%25eth0]/", 8}, // zone identifiers are not supported
        {"http://[::1]x/", 12},          // text after the literal
        {"http://[v.x]/", 8},            // future literal without version
        {"http://a@b@c/", 10},           // a second '@' lands in the host
        {"http://h/#a#b", 11},           // '#' in the fragment
        {"http://h/\x80", 9},            // raw non-ASCII byte
        {"http://h/<>", 9},              // characters outside the URL set
        {"http://h/a\\b", 10},           // backslash
    };
    for (auto const& c : cases) {
        try {
            URLInfo::Parse(c.text);
            ADD_FAILURE() << "accepted " << c.text;
        } catch (MalformedURL const& e) {
            EXPECT_EQ(e.Position(), c.position) << c.text << ": " << e.what();
        }
    }
}

TEST(URLInfo, PortsWithLeadingZerosAndLimits) {
    EXPECT_EQ(URLInfo::Parse("//h:0").port, 0);
    EXPECT_EQ(URLInfo::Parse("//h:65535").port, 65535);
    EXPECT_EQ(URLInfo::Parse("//h:00000000080").port, 80);
    EXPECT_THROW(URLInfo::Parse("//h:99999999999999999999"), MalformedURL);
}

TEST(URL, NeedsASchemeAndReadsDefaults) {
    EXPECT_THROW(URL::Parse("//host/path"), MalformedURL);
    EXPECT_THROW(URL::Parse("relative"), MalformedURL);
    URL url = URL::Parse("HTTPS://Host/a%20b");
    EXPECT_EQ(url.Text(), "https://host/a%20b");
    EXPECT_EQ(url.Scheme(), "https");
    EXPECT_EQ(url.Host(), "host");
    EXPECT_EQ(url.PortOrDefault(), 443);
    EXPECT_EQ(url.Path().Segments(), std::vector<std::string>{"a b"});
    EXPECT_EQ(URL::Parse("http://h:81").PortOrDefault(), 81);
    EXPECT_FALSE(URL::Parse("gopher://h").PortOrDefault());
    EXPECT_EQ(URL::Parse("http://h/%7E"), URL::Parse("HTTP://H/~"));
}

TEST(URL, ComponentsMustReadBackAsThemselves) {
    URLInfo info = URLInfo::Parse("http://h/p");
    info.path = "/a?b";
    EXPECT_THROW(URL{info}, MalformedURL);
    info = URLInfo::Parse("http://h/p");
    info.host = "a/b";
    EXPECT_THROW(URL{info}, MalformedURL);
    info = URLInfo::Parse("s:p");
    info.path = "//x";
    EXPECT_THROW(URL{info}, MalformedURL);
}

// The normal and abnormal examples of RFC 3986, section 5.4, less those
// that take the same path through the code as another.
TEST(URL, ResolvesReferencesLikeTheRFCExamples) {
    URL base = URL::Parse("http://a/b/c/d;p?q");
    struct Case {
        char const* reference;
        char const* target;
    } const cases[] = {
        {"g:h", "g:h"},
        {"g", "http://a/b/c/g"},
        {"./g", "http://a/b/c/g"},
        {"g/", "http://a/b/c/g/"},
        {"/g", "http://a/g"},
        {"//g", "http://g"},
        {"?y", "http://a/b/c/d;p?y"},
        {"g?y", "http://a/b/c/g?y"},
        {"#s", "http://a/b/c/d;p?q#s"},
        {"g#s", "http://a/b/c/g#s"},
        {";x", "http://a/b/c/;x"},
        {"", "http://a/b/c/d;p?q"},
        {".", "http://a/b/c/"},
        {"..", "http://a/b/"},
        {"../g", "http://a/b/g"},
        {"../..", "http://a/"},
        {"../../g", "http://a/g"},
        {"../../../g", "http://a/g"},
        {"/./g", "http://a/g"},
        {"/../g", "http://a/g"},
        {"g.", "http://a/b/c/g."},
        {".g", "http://a/b/c/.g"},
        {"..g", "http://a/b/c/..g"},
        {"./../g", "http://a/b/g"},
        {"./g/.", "http://a/b/c/g/"},
        {"g/./h", "http://a/b/c/g/h"},
        {"g/../h", "http://a/b/c/h"},
        {"g;x=1/./y", "http://a/b/c/g;x=1/y"},
        {"g;x=1/../y", "http://a/b/c/y"},
        {"g?y/./x", "http://a/b/c/g?y/./x"},
        {"g#s/./x", "http://a/b/c/g#s/./x"},
        {"http:g", "http:g"},
    };
    for (Case const& c : cases)
        EXPECT_EQ(base.Resolve(c.reference).Text(), c.target) << c.reference;
}

TEST(URL, ResolutionEdgeCases) {
    // A base with an authority and an empty path merges under "/".
    EXPECT_EQ(URL::Parse("http://a").Resolve("g").Text(), "http://a/g");
    // Without an authority, a result path starting "//" is kept from reading as one.
    URL noAuthority = URL::Parse("s:/a/b");
    URL odd = noAuthority.Resolve("..//x");
    EXPECT_FALSE(odd.Info().hasAuthority);
    EXPECT_EQ(odd.Text(), "s:/.//x");
    EXPECT_EQ(URL::Parse(odd.Text()), odd);
    EXPECT_THROW(noAuthority.Resolve("a b"), MalformedURL);
}

TEST(RemoveDotSegments, FollowsTheAlgorithm) {
    // Absolute paths are covered by resolution; these are the other shapes.
    EXPECT_EQ(RemoveDotSegments("mid/content=5/../6"), "mid/6");
    EXPECT_EQ(RemoveDotSegments(""), "");
    EXPECT_EQ(RemoveDotSegments("../.."), "");
    EXPECT_EQ(RemoveDotSegments("a//b/../c"), "a//c");
}

TEST(URLPath, SegmentsDecodeAndEncode) {
    URLPath path = URLPath::Parse("/a%2Fb/c%20d/");
    EXPECT_TRUE(path.IsAbsolute());
    EXPECT_EQ(path.Segments(), (std::vector<std::string>{"a/b", "c d", ""}));
    EXPECT_EQ(path.Encoded(), "/a%2Fb/c%20d/");
    path.Append("e?");
    EXPECT_EQ(path.Encoded(), "/a%2Fb/c%20d/e%3F");
    EXPECT_EQ(URLPath::Parse("").Segments().size(), 0u);
    EXPECT_EQ(URLPath::Parse("/").Encoded(), "/");
    EXPECT_EQ(URLPath::Parse("a").Append("b").Encoded(), "a/b");
    // A relative path must not start with something that reads as a scheme.
    EXPECT_EQ(URLPath(false, {"a:b:c", "d:e"}).Encoded(), "a%3Ab%3Ac/d:e");
    EXPECT_EQ(URLPath(true, {"a:b"}).Encoded(), "/a:b");
    EXPECT_THROW(URLPath::Parse("/%zz"), MalformedPercentEscape);
}

TEST(URLPath, DotSegmentsOfDecodedPaths) {
    auto clean = [](char const* text) {
        return URLPath::Parse(text).WithoutDotSegments().Encoded();
    };
    EXPECT_EQ(clean("/a/./b/../c"), "/a/c");
    EXPECT_EQ(clean("/a/%2E%2E/b"), "/b"); // escaped dots are dots once decoded
    EXPECT_EQ(clean("/a/b/.."), "/a/");
    EXPECT_EQ(clean("/.."), "/");
    EXPECT_EQ(clean("a/../../b"), "b");
}

} // namespace
