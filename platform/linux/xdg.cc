#include "platform/linux/xdg.h"

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <functional>
#include <set>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/linux/descriptor.h"
#include "text/message_maker.h"

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

using IniVisitor = std::function<void(std::string_view key, std::string_view value)>;

// Hands the key = value lines of one section to `visit` as a LineMaker
// delivers them.
LineMaker::Handler SectionLines(std::string_view section, IniVisitor visit) {
    return [section, visit = std::move(visit), inSection = false](ConstData line) mutable {
        std::string_view text = Trim(line.view());
        if (text.empty() || text.front() == '#') {
            return;
        }
        if (text.front() == '[') {
            inSection = text.size() == section.size() + 2 && text.back() == ']' &&
                        text.substr(1, section.size()) == section;
            return;
        }
        std::size_t equals = text.find('=');
        if (inSection && equals != std::string_view::npos) {
            visit(Trim(text.substr(0, equals)), Trim(text.substr(equals + 1)));
        }
    };
}

void ForEachIniEntry(std::string_view text, std::string_view section, IniVisitor visit) {
    LineMaker lines(SectionLines(section, std::move(visit)));
    lines.Start();
    lines.Receive(ConstData(text));
    lines.ReceiveEnd();
}

constexpr char kDefaultProgramPath[] = "/usr/local/bin:/usr/bin:/bin";

// Subfolders of an applications folder are searched this deep, so that a
// loop of folder links ends.
constexpr int kDesktopFolderDepth = 8;

// `name` in the folder if it is a program: a regular file someone may run.
std::optional<FoundProgram> ExecutableFile(int folder, std::string path, char const* name) {
    auto status = StatAt(folder, name);
    if (!status || status->kind != FileKind::Regular || !status->executable) {
        return std::nullopt;
    }
    return FoundProgram{std::move(path), *status};
}

// The escapes of a desktop-entry string value.
std::string UndoStringEscapes(std::string_view text) {
    std::string value;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\' || i + 1 == text.size()) {
            value += text[i];
            continue;
        }
        switch (char const next = text[++i]) {
        case 's':
            value += ' ';
            break;
        case 'n':
            value += '\n';
            break;
        case 't':
            value += '\t';
            break;
        case 'r':
            value += '\r';
            break;
        case '\\':
            value += '\\';
            break;
        default:
            value += '\\';
            value += next;
        }
    }
    return value;
}

// A desktop entry file: its id, and its name in a folder held open.
struct DesktopFile {
    std::string id;
    int folder;
    std::string name;
};

// The ".desktop" files below `path`, each with its desktop file id (the path
// below the applications folder with "/" read as "-"); `folders` keeps the
// folders open. Opening the files relative to their folder spares a walk of
// the whole path for each.
void CollectDesktopFiles(std::string const& path, std::string const& idPrefix, int depth,
                         std::vector<Descriptor>& folders, std::vector<DesktopFile>& files) {
    Descriptor folder(::open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (depth == 0 || !folder.valid()) {
        return;
    }
    int const at = folder.get();
    folders.push_back(std::move(folder));
    for (FolderEntry& entry : ListFolder(at, ".")) {
        EntryType type = entry.type;
        if (type == EntryType::Link || type == EntryType::Unknown) {
            auto status = StatAt(at, entry.name.c_str());
            type = !status                               ? EntryType::Other
                   : status->kind == FileKind::Directory ? EntryType::Folder
                   : status->kind == FileKind::Regular   ? EntryType::Regular
                                                         : EntryType::Other;
        }
        if (type == EntryType::Folder) {
            CollectDesktopFiles(path + "/" + entry.name, idPrefix + entry.name + "-", depth - 1,
                                folders, files);
        } else if (type == EntryType::Regular && entry.name.size() > 8 &&
                   entry.name.ends_with(".desktop")) {
            files.push_back({idPrefix + entry.name, at, std::move(entry.name)});
        }
    }
}

// The Name and program of an application's entry; none for an entry that
// is hidden, no application, unreadable, or whose program is missing.
std::optional<std::pair<std::string, FoundProgram>>
ApplicationProgram(DesktopFile const& file, ProgramSearch const& search) {
    Descriptor opened(::openat(file.folder, file.name.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    auto text = opened.valid() ? ReadBounded(opened.get(), kLargestDesktopEntry) : std::nullopt;
    if (!text) {
        return std::nullopt;
    }
    DesktopEntry entry;
    try {
        entry = ReadDesktopEntry(*text);
    } catch (MessageTooLong const&) {
        return std::nullopt; // a line over the limit: not an entry this reader accepts
    }
    if (entry.hidden || entry.type != "Application" ||
        (!entry.tryExec.empty() && !search.Find(UndoStringEscapes(entry.tryExec)))) {
        return std::nullopt;
    }
    auto program = ExecProgram(entry.exec);
    auto found = program ? search.Find(*program) : std::nullopt;
    if (!found) {
        return std::nullopt;
    }
    return std::make_pair(std::move(entry.name), std::move(*found));
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

IniEntries IniSection(std::string_view text, std::string_view section) {
    IniEntries entries;
    ForEachIniEntry(text, section, [&](std::string_view key, std::string_view value) {
        entries.emplace_back(key, value);
    });
    return entries;
}

IniEntries IniFileSection(std::string const& path, std::string_view section) {
    IniEntries entries;
    if (IsRegularFile(path)) {
        LineMaker lines(SectionLines(section, [&](std::string_view key, std::string_view value) {
            entries.emplace_back(key, value);
        }));
        ReadFile(path, lines);
    }
    return entries;
}

std::optional<std::string> IniValue(std::string const& path, std::string_view section,
                                    std::string_view key) {
    for (auto& [name, value] : IniFileSection(path, section)) {
        if (name == key) {
            return std::move(value);
        }
    }
    return std::nullopt;
}

DesktopEntry ReadDesktopEntry(std::string_view text) {
    DesktopEntry entry;
    std::string* const texts[] = {&entry.type, &entry.name, &entry.exec, &entry.tryExec};
    bool* const truths[] = {&entry.hidden, &entry.noDisplay};
    constexpr std::string_view kTextKeys[] = {"Type", "Name", "Exec", "TryExec"};
    constexpr std::string_view kTruthKeys[] = {"Hidden", "NoDisplay"};
    unsigned seen = 0; // one bit per key: the first value counts
    ForEachIniEntry(text, "Desktop Entry", [&](std::string_view key, std::string_view value) {
        for (unsigned i = 0; i < std::size(kTextKeys); ++i) {
            if (key == kTextKeys[i] && !(seen & 1u << i)) {
                seen |= 1u << i;
                *texts[i] = value;
            }
        }
        for (unsigned i = 0; i < std::size(kTruthKeys); ++i) {
            unsigned const bit = 1u << (i + std::size(kTextKeys));
            if (key == kTruthKeys[i] && !(seen & bit)) {
                seen |= bit;
                *truths[i] = value == "true";
            }
        }
    });
    return entry;
}

std::optional<std::string> ExecProgram(std::string_view exec) {
    std::string const value = UndoStringEscapes(exec);
    std::size_t const at = value.find_first_not_of(" \t");
    if (at == std::string::npos) {
        return std::nullopt;
    }
    if (value[at] != '"') {
        return value.substr(at, value.find_first_of(" \t\n", at) - at);
    }
    std::string program;
    for (std::size_t i = at + 1; i < value.size(); ++i) {
        char c = value[i];
        if (c == '"') {
            return program.empty() ? std::nullopt : std::optional<std::string>(program);
        }
        if (c == '\\' && i + 1 < value.size()) {
            c = value[++i];
        }
        program += c;
    }
    return std::nullopt; // the closing quote is missing
}

ProgramSearch::ProgramSearch() {
    std::string const searched = Environment("PATH");
    for (std::string& folder : Split(searched.empty() ? kDefaultProgramPath : searched, ':')) {
        Descriptor opened(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
        if (folder.front() == '/' && opened.valid()) {
            folders_.push_back({std::move(folder), std::move(opened)});
        }
    }
}

std::optional<FoundProgram> ProgramSearch::Find(std::string_view program) const {
    if (program.empty()) {
        return std::nullopt;
    }
    std::string const name(program);
    if (program.front() == '/') {
        return ExecutableFile(AT_FDCWD, name, name.c_str());
    }
    if (program.find('/') != std::string_view::npos) {
        return std::nullopt;
    }
    for (auto const& [path, folder] : folders_) {
        if (auto found = ExecutableFile(folder.get(), path + "/" + name, name.c_str())) {
            return found;
        }
    }
    return std::nullopt;
}

std::vector<InstalledApplication> InstalledApplications(XdgSearchPaths const& paths) {
    std::vector<InstalledApplication> applications;
    std::set<std::string> decided;
    ProgramSearch const search;
    for (std::string const& folder : paths.dataDirs) {
        std::vector<Descriptor> folders;
        std::vector<DesktopFile> files;
        CollectDesktopFiles(folder + "/applications", "", kDesktopFolderDepth, folders, files);
        std::sort(files.begin(), files.end(),
                  [](DesktopFile const& a, DesktopFile const& b) { return a.id < b.id; });
        for (DesktopFile const& file : files) {
            if (!decided.insert(file.id).second) {
                continue;
            }
            if (auto program = ApplicationProgram(file, search)) {
                applications.push_back({file.id, program->first, std::move(program->second)});
            }
        }
    }
    return applications;
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
