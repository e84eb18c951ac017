#include <gtest/gtest.h>

#include <sstream>

#include "settings_test_support.h"
#include "tools/zorsettings/zorsettings.h"

namespace {

class ZorSettingsTest : public PreferencesFolderTest {
protected:
    // Runs the command against the test's folder; keeps what it printed.
    int Run(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {"--folder", folder_.Path().string()});
        std::ostringstream out;
        std::ostringstream err;
        int status = RunZorSettings(arguments, out, err);
        out_ = out.str();
        err_ = err.str();
        return status;
    }
    std::string out_;
    std::string err_;
};

} // namespace

TEST(ZorSettingsDates, FormatAndParseRoundTripToTheMicrosecond) {
    Instant instant = Instant::FromUnixMicroseconds(1763722302123456);
    EXPECT_EQ(FormatInstant(instant), "2025-11-21T10:51:42.123456Z");
    EXPECT_EQ(ParseInstant("2025-11-21T10:51:42.123456Z"), instant);
    EXPECT_EQ(ParseInstant("2001-01-01T00:00:00Z"), Instant(0));
    EXPECT_EQ(ParseInstant("2001-01-01T00:00:00.5Z"), Instant(500000));
    EXPECT_EQ(FormatInstant(Instant(-1)), "2000-12-31T23:59:59.999999Z");
    EXPECT_EQ(ParseInstant("2000-12-31T23:59:59.999999Z"), Instant(-1));
    EXPECT_EQ(FormatInstant(Instant::First()), "-");
    EXPECT_EQ(ParseInstant("-"), Instant::First());
    for (char const* bad :
         {"", "yesterday", "2025-11-21 10:51:42Z", "2025-13-01T00:00:00Z", "2025-11-21T10:51:42",
          "2025-11-21T10:51:42.Z", "2025-11-21T10:51:42.1234567Z", "2025-11-21T10:5x:42Z"}) {
        EXPECT_EQ(ParseInstant(bad), std::nullopt) << bad;
    }
}

TEST(ZorSettingsPrintable, EscapesWhatWouldBreakALine) {
    EXPECT_EQ(Printable("plain caf\xc3\xa9"), "plain caf\xc3\xa9");
    EXPECT_EQ(Printable("tab\there\\"), "tab\\x09here\\x5c");
    EXPECT_EQ(Printable("bad\xff\xc3\xa9"), "bad\\xff\\xc3\\xa9");
}

TEST_F(ZorSettingsTest, SetGetListAndClearWorkOnTheFile) {
    EXPECT_EQ(Run({"set", "Client", "Name", "my computer", "2026-01-01T00:00:00.25Z"}), 0);
    EXPECT_EQ(Run({"get", "Client", "Name"}), 0);
    EXPECT_EQ(out_, "my computer\n");
    EXPECT_EQ(Run({"set", "Client", "Name", "older", "2025-01-01T00:00:00Z"}), 1);
    EXPECT_NE(err_.find("dated later"), std::string::npos);
    EXPECT_EQ(Run({"list", "Client"}), 0);
    EXPECT_EQ(out_, "Name\tmy computer\t2026-01-01T00:00:00.250000Z\n");

    EXPECT_EQ(Run({"clear", "Client", "Name", "2026-02-01T00:00:00Z"}), 0);
    EXPECT_EQ(Run({"get", "Client", "Name"}), 1);
    EXPECT_EQ(Run({"list"}), 0);
    EXPECT_EQ(out_, "Client\t1 settings (1 cleared)\n");
    EXPECT_EQ(Run({"list", "Client"}), 0);
    EXPECT_EQ(out_, "Name\t(cleared)\t2026-02-01T00:00:00.000000Z\n");
    EXPECT_EQ(Run({"clear", "Client", "Absent"}), 1);

    EXPECT_EQ(Run({"--store", "sites", "set", "Site", "n", "v"}), 0);
    EXPECT_EQ(Run({"--store", "Sites", "list"}), 0);
    EXPECT_EQ(out_, "Site\t1 settings\n");
    EXPECT_EQ(Run({"list"}), 0);
    EXPECT_EQ(out_, "Client\t1 settings (1 cleared)\n") << "stores are separate";
}

TEST_F(ZorSettingsTest, RenameAndMigrationsAreWritten) {
    EXPECT_EQ(Run({"set", "Administrator", "alice", "1"}), 0);
    EXPECT_EQ(Run({"set", "Client", "GatherUrl", "http://server/"}), 0);
    EXPECT_EQ(Run({"migrate-administrators"}), 0);
    EXPECT_EQ(Run({"get", "Administrators", "alice"}), 0);
    EXPECT_EQ(Run({"rename-section", "Missing", "Other"}), 1);
    EXPECT_EQ(Run({"rename-section", "Client", "Copy"}), 0);
    EXPECT_EQ(Run({"get", "Copy", "GatherUrl"}), 0);

    EXPECT_EQ(Run({"migrate-options"}), 0);
    EXPECT_EQ(Run({"--store", "Options", "get", "GlobalOptions", "GatherUrl"}), 0);
    EXPECT_EQ(out_, "http://server/\n");
    EXPECT_EQ(Run({"get", "Client", "GatherUrl"}), 1);
    EXPECT_EQ(Run({"migrate-options"}), 0);
    EXPECT_NE(out_.find("nothing to do"), std::string::npos);
}

TEST_F(ZorSettingsTest, UsageErrorsExitWithTwo) {
    std::vector<std::vector<std::string>> bad = {
        {},
        {"frobnicate"},
        {"get", "Client"},
        {"set", "Client", "Name", "v", "not a date"},
        {"--store", "nowhere", "list"},
        {"--unknown", "list"},
        {"list", "a", "b"},
    };
    for (auto const& arguments : bad) {
        EXPECT_EQ(Run(arguments), 2) << (arguments.empty() ? "" : arguments[0]);
        EXPECT_NE(err_.find("zorsettings help"), std::string::npos);
    }
    EXPECT_EQ(Run({"help"}), 0);
    EXPECT_NE(out_.find("usage: zorsettings"), std::string::npos);
}

TEST_F(ZorSettingsTest, WriteFailureExitsWithThree) {
    WriteBytes(folder_.Path() / "blocked", "a file where a folder should be");
    testing::internal::CaptureStderr(); // the preference layer reports there
    EXPECT_EQ(Run({"--folder", (folder_.Path() / "blocked").string(), "set", "S", "n", "v"}), 3);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("could not write"), std::string::npos);
}
