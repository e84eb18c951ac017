#include <gtest/gtest.h>

#include <limits>

#include "settings/decimal.h"
#include "settings/subsection_store.h"
#include "settings_test_support.h"

namespace {

using View = ZORSubsectionSettings<SettingStore<CFPreferenceSettingIterator>>;

class SubsectionStoreTest : public PreferencesFolderTest {
protected:
    CFPreferenceSettingStore store_{"Options", "test.options", kCFPreferencesAnyUser,
                                    kCFPreferencesCurrentHost};
    View view_{store_, "GlobalOptions"};

    std::string Stored(char const* name) {
        return store_.FindItem("GlobalOptions", name).Value().str();
    }
    void Put(char const* name, char const* text) {
        store_.Set("GlobalOptions", name, text, Instant::Now());
    }
};

ConstCString Name(char const* name) {
    return ConstCString(name);
}

} // namespace

TEST(DecimalText, ReadsOnlyWholeDecimalNumbersInRange) {
    EXPECT_EQ(DecimalNumeral(std::uint64_t{0}), "0");
    EXPECT_EQ(DecimalNumeral(std::int64_t{-42}), "-42");
    EXPECT_EQ(ReadDecimalUInt32("4294967295"), 4294967295u);
    EXPECT_EQ(ReadDecimalInt64("-9223372036854775808"), std::numeric_limits<int64_t>::min());
    EXPECT_EQ(ReadDecimalInt64("007"), 7);
    for (char const* bad : {"", "4294967296", "-1", "12a", " 1", "1 ", "+1", "0x10"}) {
        EXPECT_THROW(ReadDecimalUInt32(bad), NotADecimalNumeral) << bad;
    }
    for (char const* bad : {"", "-", "9223372036854775808", "1.5", "--1"}) {
        EXPECT_THROW(ReadDecimalInt64(bad), NotADecimalNumeral) << bad;
    }
}

TEST_F(SubsectionStoreTest, TypedValuesAreStoredAsText) {
    Instant before = Instant::Now();
    view_.SetString(Name("Text"), "hello");
    view_.SetUInt32(Name("Port"), 52311);
    view_.SetInt64(Name("Shift"), -1234567890123);
    view_.SetBool(Name("On"), true);
    view_.SetBool(Name("Off"), false);
    EXPECT_EQ(Stored("Text") + Stored("Port") + Stored("Shift") + Stored("On") + Stored("Off"),
              "hello52311-123456789012310");
    EXPECT_GE(store_.FindItem("GlobalOptions", "Text").Date(), before);

    EXPECT_EQ(view_.GetString(Name("Text")), "hello");
    EXPECT_EQ(view_.GetUInt32(Name("Port")), 52311u);
    EXPECT_EQ(view_.GetInt64(Name("Shift")), -1234567890123);
    EXPECT_TRUE(view_.GetBool(Name("On")) && !view_.GetBool(Name("Off")));
    EXPECT_EQ(view_.Section(), ConstData("GlobalOptions"));
    view_.Flush();
    EXPECT_FALSE(store_.Changed());
}

TEST_F(SubsectionStoreTest, PlainGettersLetFailuresThrough) {
    EXPECT_THROW(view_.GetString(Name("Missing")), SettingNotFound);
    EXPECT_THROW(view_.GetUInt32(Name("Missing")), SettingNotFound);
    Put("Two", "2");
    EXPECT_THROW(view_.GetBool(Name("Two")), SettingNotFound);
    Put("Word", "yes");
    EXPECT_THROW(view_.GetUInt32(Name("Word")), NotADecimalNumeral);
    EXPECT_THROW(view_.GetInt64(Name("Word")), NotADecimalNumeral);
}

TEST_F(SubsectionStoreTest, DefaultsCoverMissingMalformedAndOutOfRange) {
    EXPECT_EQ(view_.GetStringWithDefault(Name("Missing"), "fallback"), "fallback");
    EXPECT_EQ(view_.GetUInt32WithDefault(Name("Missing"), 7), 7u);
    EXPECT_EQ(view_.GetInt64WithDefault(Name("Missing"), -7), -7);
    EXPECT_TRUE(view_.GetBoolWithDefault(Name("Missing"), true));

    Put("Two", "2");
    EXPECT_FALSE(view_.GetBoolWithDefault(Name("Two"), false));
    EXPECT_TRUE(view_.GetBoolWithDefault(Name("Two"), true));
    Put("Huge", "99999999999");
    EXPECT_EQ(view_.GetUInt32WithDefault(Name("Huge"), 3), 3u);
    EXPECT_EQ(view_.GetInt64WithDefault(Name("Huge"), 3), 99999999999);

    Put("Ten", "10");
    EXPECT_EQ(view_.GetUInt32WithMinMaxDefault(Name("Ten"), 10, 20, 15), 10u);
    EXPECT_EQ(view_.GetUInt32WithMinMaxDefault(Name("Ten"), 1, 10, 5), 10u);
    EXPECT_EQ(view_.GetUInt32WithMinMaxDefault(Name("Ten"), 11, 20, 15), 15u);
    EXPECT_EQ(view_.GetUInt32WithMinMaxDefault(Name("Ten"), 1, 9, 5), 5u);
    EXPECT_EQ(view_.GetUInt32WithMinMaxDefault(Name("Missing"), 1, 9, 5), 5u);

    Put("Negative", "-5");
    EXPECT_EQ(view_.GetInt64WithMinMaxDefault(Name("Negative"), -5, 0, 1), -5);
    EXPECT_EQ(view_.GetInt64WithMinMaxDefault(Name("Negative"), -10, -5, 1), -5);
    EXPECT_EQ(view_.GetInt64WithMinMaxDefault(Name("Negative"), -4, 10, 1), 1)
        << "the comparison is signed";
    EXPECT_EQ(view_.GetUInt32WithDefault(Name("Negative"), 8), 8u);
}

TEST_F(SubsectionStoreTest, FileLocationsAreStoredAsPosixPaths) {
    using MacintoshPlatform::FileLocation;
    view_.SetFileLocation(Name("Storage"), FileLocation("/var/lib/zor/../zor/storage/"));
    EXPECT_EQ(Stored("Storage"), "/var/lib/zor/storage");
    EXPECT_EQ(view_.GetFileLocation(Name("Storage")), FileLocation("/var/lib/zor/storage"));
    FileLocation fallback("/fallback");
    EXPECT_EQ(view_.GetFileLocationWithDefault(Name("Storage"), fallback).POSIXPath(),
              "/var/lib/zor/storage");
    EXPECT_EQ(view_.GetFileLocationWithDefault(Name("Missing"), fallback), fallback);
    EXPECT_THROW(view_.GetFileLocation(Name("Missing")), SettingNotFound);
    store_.Clear("GlobalOptions", "Storage", Instant::Now() + TimeInterval::Seconds(1));
    EXPECT_EQ(view_.GetFileLocationWithDefault(Name("Storage"), fallback), fallback)
        << "a cleared setting is an empty path, which is no location";
}
