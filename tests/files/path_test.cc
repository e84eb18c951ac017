// The POSIX and HFS forms of file URLs.
#include <gtest/gtest.h>

#include "files/file_system_path.h"
#include "url/url_builder.h"

namespace {

std::string Posix(std::string const& path) {
    return FileSystemPath(FileURL(path), kCFURLPOSIXPathStyle);
}
std::string Hfs(std::string const& path) {
    return FileSystemPath(FileURL(path), kCFURLHFSPathStyle);
}

TEST(FileSystemPath, PosixFormIsTheNormalPath) {
    EXPECT_EQ(Posix("/usr/bin/"), "/usr/bin");
    EXPECT_EQ(Posix("/"), "/");
    EXPECT_EQ(Posix("/etc/a b%c\xff"), "/etc/a b%c\xff");
    EXPECT_EQ(Posix("/a/./b/../c"), "/a/c");
}

TEST(FileSystemPath, HfsFormStartsAtTheRootVolumeAndMarksFolders) {
    EXPECT_EQ(Hfs("/usr/bin/"), "Root:usr:bin:");
    EXPECT_EQ(Hfs("/usr/bin"), "Root:usr:bin");
    EXPECT_EQ(Hfs("/"), "Root:");
    EXPECT_EQ(Hfs("/etc/a:b/c d"), "Root:etc:a/b:c d");
    EXPECT_EQ(FileSystemPath(URL::Parse("file://localhost/x%3Ay/"), kCFURLHFSPathStyle),
              "Root:x/y:");
}

} // namespace
