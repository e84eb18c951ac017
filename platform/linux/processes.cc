#include "platform/linux/processes.h"

#include "platform/linux/descriptor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <string>
#include <unistd.h>
#include <utility>

namespace {

// The name the failed-assertion messages give this routine.
constexpr char kSourceName[] = "Shared/Portable/Processes/Mac/BSDProcessList";

// Processes that may start between sizing and reading the table.
constexpr std::size_t kSlackRecords = 5;

// Longest process id in decimal is 10 digits; "<id>/stat" and a NUL.
constexpr std::size_t kStatPathSize = 16;
// The id, the name and its parentheses fit well within this; the fields
// after the name hold no ")", so the last one read still ends the name.
constexpr std::size_t kStatPrefixSize = 128;
// Five load figures and counts fit well within this.
constexpr std::size_t kLoadAverageSize = 128;

void CheckProcessList(bool holds, unsigned line, char const* condition) {
    if (!holds) {
        std::fprintf(stderr, "%s:%u: failed assertion `%s'\n", kSourceName, line, condition);
        std::abort();
    }
}

class Directory {
public:
    explicit Directory(char const* path) : directory_(::opendir(path)) {}
    ~Directory() {
        if (directory_) {
            ::closedir(directory_);
        }
    }
    Directory(Directory const&) = delete;
    Directory& operator=(Directory const&) = delete;
    DIR* get() const { return directory_; }

private:
    DIR* directory_;
};

// Reads one process's stat file relative to a directory (the process
// directory, or the working directory for a full path).
bool ReadStat(int directory, char const* path, kinfo_proc& record) {
    platform::Descriptor file(::openat(directory, path, O_RDONLY | O_CLOEXEC));
    if (file.get() < 0) {
        return false; // the process has exited
    }
    char text[kStatPrefixSize];
    ssize_t const length = ::read(file.get(), text, sizeof text);
    return length > 0 && platform::ParseProcessStat(
                             std::string_view(text, static_cast<std::size_t>(length)), record);
}

// "<id>/stat" for a name that IsProcessId accepted (at most 10 digits).
std::array<char, kStatPathSize> StatPath(std::string_view id) {
    constexpr std::string_view kStat = "/stat";
    std::array<char, kStatPathSize> path{};
    std::memcpy(path.data(), id.data(), id.size());
    std::memcpy(path.data() + id.size(), kStat.data(), kStat.size());
    return path;
}

platform::ProcessTableSource* gInstalled = nullptr;

} // namespace

namespace platform {

ProcDirectoryTable::ProcDirectoryTable(std::string root) : root_(std::move(root)) {}

int ProcDirectoryTable::TableSize(std::size_t& records) {
    if (std::optional<std::size_t> entities = SchedulingEntities(); entities) {
        records = *entities + kSlackRecords;
        return 0;
    }
    Directory proc(root_.c_str());
    if (!proc.get()) {
        return errno;
    }
    records = kSlackRecords;
    errno = 0;
    while (dirent const* entry = ::readdir(proc.get())) {
        records += IsProcessId(entry->d_name);
    }
    return errno;
}

std::optional<std::size_t> ProcDirectoryTable::SchedulingEntities() const {
    std::string const path = root_ + "/loadavg";
    platform::Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (file.get() < 0) {
        return std::nullopt;
    }
    char text[kLoadAverageSize];
    ssize_t const length = ::read(file.get(), text, sizeof text);
    if (length <= 0) {
        return std::nullopt;
    }
    return ParseSchedulingEntities(std::string_view(text, static_cast<std::size_t>(length)));
}

int ProcDirectoryTable::ReadTable(kinfo_proc* records, std::size_t room, std::size_t& count) {
    Directory proc(root_.c_str());
    if (!proc.get()) {
        return errno;
    }
    int const directory = ::dirfd(proc.get());
    count = 0;
    for (;;) {
        errno = 0; // reading an exited process's file sets it
        dirent const* entry = ::readdir(proc.get());
        if (!entry) {
            return errno;
        }
        if (!IsProcessId(entry->d_name)) {
            continue;
        }
        if (count == room) {
            return ENOMEM;
        }
        count += ReadStat(directory, StatPath(entry->d_name).data(), records[count]);
    }
}

bool ProcDirectoryTable::ReadProcess(std::uint32_t pid, kinfo_proc& record) {
    std::string const path = root_ + "/" + std::to_string(pid) + "/stat";
    return ReadStat(AT_FDCWD, path.c_str(), record) &&
           static_cast<std::uint32_t>(record.kp_proc.p_pid) == pid;
}

ProcessTableSource& ProcessTable() {
    static ProcDirectoryTable live("/proc");
    return gInstalled ? *gInstalled : live;
}

ScopedProcessTableSource::ScopedProcessTableSource(ProcessTableSource& source)
    : previous_(gInstalled) {
    gInstalled = &source;
}

ScopedProcessTableSource::~ScopedProcessTableSource() {
    gInstalled = previous_;
}

std::optional<std::size_t> ParseSchedulingEntities(std::string_view text) {
    // "0.52 0.58 0.59 2/170 12345": the fourth field is running/total.
    std::size_t field = 0;
    for (int skip = 0; skip < 3; ++skip) {
        field = text.find(' ', field);
        if (field == std::string_view::npos) {
            return std::nullopt;
        }
        ++field;
    }
    std::size_t const slash = text.find('/', field);
    if (slash == std::string_view::npos) {
        return std::nullopt;
    }
    std::string_view const rest = text.substr(slash + 1);
    std::size_t total = 0;
    auto const [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), total);
    if (error != std::errc() || end == rest.data() ||
        (end != rest.data() + rest.size() && *end != ' ')) {
        return std::nullopt;
    }
    return total;
}

bool IsProcessId(std::string_view name) {
    std::int32_t id = 0;
    if (name.empty() || name.front() == '0') {
        return false;
    }
    auto const [end, error] = std::from_chars(name.data(), name.data() + name.size(), id);
    return error == std::errc() && end == name.data() + name.size() && id > 0;
}

bool ParseProcessStat(std::string_view text, kinfo_proc& record) {
    std::size_t const open = text.find(" (");
    std::size_t const close = text.rfind(')');
    if (open == std::string_view::npos || close == std::string_view::npos || close < open + 2) {
        return false;
    }
    std::string_view const id = text.substr(0, open);
    std::int32_t pid = 0;
    auto const [end, error] = std::from_chars(id.data(), id.data() + id.size(), pid);
    if (id.empty() || error != std::errc() || end != id.data() + id.size() || pid < 0) {
        return false;
    }
    std::string_view const name = text.substr(open + 2, close - open - 2);
    std::size_t const length = std::min(name.size(), sizeof record.kp_proc.p_comm - 1);
    record = {};
    record.kp_proc.p_pid = pid;
    std::memcpy(record.kp_proc.p_comm, name.data(), length);
    return true;
}

} // namespace platform

int GetBSDProcessList(kinfo_proc** procList, std::size_t* procCount) {
    CheckProcessList(procList != NULL, 32, "procList != NULL");
    CheckProcessList(*procList == NULL, 33, "*procList == NULL");
    CheckProcessList(procCount != NULL, 34, "procCount != NULL");
    *procCount = 0;

    platform::ProcessTableSource& table = platform::ProcessTable();
    kinfo_proc* result = NULL;
    std::size_t count = 0;
    int err = 0;
    for (bool done = false; !done;) {
        std::size_t room = 0;
        err = table.TableSize(room);
        if (err != 0) {
            break;
        }
        result = static_cast<kinfo_proc*>(std::malloc(room * sizeof(kinfo_proc)));
        if (result == NULL) {
            err = ENOMEM;
            break;
        }
        err = table.ReadTable(result, room, count);
        if (err == ENOMEM) {
            // The table grew since it was sized: size it again.
            CheckProcessList(result != NULL, 86, "result != NULL");
            std::free(result);
            result = NULL;
        } else {
            if (err != 0) {
                std::free(result);
                result = NULL;
            }
            done = true;
        }
    }

    *procList = result;
    if (err == 0) {
        *procCount = count;
    }
    CheckProcessList((err == 0) == (*procList != NULL), 105, "(err == 0) == (*procList != NULL)");
    return err;
}
