#include <gtest/gtest.h>

#include "inspectors/sites/site_map.h"

namespace {

struct Parsed {
    char const* text;
    char const* form; // the string form of what it parses to
    std::uint32_t number;
};

TEST(SiteType, ParsesOnlyTheTextsTheAgentWritesAndElseGivesAContentSite) {
    for (auto const& [text, form, number] : {
             Parsed{">Operator Action Site:12:ops", ">Operator Action Site:12:ops", 12},
             Parsed{">Operator Action Site::ops", ">Operator Action Site:0:ops", 0},
             Parsed{">Operator Action Site:4294967296:x", ">Operator Action Site:0:x", 0},
             Parsed{">Operator Action Site:4294967300:x", ">Operator Action Site:4:x", 4},
             Parsed{">Operator Action Site:42949671950:x", ">Quamel Remote Site", 0},
             Parsed{">Operator Action Site:12", ">Quamel Remote Site", 0},
             Parsed{">Operator Action Site:1x:ops", ">Quamel Remote Site", 0},
             Parsed{">Custom Site:a:b", ">Custom Site:a:b", 0},
             Parsed{">Custom Site:", ">Custom Site:", 0},
             Parsed{">Custom Site", ">Quamel Remote Site", 0},
             Parsed{">Master Action Site", ">Master Action Site", 0},
             Parsed{">Master Action Site:", ">Quamel Remote Site", 0},
             Parsed{"", ">Quamel Remote Site", 0},
         }) {
        SiteType const type(text);
        EXPECT_EQ(type.AsString().str(), form) << text;
        EXPECT_EQ(type.GetSequenceNumber(), number) << text;
    }
}

TEST(SiteType, ConstructorFlagsFollowTheAgentsRules) {
    EXPECT_EQ(SiteType(false, 3, "ops", "tag").AsString().str(), ">Quamel Remote Site");
    EXPECT_EQ(SiteType(true, 3, "ops", "tag").AsString().str(), ">Custom Site:tag");
    EXPECT_EQ(SiteType(true, 3, "ops", "").AsString().str(), ">Operator Action Site:3:ops");
    EXPECT_EQ(SiteType(true, 3, "", "").AsString().str(), ">Master Action Site");

    // The cached form takes no part in equality; SetMasterActionType drops it.
    SiteType custom(">Custom Site:x");
    SiteType const fresh(">Custom Site:x");
    custom.AsString();
    EXPECT_EQ(custom, fresh);
    custom.SetMasterActionType();
    EXPECT_EQ(custom.AsString().str(), ">Master Action Site");
    EXPECT_TRUE(custom.GetCustomSiteTag().empty());
}

TEST(SiteMap, DecodesTheLocatorAndRedecodesOnANewOne) {
    SiteMap site(MacintoshPlatform::FileLocation("/s"), "n", URL::Parse("http://h/a%20b#x%2Fy"),
                 SiteType(), 1, Instant::First(), Instant::First(), cPublisherSchedule, 1, 0, 0);
    EXPECT_EQ(site.SiteLocatorDecoded().str(), "http://h/a b#x/y");
    site.SetSiteLocator(URL::Parse("http://h/c%41"));
    EXPECT_EQ(site.SiteLocatorDecoded().str(), "http://h/cA");
}

} // namespace
