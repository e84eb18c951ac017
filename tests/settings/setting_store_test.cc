#include <gtest/gtest.h>

#include "settings/setting_store.h"
#include "settings_test_support.h"

namespace {

using namespace std::string_literals;

constexpr char const* kDomain = "test.store";
constexpr char const* kKey = "Settings";

Instant At(int64_t microseconds) {
    return Instant(microseconds);
}

class SettingStoreTest : public PreferencesFolderTest {
protected:
    std::unique_ptr<CFPreferenceSettingStore> NewStore() {
        return std::make_unique<CFPreferenceSettingStore>(kKey, kDomain, kCFPreferencesAnyUser,
                                                          kCFPreferencesCurrentHost);
    }
    // The store as a new process would read it from disk.
    std::unique_ptr<CFPreferenceSettingStore> Reopened() {
        StartOver();
        return NewStore();
    }
};

// Each setting as name=value@date, a tombstone's value marked "-".
std::string Visit(WrappedSettingIterator<CFPreferenceSettingIterator> iterator) {
    std::string seen;
    for (; !iterator.AtEnd(); ++iterator) {
        seen +=
            (seen.empty() ? "" : " ") + iterator.Name().str() + "=" +
            (iterator.Deleted() ? "-" : "") + iterator.Value().str() + "@" +
            (iterator.Date() == Instant::First() ? "first"
                                                 : std::to_string(iterator.Date().Microseconds()));
    }
    return seen;
}

} // namespace

TEST_F(SettingStoreTest, FindItemRangesHoldOneSettingWhateverTheInsertionOrder) {
    auto store = NewStore();
    // Each setting's value is its name.
    auto holdsOne = [&](std::string_view name) {
        return Visit(store->FindItem("S", name)) ==
               std::string(name) + "=" + std::string(name) + "@1";
    };
    std::string names;
    for (char name : std::string("dbcafeg")) {
        store->Set("S", std::string_view(&name, 1), std::string_view(&name, 1), At(1));
        names += name;
        for (char each : names) {
            EXPECT_TRUE(holdsOne(std::string_view(&each, 1))) << each << " after " << name;
        }
    }
    store->Set("T", "c2", "c2", At(1));
    store->Set("T", "0", "0", At(1));
    store->RenameSection("T", "S");
    for (char const* each : {"0", "a", "c", "c2", "d", "g"}) {
        EXPECT_TRUE(holdsOne(each)) << each;
    }
    EXPECT_TRUE(store->FindItem("S", "missing").AtEnd());
    EXPECT_TRUE(store->FindItem("Missing", "a").AtEnd());
}

TEST_F(SettingStoreTest, NamesAreOrderedAndComparedAsBytes) {
    auto store = NewStore();
    for (char const* name : {"b", "B", "a", "_", "\xc3\xa9"}) {
        store->Set("S", name, name, At(1));
    }
    EXPECT_EQ(Visit(store->FindSection("S")), "B=B@1 _=_@1 a=a@1 b=b@1 \xc3\xa9=\xc3\xa9@1");
    EXPECT_TRUE(store->FindItem("S", "A").AtEnd());
    EXPECT_TRUE(store->FindItem("s", "a").AtEnd());
}

TEST_F(SettingStoreTest, FlushWritesTheLayoutAndReadsBackExactly) {
    Instant now = Instant::Now();
    {
        auto store = NewStore();
        store->Set("Client", "live", "value", now);
        store->Set("Client", "undated", "no date", Instant::First());
        store->Set("Client", "cleared", "x", At(5));
        store->Clear("Client", "cleared", now);
        store->Set("Client", "bytes", std::string_view("a\0\xff", 3), At(-1500001));
        store->Set("Other", "k", "", At(0));
        store->Flush();
        EXPECT_FALSE(store->Changed());
    }
    auto reopened = Reopened();
    std::string const at = std::to_string(now.Microseconds());
    EXPECT_EQ(Visit(reopened->FindSection("Client")), "bytes=a\0\xff@-1500001 cleared=-@"s + at +
                                                          " live=value@" + at +
                                                          " undated=no date@first");
    EXPECT_EQ(Visit(reopened->FindSection("Other")), "k=@0");
}

TEST_F(SettingStoreTest, ReadBackRulesForEachShapeOfEntry) {
    std::string xml = "<plist><dict>"
                      "<key>both</key><dict><key>Value</key><string>both</string>"
                      "<key>Date</key><date>2001-01-01T00:00:01Z</date></dict>"
                      "<key>value</key><dict><key>Value</key><string>value</string></dict>"
                      "<key>date</key><dict><key>Date</key><date>2001-01-01T00:00:01Z</date></dict>"
                      "<key>neither</key><dict/></dict></plist>";
    AutoCFPropertyList section = ParsePropertyList(xml);
    auto settings = ConvertCFPropertyList<CFPreferenceSettingMap>(section.Get());
    EXPECT_EQ(settings.at("both"), CFPreferenceSetting("both", At(1000000)));
    EXPECT_EQ(settings.at("value"), CFPreferenceSetting("value", Instant::First()));
    EXPECT_EQ(settings.at("date"), CFPreferenceSetting(At(1000000)));
    EXPECT_EQ(settings.at("neither"), CFPreferenceSetting());

    // Each shape is written back as it was read.
    std::string bytes = SerializeBinaryPropertyList(MakeCFDictionary(settings).Get());
    AutoCFPropertyList back = ParsePropertyList(bytes);
    EXPECT_EQ(ConvertCFPropertyList<CFPreferenceSettingMap>(back.Get()), settings);
    for (auto const& [name, size] :
         {std::pair{"both", 2u}, {"value", 1u}, {"date", 1u}, {"neither", 0u}}) {
        EXPECT_EQ(plist_dict_get_size(plist_dict_get_item(back.Get(), name)), size) << name;
    }
}

TEST_F(SettingStoreTest, WrongTypesStartEmptyAndTheFileIsKeptAside) {
    std::string const original = "<plist><dict><key>Settings</key><dict><key>S</key><dict>"
                                 "<key>n</key><dict><key>Value</key><integer>42</integer></dict>"
                                 "</dict></dict><key>Untouched</key><string>kept</string>"
                                 "</dict></plist>";
    WriteBytes(DomainFile(kDomain), original);

    auto store = Reopened();
    EXPECT_TRUE(store->FindSection("S").AtEnd());
    store->Set("S", "n", "new", At(1));
    testing::internal::CaptureStderr();
    store->Flush();
    EXPECT_NE(testing::internal::GetCapturedStderr().find("unreadable.1"), std::string::npos);
    EXPECT_EQ(ReadBytes(DomainFile(kDomain).string() + ".unreadable.1"), original);
    AutoCFPropertyList raw = RawParse(DomainFile(kDomain));
    EXPECT_EQ(ConvertCFPropertyList<std::string>(plist_dict_get_item(raw.Get(), "Untouched")),
              "kept");
}

TEST_F(SettingStoreTest, ResetDatesAloneIsNotWritten) {
    auto store = NewStore();
    store->Set("S", "n", "v", At(50));
    store->Flush();
    FileIdentity written = IdentityOf(DomainFile(kDomain));
    store->ResetDates();
    EXPECT_EQ(store->FindItem("S", "n").Date(), Instant::First());
    EXPECT_FALSE(store->Changed());
    store->Flush();
    EXPECT_EQ(IdentityOf(DomainFile(kDomain)), written);
    EXPECT_EQ(Reopened()->FindItem("S", "n").Date(), At(50));
}

TEST_F(SettingStoreTest, RenameSectionCopiesButReachesDiskOnlyWithAnotherChange) {
    auto store = NewStore();
    store->Set("Old", "a", "old a", At(1));
    store->Set("Old", "b", "old b", At(1));
    store->Clear("Old", "b", At(2));
    store->Set("New", "a", "new a", At(9));
    store->Set("New", "c", "new c", At(9));
    store->Flush();

    store->RenameSection("Old", "New");
    EXPECT_EQ(Visit(store->FindSection("New")), "a=old a@1 b=-@2 c=new c@9")
        << "copied settings replace same-named ones whatever their dates";
    EXPECT_EQ(Visit(store->FindSection("Old")), "a=old a@1 b=-@2") << "the old section stays";
    EXPECT_FALSE(store->Changed());
    EXPECT_EQ(Reopened()->FindItem("New", "a").Value().str(), "new a") << "not written yet";

    store = NewStore();
    store->RenameSection("Old", "New");
    store->Set("Other", "x", "y", At(3));
    store->Flush();
    EXPECT_EQ(Reopened()->FindItem("New", "a").Value().str(), "old a");

    store = NewStore();
    store->RenameSection("Missing", "Nowhere");
    EXPECT_TRUE(store->FindSection("Nowhere").AtEnd());
}

TEST_F(SettingStoreTest, NamesThatCannotBeKeysAreLeftOutAndReported) {
    auto store = NewStore();
    store->Set("S", "good", "kept", At(1));
    store->Set("S", "bad\xff", "left out", At(1));
    testing::internal::CaptureStderr();
    store->Flush();
    EXPECT_NE(testing::internal::GetCapturedStderr().find("not UTF-8"), std::string::npos);
    EXPECT_EQ(Visit(Reopened()->FindSection("S")), "good=kept@1");
}

TEST_F(SettingStoreTest, WritesMakeTheirOwnChangesOnWhatOthersWroteMeanwhile) {
    auto first = NewStore();
    first->Set("Old", "a", "a", At(1));
    first->Set("S", "x", "x", At(5));
    first->Flush();
    auto mine = Reopened();

    StartOver(); // another process writes meanwhile
    auto theirs = NewStore();
    theirs->Set("Old", "b", "their b", At(2));
    theirs->Set("S", "y", "their y", At(3));
    theirs->Flush();

    mine->RenameSection("Old", "New");
    mine->Clear("S", "x", At(6));
    mine->Flush();
    auto file = Reopened();
    EXPECT_EQ(Visit(file->FindSection("S")), "x=-@6 y=their y@3")
        << "my clear lands on their file; their settings stay";
    EXPECT_EQ(Visit(file->FindSection("New")), "a=a@1 b=their b@2") << "the copy includes their b";

    mine->ResetDates();
    mine->Set("S", "w", "w", At(1));
    mine->Flush();
    file = Reopened();
    EXPECT_EQ(file->FindItem("S", "y").Date(), Instant::First()) << "dates reset on theirs too";
    EXPECT_EQ(file->FindItem("S", "w").Date(), At(1));
}
