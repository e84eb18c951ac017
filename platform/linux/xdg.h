// Applications as the XDG conventions record them: desktop entries in the
// data folders' "applications" folders, and mimeapps.list files naming the
// defaults, found along the XDG search paths.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/linux/descriptor.h"
#include "platform/linux/files.h"

namespace platform {

// The folders to search, most important first.
struct XdgSearchPaths {
    std::vector<std::string> configDirs; // $XDG_CONFIG_HOME, then $XDG_CONFIG_DIRS
    std::vector<std::string> dataDirs;   // $XDG_DATA_HOME, then $XDG_DATA_DIRS
    std::vector<std::string> desktops;   // $XDG_CURRENT_DESKTOP entries, lower case
};

// From the environment, with the documented defaults: ~/.config, /etc/xdg,
// ~/.local/share, /usr/local/share:/usr/share.
XdgSearchPaths XdgSearchPathsFromEnvironment();

using IniEntries = std::vector<std::pair<std::string, std::string>>;

// The key = value lines of `[section]` of a desktop-entry style text, in
// their order; comments and lines without "=" are skipped. Raises
// MessageTooLong for a line over 64 KiB.
IniEntries IniSection(std::string_view text, std::string_view section);
// The same of a file; none of a missing file or one that is not regular.
IniEntries IniFileSection(std::string const& path, std::string_view section);

// The first value of `key` in `[section]` of a desktop-entry style file;
// none when the file, section or key is absent.
std::optional<std::string> IniValue(std::string const& path, std::string_view section,
                                    std::string_view key);

// What the [Desktop Entry] group of a desktop entry's text says (the
// unlocalised keys; of a key given twice, the first). Raises MessageTooLong
// for a line over 64 KiB.
struct DesktopEntry {
    std::string type;
    std::string name;
    std::string exec;
    std::string tryExec;
    bool hidden = false;
    bool noDisplay = false;
};
DesktopEntry ReadDesktopEntry(std::string_view text);

// The program an Exec value runs: its first argument after the value's
// escapes (\s \n \t \r \\) and the argument's double quotes are undone;
// none for an empty or unterminated one.
std::optional<std::string> ExecProgram(std::string_view exec);

struct FoundProgram {
    std::string path;
    FileStatus status;
};

// Programs as the desktop-entry conventions resolve them: an absolute path
// as it stands, a bare name in the absolute folders of $PATH as it was when
// the search was made (default /usr/local/bin:/usr/bin:/bin); a regular
// file that someone may execute, or none. Any other relative name is none.
class ProgramSearch {
public:
    ProgramSearch();
    std::optional<FoundProgram> Find(std::string_view program) const;

private:
    std::vector<std::pair<std::string, Descriptor>> folders_; // held open for the search
};

// Desktop entries larger than this are not read.
inline constexpr std::size_t kLargestDesktopEntry = 1024 * 1024;

struct InstalledApplication {
    std::string id;       // the desktop file id ("org.example.App.desktop")
    std::string name;     // its Name
    FoundProgram program; // the program it runs
};

// Every installed application: the desktop entries of each data folder's
// "applications" folder (subfolders giving ids with "-"), the first folder
// holding an id hiding the others. Left out: Hidden entries (which also hide
// the id further down), entries whose Type is not Application, whose TryExec
// or Exec program is not found, and files that cannot be read or are larger
// than kLargestDesktopEntry. NoDisplay
// entries are applications not shown in menus, so they stay. In the order
// of the folders, then of the ids.
std::vector<InstalledApplication> InstalledApplications(XdgSearchPaths const& paths);

// The mimeapps.list files in the order they are consulted: for each config
// folder, then each data folder's "applications", first the desktop-specific
// "<desktop>-mimeapps.list" files, then "mimeapps.list".
std::vector<std::string> MimeAppsLists(XdgSearchPaths const& paths);

// The path of the installed desktop entry with this desktop file id (a
// '-' in the id may stand for a subfolder); none when no data folder has
// it or the entry is marked Hidden.
std::optional<std::string> DesktopEntryPath(XdgSearchPaths const& paths, std::string_view id);

// The desktop entry of the default application for a MIME type (such as
// "x-scheme-handler/http"): the first installed entry named under
// [Default Applications] in the first list that names one.
std::optional<std::string> DefaultApplicationEntry(XdgSearchPaths const& paths,
                                                   std::string_view mimeType);

} // namespace platform
