// Default applications as the XDG conventions record them: mimeapps.list
// files naming desktop entries, found along the XDG search paths.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

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

// The first value of `key` in `[section]` of a desktop-entry style file;
// none when the file, section or key is absent.
std::optional<std::string> IniValue(std::string const& path, std::string_view section,
                                    std::string_view key);

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
