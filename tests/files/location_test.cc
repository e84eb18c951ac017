// Locations in normal form and items with the status read when they are made;
// kinds and sizes of items are seen end to end.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

#include "evaluator/errors.h"
#include "files/file_location.h"
#include "tests/files/temp_tree.h"
#include "util/file_stream.h"

namespace {

using MacintoshPlatform::BadFileName;
using MacintoshPlatform::FileItem;
using MacintoshPlatform::FileLocation;
using MacintoshPlatform::MakeFileLocation;

TEST(FileLocation, PathsAreKeptInNormalForm) {
    EXPECT_EQ(MakeFileLocation("/a//b/./c/../d/").POSIXPath(), "/a/b/d");
    EXPECT_EQ(MakeFileLocation("/../..").POSIXPath(), "/");
    EXPECT_EQ(MakeFileLocation("/a/b/../../..").POSIXPath(), "/");
    EXPECT_EQ(MakeFileLocation("///").POSIXPath(), "/");
    EXPECT_EQ(MakeFileLocation("/a/...").POSIXPath(), "/a/...");
    EXPECT_EQ(MakeFileLocation("relative/x").POSIXPath(),
              std::filesystem::current_path().string() + "/relative/x");
    EXPECT_THROW(MakeFileLocation(""), BadFileName);
    EXPECT_THROW(MakeFileLocation(std::string_view("/a\0b", 4)), BadFileName);
}

// Names and parents of ordinary paths are seen end to end.
TEST(FileLocation, TheRootIsItsOwnParentAndChildNamesAreSingleNames) {
    FileLocation root = MakeFileLocation("/");
    EXPECT_TRUE(root.IsRoot());
    EXPECT_EQ(root.Parent(), root);
    EXPECT_EQ(root.Child("a b:c").POSIXPath(), "/a b:c");
    for (std::string_view bad : {"", ".", "..", "a/b", "/"}) {
        EXPECT_THROW(root.Child(bad), BadFileName) << bad;
    }
    EXPECT_THROW(root.Child(std::string_view("a\0", 2)), BadFileName);
}

TEST(FileItem, ReadsTheStatusOrHasNoObject) {
    TempTree tree;
    std::string path = tree.Write("f.txt", "12345");
    timespec const times[2] = {{1000000000, 0}, {1234567890, 250000000}};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    FileItem item(MakeFileLocation(path));
    EXPECT_EQ(item.Status().modifiedMicroseconds, 1234567890250000);
    std::filesystem::create_symlink(tree.Path("gone"), tree.Path("dangling"));
    EXPECT_THROW(FileItem(MakeFileLocation(tree.Path("dangling"))), NoSuchObject);
    // A loop of links is no absence: the error says what went wrong.
    std::filesystem::create_symlink(tree.Path("loop"), tree.Path("loop"));
    EXPECT_THROW(FileItem(MakeFileLocation(tree.Path("loop"))), platform::StatFailed);
}

TEST(FileItem, URLsMarkFoldersAndRoundTripOddNames) {
    TempTree tree;
    std::string odd = "a b%20c#d?e\xff";
    std::string path = tree.Write(odd, "x");
    FileItem item(MakeFileLocation(path));
    URL url = item.GetURL();
    EXPECT_EQ(url.Scheme(), "file");
    EXPECT_NE(url.EncodedPath().back(), '/');
    EXPECT_EQ(MakeFileLocation(url).POSIXPath(), path);

    FileItem folder(MakeFileLocation(tree.Path()));
    EXPECT_EQ(folder.GetURL().EncodedPath().back(), '/');
    EXPECT_EQ(MakeFileLocation(folder.GetURL()).POSIXPath(), tree.Path());
    EXPECT_EQ(FileItem(MakeFileLocation("/")).GetURL().Text(), "file:///");
}

// The sorted listing without dots is seen end to end.
TEST(FolderEntries, WhatIsNoFolderCannotBeListed) {
    TempTree tree;
    tree.Write("a", "");
    EXPECT_THROW(platform::FolderEntries(tree.Path("a")), platform::OpenDirFailed);
    EXPECT_THROW(platform::FolderEntries(tree.Path("none")), platform::OpenDirFailed);
}

// The attempt fails with Error, whose message gives the system's reason.
template <typename Error, typename Attempt> bool Denied(Attempt const& attempt) {
    try {
        attempt();
    } catch (Error const& e) {
        return std::string(e.what()).find("Permission denied") != std::string::npos;
    }
    return false;
}

// What an ordinary user is refused says so: the checks run in a child that
// has given up root, its exit code the result.
TEST(FileItem, PermissionErrorsSaySo) {
    TempTree tree;
    std::string const secret = tree.Write("secret.txt", "x");
    ASSERT_EQ(chmod(secret.c_str(), 0600), 0);
    tree.Write("locked/inside.txt", "x");
    ASSERT_EQ(chmod(tree.Path("locked").c_str(), 0700), 0);
    tree.Write("listless/x.txt", "");
    ASSERT_EQ(chmod(tree.Path("listless").c_str(), 0711), 0);
    EXPECT_EXIT(
        {
            if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) {
                std::_Exit(2);
            }
            bool const ok = Denied<platform::StatFailed>([&] {
                                FileItem(MakeFileLocation(tree.Path("locked/inside.txt")));
                            }) &&
                            Denied<platform::OpenDirFailed>(
                                [&] { platform::FolderEntries(tree.Path("listless")); }) &&
                            Denied<OpenFileFailed>([&] { OpenRegularFile(secret); }) &&
                            FileItem(MakeFileLocation(secret)).Status().size == 1;
            std::_Exit(ok ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

} // namespace
