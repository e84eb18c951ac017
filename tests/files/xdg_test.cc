// Finding the default application for a MIME type along the XDG search paths.
#include <gtest/gtest.h>

#include <optional>

#include "platform/linux/xdg.h"
#include "tests/environment/scoped_environment.h"
#include "tests/files/temp_tree.h"
#include "text/message_maker.h"

namespace {

using platform::DefaultApplicationEntry;
using platform::XdgSearchPaths;

constexpr char kHttp[] = "x-scheme-handler/http";

class Xdg : public testing::Test {
protected:
    XdgSearchPaths Paths() const {
        return {{tree_.Path("config"), tree_.Path("etc")},
                {tree_.Path("data"), tree_.Path("share")},
                {"gnome"}};
    }
    std::string Entry(std::string const& dataDir, std::string const& name,
                      std::string const& extra = "") const {
        return tree_.Write(dataDir + "/applications/" + name,
                           "[Desktop Entry]\nType=Application\nExec=x %u\n" + extra);
    }
    void List(std::string const& file, std::string const& ids) const {
        tree_.Write(file, "[Default Applications]\n" + std::string(kHttp) + "=" + ids + "\n");
    }
    TempTree tree_;
};

TEST_F(Xdg, ListsAreConsultedInTheirOrder) {
    auto lists = platform::MimeAppsLists(Paths());
    std::vector<std::string> expected = {tree_.Path("config/gnome-mimeapps.list"),
                                         tree_.Path("config/mimeapps.list"),
                                         tree_.Path("etc/gnome-mimeapps.list"),
                                         tree_.Path("etc/mimeapps.list"),
                                         tree_.Path("data/applications/gnome-mimeapps.list"),
                                         tree_.Path("data/applications/mimeapps.list"),
                                         tree_.Path("share/applications/gnome-mimeapps.list"),
                                         tree_.Path("share/applications/mimeapps.list")};
    EXPECT_EQ(lists, expected);
}

TEST_F(Xdg, TheFirstInstalledEntryOfTheFirstListThatNamesOneWins) {
    EXPECT_EQ(DefaultApplicationEntry(Paths(), kHttp), std::nullopt);
    std::string firefox = Entry("share", "firefox.desktop");
    std::string chromium = Entry("data", "chromium.desktop");
    List("share/applications/mimeapps.list", "chromium.desktop");
    EXPECT_EQ(DefaultApplicationEntry(Paths(), kHttp), chromium);
    // A more important list wins; entries that are not installed are passed over.
    List("etc/mimeapps.list", "missing.desktop; firefox.desktop ;chromium.desktop;");
    EXPECT_EQ(DefaultApplicationEntry(Paths(), kHttp), firefox);
    // The desktop's own list comes before the plain one of the same folder.
    List("etc/gnome-mimeapps.list", "chromium.desktop");
    EXPECT_EQ(DefaultApplicationEntry(Paths(), kHttp), chromium);
    // A list naming only missing entries defers to the next list.
    List("config/mimeapps.list", "missing.desktop");
    EXPECT_EQ(DefaultApplicationEntry(Paths(), kHttp), chromium);
    EXPECT_EQ(DefaultApplicationEntry(Paths(), "x-scheme-handler/ftp"), std::nullopt);
}

TEST_F(Xdg, DesktopEntriesInSubfoldersHiddenOnesAndBadIds) {
    std::string konqueror = Entry("share", "kde4/konqueror.desktop");
    EXPECT_EQ(platform::DesktopEntryPath(Paths(), "kde4-konqueror.desktop"), konqueror);
    Entry("data", "hidden.desktop", "Hidden=true\n");
    Entry("share", "hidden.desktop");
    EXPECT_EQ(platform::DesktopEntryPath(Paths(), "hidden.desktop"), std::nullopt);
    tree_.Folder("share/applications/folder.desktop");
    for (char const* bad : {"", "../x.desktop", ".hidden", "a/b.desktop", "folder.desktop"}) {
        EXPECT_EQ(platform::DesktopEntryPath(Paths(), bad), std::nullopt) << bad;
    }
}

TEST_F(Xdg, IniValuesBelongToTheirSection) {
    std::string path = tree_.Write("x.ini", "# comment\nkey=outside\n[Other]\nkey=other\n"
                                            "[Default Applications]\r\n  key  =  a;b  \r\n"
                                            "key=second\n[Default Applications2]\nkey=no\n");
    EXPECT_EQ(platform::IniValue(path, "Default Applications", "key"), "a;b");
    EXPECT_EQ(platform::IniValue(path, "Other", "key"), "other");
    EXPECT_EQ(platform::IniValue(path, "Missing", "key"), std::nullopt);
    EXPECT_EQ(platform::IniValue(path, "Other", "KEY"), std::nullopt);
    EXPECT_EQ(platform::IniValue(tree_.Path("none.ini"), "Other", "key"), std::nullopt);
    std::string longLine = tree_.Write("long.ini", "[S]\nk=" + std::string(100000, 'x') + "\n");
    EXPECT_THROW(platform::IniValue(longLine, "S", "k"), MessageTooLong);
}

TEST(XdgSearchPathsFromEnvironment, VariablesOrTheirDefaults) {
    {
        ScopedEnvironment vars(
            {"HOME=/home/u", "XDG_DATA_HOME=relative/ignored", "XDG_DATA_DIRS="});
        XdgSearchPaths paths = platform::XdgSearchPathsFromEnvironment();
        EXPECT_EQ(paths.configDirs, (std::vector<std::string>{"/home/u/.config", "/etc/xdg"}));
        EXPECT_EQ(paths.dataDirs, (std::vector<std::string>{"/home/u/.local/share",
                                                            "/usr/local/share", "/usr/share"}));
        EXPECT_TRUE(paths.desktops.empty());
    }
    ScopedEnvironment vars({"XDG_CONFIG_HOME=/c", "XDG_CONFIG_DIRS=/x:rel:/y", "XDG_DATA_HOME=/d",
                            "XDG_DATA_DIRS=/s", "XDG_CURRENT_DESKTOP=ubuntu:GNOME:Zen"});
    XdgSearchPaths paths = platform::XdgSearchPathsFromEnvironment();
    EXPECT_EQ(paths.configDirs, (std::vector<std::string>{"/c", "/x", "/y"}));
    EXPECT_EQ(paths.dataDirs, (std::vector<std::string>{"/d", "/s"}));
    EXPECT_EQ(paths.desktops, (std::vector<std::string>{"ubuntu", "gnome", "zen"}));
}

} // namespace
