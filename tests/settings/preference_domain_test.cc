#include <gtest/gtest.h>

#include <cstdlib>

#include "settings/cf_preferences.h"
#include "settings/preference_domain.h"
#include "settings_test_support.h"

namespace {

AutoCFPropertyList Text(char const* text) {
    return AutoCFPropertyList(plist_new_string(text));
}

std::string TextOf(SharedCFPropertyList const& value) {
    return ConvertCFPropertyList<std::string>(value.get());
}

std::string RawText(plist_t dictionary, char const* key) {
    return ConvertCFPropertyList<std::string>(plist_dict_get_item(dictionary, key));
}

class PreferenceDomainTest : public PreferencesFolderTest {};

} // namespace

TEST_F(PreferenceDomainTest, WritesBinaryOnlyWhenSynchronised) {
    std::filesystem::path file = DomainFile("test.domain");
    PreferenceDomain domain(file);
    EXPECT_EQ(domain.CopyValue("Key"), nullptr);
    domain.SetValue("Key", Text("value"));
    EXPECT_EQ(TextOf(domain.CopyValue("Key")), "value");
    EXPECT_FALSE(std::filesystem::exists(file)) << "setting stays in memory";
    EXPECT_EQ(domain.PendingKeys(), std::set<std::string>{"Key"});

    domain.Synchronize();
    EXPECT_TRUE(domain.PendingKeys().empty());
    EXPECT_EQ(ReadBytes(file).substr(0, 8), "bplist00");
    AutoCFPropertyList raw = RawParse(file);
    EXPECT_EQ(RawText(raw.Get(), "Key"), "value");

    domain.SetValue("Key", AutoCFPropertyList());
    domain.Synchronize();
    EXPECT_EQ(plist_dict_get_item(RawParse(file).Get(), "Key"), nullptr);
}

TEST_F(PreferenceDomainTest, ValuesHandedOutDoNotChangeWhenTheKeyIsSet) {
    PreferenceDomain domain(DomainFile("test.domain"));
    domain.SetValue("Key", Text("old"));
    SharedCFPropertyList held = domain.CopyValue("Key");
    domain.SetValue("Key", Text("new"));
    EXPECT_EQ(TextOf(held), "old");
    EXPECT_EQ(TextOf(domain.CopyValue("Key")), "new");
}

TEST_F(PreferenceDomainTest, WritersOfDifferentKeysKeepEachOthersValues) {
    std::filesystem::path file = DomainFile("test.domain");
    // Two caches of one file stand for two processes.
    PreferenceDomain first(file);
    PreferenceDomain second(file);
    EXPECT_EQ(first.CopyValue("A"), nullptr);
    EXPECT_EQ(second.CopyValue("B"), nullptr);
    first.SetValue("A", Text("from first"));
    first.SetValue("Shared", Text("first"));
    first.Synchronize();
    second.SetValue("B", Text("from second"));
    second.SetValue("Shared", Text("second"));
    second.Synchronize();

    AutoCFPropertyList raw = RawParse(file);
    EXPECT_EQ(RawText(raw.Get(), "A"), "from first");
    EXPECT_EQ(RawText(raw.Get(), "B"), "from second");
    EXPECT_EQ(RawText(raw.Get(), "Shared"), "second") << "the last writer of a key wins";
    EXPECT_EQ(TextOf(second.CopyValue("A")), "from first");

    first.Synchronize(); // nothing pending: picks up the other's write
    EXPECT_EQ(TextOf(first.CopyValue("B")), "from second");
}

TEST_F(PreferenceDomainTest, UnreadableFileIsKeptAsideBeforeTheFirstWrite) {
    // An empty file holds nothing to keep.
    std::string const contents[] = {"this is not a property list", "<plist><array/></plist>", ""};
    for (std::string const& content : contents) {
        StartOver();
        std::filesystem::path file = DomainFile("broken.domain");
        std::filesystem::remove(file.string() + ".unreadable.1");
        WriteBytes(file, content);
        PreferenceDomain domain(file);
        EXPECT_EQ(domain.CopyValue("Key"), nullptr);
        domain.Synchronize();
        EXPECT_EQ(ReadBytes(file), content) << "reading and synchronising alone write nothing";

        domain.SetValue("Key", Text("new"));
        testing::internal::CaptureStderr();
        domain.Synchronize();
        std::string message = testing::internal::GetCapturedStderr();
        EXPECT_EQ(message.find("broken.domain.plist.unreadable.1") != std::string::npos,
                  !content.empty())
            << message;
        EXPECT_EQ(std::filesystem::exists(file.string() + ".unreadable.1"), !content.empty());
        EXPECT_EQ(ReadBytes(file.string() + ".unreadable.1"), content);
        EXPECT_EQ(RawText(RawParse(file).Get(), "Key"), "new");

        domain.SetValue("Key", Text("newer"));
        domain.Synchronize();
        EXPECT_FALSE(std::filesystem::exists(file.string() + ".unreadable.2"))
            << "only the unreadable version is kept";
    }
}

TEST_F(PreferenceDomainTest, FailedWriteKeepsValuesPendingUntilReported) {
    WriteBytes(folder_.Path() / "plain", "a file where a folder should be");
    PreferenceDomain domain(folder_.Path() / "plain" / "domain.plist");
    domain.SetValue("Key", Text("value"));
    EXPECT_THROW(domain.Synchronize(), PreferenceFileError);
    EXPECT_EQ(domain.PendingKeys(), std::set<std::string>{"Key"});
    testing::internal::CaptureStderr();
    EXPECT_FALSE(domain.SynchronizeOrReport());
    EXPECT_NE(testing::internal::GetCapturedStderr().find("could not write"), std::string::npos);
    EXPECT_TRUE(domain.PendingKeys().empty());
}

TEST_F(PreferenceDomainTest, RegistryFollowsTheFolderSetting) {
    EXPECT_EQ(PreferencesFolder(), folder_.Path());
    EXPECT_EQ(PreferenceDomainFor("app.one").File(), DomainFile("app.one"));
    EXPECT_EQ(&PreferenceDomainFor("app.one"), &PreferenceDomainFor("app.one"));

    SetCFPreference("Key", Text("value"), "app.one", kCFPreferencesAnyUser,
                    kCFPreferencesCurrentHost);
    TemporaryFolder other;
    EXPECT_TRUE(SetPreferencesFolder(other.Path())) << "switching writes what is pending";
    EXPECT_EQ(RawText(RawParse(DomainFile("app.one")).Get(), "Key"), "value");
    EXPECT_EQ(PreferenceDomainFor("app.one").File(), other.Path() / "app.one.plist");

    SetPreferencesFolder({});
    ::setenv(kPreferencesFolderVariable, "/somewhere/else", 1);
    EXPECT_EQ(PreferencesFolder(), "/somewhere/else");
    ::unsetenv(kPreferencesFolderVariable);
    EXPECT_EQ(PreferencesFolder(), kDefaultPreferencesFolder);
}

TEST_F(PreferenceDomainTest, WrapperLayerReportsMissingValuesAndFailedSynchronisation) {
    EXPECT_THROW(CopyAppPreference("Missing", "app.two"), CFPreferencesCopyAppValueFailed);

    GeneralCFPreferenceSet general("app.two", kCFPreferencesAnyUser, kCFPreferencesCurrentHost);
    general.SetPreference("General", Text("g"));
    AppPreferenceSet application("app.two");
    application.SetPreference("App", Text("a"));
    EXPECT_EQ(TextOf(general.CopyPreference("App")), "a");
    EXPECT_EQ(TextOf(application.CopyPreference("General")), "g");
    general.Synchronize();
    AutoCFPropertyList raw = RawParse(DomainFile("app.two"));
    EXPECT_EQ(RawText(raw.Get(), "General"), "g");
    EXPECT_EQ(RawText(raw.Get(), "App"), "a");

    WriteBytes(folder_.Path() / "blocked", "");
    ASSERT_TRUE(SetPreferencesFolder(folder_.Path() / "blocked"));
    GeneralCFPreferenceSet blocked("app.three", kCFPreferencesAnyUser, kCFPreferencesCurrentHost);
    blocked.SetPreference("Key", Text("v"));
    EXPECT_THROW(blocked.Synchronize(), CFPreferencesSynchronizeFailed);
    EXPECT_FALSE(SynchronizeAppPreferences("app.three"));
    EXPECT_FALSE(SetPreferencesFolder(folder_.Path())) << "the report's text is the domain's";
}
