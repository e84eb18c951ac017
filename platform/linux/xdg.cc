#include "platform/linux/xdg.h"

#include <cstdlib>

#include "platform/linux/files.h"
#include "text/line_maker.h"
#include "text/read_file.h"

namespace platform {

namespace {

std::string_view Trim(std::string_view text) {
    std::size_t begin = text.find_first_not_of(" \t");
    if (begin == std::string_view::npos) {
        return {};
    }
    return text.substr(begin, text.find_last_not_of(" \t") - begin + 1);
}

std::vector<std::string> Split(std::string_view text, char separator) {
    std::vector<std::string> parts;
    std::size_t start = 0;
    while (start <= text.size()) {
        std::size_t end = text.find(separator, start);
        if (end == std::string_view::npos) {
            end = text.size();
        }
        std::string_view part = Trim(text.substr(start, end - start));
        if (!part.empty()) {
            parts.emplace_back(part);
        }
        start = end + 1;
    }
    return parts;
}

std::string Environment(char const* name) {
    char const* value = std::getenv(name);
    return value ? value : "";
}

// An absolute folder from the environment, else the default.
std::string HomeFolder(char const* name, char const* underHome) {
    std::string value = Environment(name);
    if (!value.empty() && value.front() == '/') {
        return value;
    }
    return Environment("HOME") + underHome;
}

// The absolute entries of a colon-separated list, else the default list.
std::vector<std::string> FolderList(char const* name, char const* fallback) {
    std::vector<std::string> folders;
    for (std::string& folder : Split(Environment(name), ':')) {
        if (folder.front() == '/') {
            folders.push_back(std::move(folder));
        }
    }
    return folders.empty() ? Split(fallback, ':') : folders;
}

std::string Lowercase(std::string text) {
    for (char& c : text) {
        if (c >= 'A' && c <= 'Z') {
            c = static_cast<char>(c - 'A' + 'a');
        }
    }
    return text;
}

bool IsRegularFile(std::string const& path) {
    auto status = StatPath(path);
    return status && status->kind == FileKind::Regular;
}

} // namespace

XdgSearchPaths XdgSearchPathsFromEnvironment() {
    XdgSearchPaths paths;
    paths.configDirs.push_back(HomeFolder("XDG_CONFIG_HOME", "/.config"));
    for (std::string& folder : FolderList("XDG_CONFIG_DIRS", "/etc/xdg")) {
        paths.configDirs.push_back(std::move(folder));
    }
    paths.dataDirs.push_back(HomeFolder("XDG_DATA_HOME", "/.local/share"));
    for (std::string& folder : FolderList("XDG_DATA_DIRS", "/usr/local/share:/usr/share")) {
        paths.dataDirs.push_back(std::move(folder));
    }
    for (std::string& desktop : Split(Environment("XDG_CURRENT_DESKTOP"), ':')) {
        paths.desktops.push_back(Lowercase(std::move(desktop)));
    }
    return paths;
}

std::optional<std::string> IniValue(std::string const& path, std::string_view section,
                                    std::string_view key) {
    if (!IsRegularFile(path)) {
        return std::nullopt;
    }
    std::optional<std::string> found;
    bool inSection = false;
    LineMaker lines([&](ConstData line) {
        std::string_view text = Trim(line.view());
        if (found || text.empty() || text.front() == '#') {
            return;
        }
        if (text.front() == '[') {
            inSection = text.size() == section.size() + 2 && text.back() == ']' &&
                        text.substr(1, section.size()) == section;
            return;
        }
        std::size_t equals = text.find('=');
        if (inSection && equals != std::string_view::npos && Trim(text.substr(0, equals)) == key) {
            found = std::string(Trim(text.substr(equals + 1)));
        }
    });
    ReadFile(path, lines);
    return found;
}

std::vector<std::string> MimeAppsLists(XdgSearchPaths const& paths) {
    std::vector<std::string> lists;
    auto addFolder = [&](std::string const& folder) {
        for (std::string const& desktop : paths.desktops) {
            lists.push_back(folder + "/" + desktop + "-mimeapps.list");
        }
        lists.push_back(folder + "/mimeapps.list");
    };
    for (std::string const& folder : paths.configDirs) {
        addFolder(folder);
    }
    for (std::string const& folder : paths.dataDirs) {
        addFolder(folder + "/applications");
    }
    return lists;
}

std::optional<std::string> DesktopEntryPath(XdgSearchPaths const& paths, std::string_view id) {
    if (id.empty() || id.find('/') != std::string_view::npos || id.front() == '.') {
        return std::nullopt;
    }
    std::vector<std::string> names{std::string(id)};
    for (std::size_t dash = id.find('-'); dash != std::string_view::npos;
         dash = id.find('-', dash + 1)) {
        names.push_back(std::string(id.substr(0, dash)) + "/" + std::string(id.substr(dash + 1)));
    }
    for (std::string const& folder : paths.dataDirs) {
        for (std::string const& name : names) {
            std::string path = folder + "/applications/" + name;
            if (IsRegularFile(path)) {
                bool hidden = IniValue(path, "Desktop Entry", "Hidden") == "true";
                return hidden ? std::nullopt : std::optional<std::string>(path);
            }
        }
    }
    return std::nullopt;
}

std::optional<std::string> DefaultApplicationEntry(XdgSearchPaths const& paths,
                                                   std::string_view mimeType) {
    for (std::string const& list : MimeAppsLists(paths)) {
        auto ids = IniValue(list, "Default Applications", mimeType);
        for (std::string const& id : Split(ids.value_or(""), ';')) {
            if (auto entry = DesktopEntryPath(paths, id)) {
                return entry;
            }
        }
    }
    return std::nullopt;
}

} // namespace platform
