#include "url/file_url.h"

#include <gtest/gtest.h>

#include "url/url_builder.h"

namespace {

TEST(ResolveFileURL, LocalURLsGiveDecodedAbsolutePaths) {
    EXPECT_EQ(ResolveFileURL("file:///etc/hosts"), "/etc/hosts");
    EXPECT_EQ(ResolveFileURL("file://localhost/etc/hosts"), "/etc/hosts");
    EXPECT_EQ(ResolveFileURL("FILE://LocalHost/a%20b/%C3%A9"), "/a b/\xc3\xa9");
    EXPECT_EQ(ResolveFileURL("file:/tmp/x"), "/tmp/x");
    EXPECT_EQ(ResolveFileURL("file:///"), "/");
    EXPECT_EQ(ResolveFileURL("file:///dir/"), "/dir/");
    EXPECT_EQ(ResolveFileURL("file:///a/x#part"), "/a/x");
    // Dot segments, escaped or not, never climb above the root.
    EXPECT_EQ(ResolveFileURL("file:///../a/%2e%2E/%2E/b"), "/b");
}

TEST(ResolveFileURL, RefusesWhatNamesNoLocalFile) {
    for (char const* url :
         {"http://h/x", "file://server/share", "file://user@localhost/x", "file://localhost:1/x",
          "file:///x?q", "file:relative", "file://localhost", "file:///a%2Fb", "file:///a%00b"}) {
        EXPECT_THROW(ResolveFileURL(url), NotALocalFileURL) << url;
    }
    EXPECT_THROW(ResolveFileURL("file:///a%zz"), MalformedURL);
}

TEST(FileURL, RoundTripsAwkwardPaths) {
    for (char const* path : {"/", "/plain", "/with space/and#hash?q", "/100%/\xc3\xa9", "/a:b"}) {
        URL url = FileURL(path);
        EXPECT_TRUE(url.Text().starts_with("file:///")) << url.Text();
        EXPECT_EQ(ResolveFileURL(url), path);
    }
    EXPECT_THROW(FileURL("relative"), MalformedURL);
}

} // namespace
