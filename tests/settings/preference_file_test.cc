#include <gtest/gtest.h>
#include <sys/stat.h>

#include "settings/preference_file.h"
#include "settings_test_support.h"

namespace {

mode_t ModeOf(std::filesystem::path const& file) {
    struct stat status {};
    EXPECT_EQ(::stat(file.c_str(), &status), 0);
    return status.st_mode & 07777;
}

std::vector<std::string> Names(std::filesystem::path const& folder) {
    std::vector<std::string> names;
    for (auto const& entry : std::filesystem::directory_iterator(folder)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace

TEST(PreferenceFile, AtomicWriteCreatesFolderAndLeavesOnlyTheFile) {
    TemporaryFolder folder;
    std::filesystem::path file = folder.Path() / "deeper" / "domain.plist";
    EXPECT_EQ(ReadFileIfPresent(file), std::nullopt);
    EXPECT_FALSE(IdentityOf(file).exists);

    WriteFileAtomically(file, "first");
    EXPECT_EQ(ReadFileIfPresent(file), "first");
    EXPECT_EQ(ModeOf(file), 0600u);
    FileIdentity first = IdentityOf(file);
    EXPECT_TRUE(first.exists);

    ::chmod(file.c_str(), 0644);
    WriteFileAtomically(file, std::string("sec\0ond", 7));
    EXPECT_EQ(ReadFileIfPresent(file), std::string("sec\0ond", 7));
    EXPECT_EQ(ModeOf(file), 0644u) << "the replacement keeps the old permissions";
    EXPECT_FALSE(IdentityOf(file) == first);
    EXPECT_EQ(Names(file.parent_path()), std::vector<std::string>{"domain.plist"});
}

TEST(PreferenceFile, KeepAsideNeverOverwritesAnEarlierCopy) {
    TemporaryFolder folder;
    std::filesystem::path file = folder.Path() / "domain.plist";
    WriteBytes(file, "one");
    EXPECT_EQ(KeepAside(file), folder.Path() / "domain.plist.unreadable.1");
    WriteFileAtomically(file, "two");
    EXPECT_EQ(KeepAside(file), folder.Path() / "domain.plist.unreadable.2");
    EXPECT_EQ(ReadBytes(folder.Path() / "domain.plist.unreadable.1"), "one");
    EXPECT_EQ(ReadBytes(folder.Path() / "domain.plist.unreadable.2"), "two");
    EXPECT_EQ(ReadBytes(file), "two");
    EXPECT_THROW(KeepAside(folder.Path() / "missing.plist"), PreferenceFileError);
}

TEST(PreferenceFile, StaleTemporariesOfThisFileOnlyAreRemoved) {
    TemporaryFolder folder;
    std::filesystem::path file = folder.Path() / "domain.plist";
    WriteBytes(file, "kept");
    WriteBytes(folder.Path() / "domain.plist.tmp.abc123", "stale");
    WriteBytes(folder.Path() / "other.plist.tmp.abc123", "someone else's");
    RemoveStaleTemporaries(file);
    EXPECT_EQ(Names(folder.Path()),
              (std::vector<std::string>{"domain.plist", "other.plist.tmp.abc123"}));
}
