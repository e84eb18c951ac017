#include "platform/linux/console_user.h"

#include <cstring>
#include <fcntl.h>
#include <pwd.h>
#include <string_view>
#include <utmp.h>

#include "platform/linux/device_registry.h"
#include "platform/linux/files.h"
#include "platform/linux/system_info.h"

namespace platform {

namespace {

// utmp files hold one record per terminal line ever used; this is far more
// than any machine has.
constexpr std::size_t kLargestUtmp = 4 * 1024 * 1024;

std::optional<std::string> StateFile(std::string const& path, std::size_t limit) {
    return ReadSmallFile(AT_FDCWD, path.c_str(), limit);
}

std::string_view Field(char const* bytes, std::size_t room) {
    return std::string_view(bytes, strnlen(bytes, room));
}

bool IsLocalConsoleLine(std::string_view line) {
    auto digitsAfter = [&](std::string_view prefix) {
        return line.size() > prefix.size() && line.starts_with(prefix) &&
               line.find_first_not_of("0123456789", prefix.size()) == std::string_view::npos;
    };
    return line == "console" || digitsAfter("tty") || digitsAfter(":");
}

std::optional<std::string> UserNamed(std::string const& uid) {
    if (uid.empty() || uid.find_first_not_of("0123456789") != std::string::npos || uid.size() > 9) {
        return std::nullopt;
    }
    if (auto users = StateFile(SystemPath("/run/systemd/users/" + uid), 64 * 1024)) {
        if (auto name = OsReleaseValue(*users, "NAME"); name && !name->empty()) {
            return name;
        }
    }
    passwd entry{};
    passwd* found = nullptr;
    char buffer[4096];
    if (getpwuid_r(static_cast<uid_t>(std::stoul(uid)), &entry, buffer, sizeof buffer, &found) !=
            0 ||
        !found) {
        return std::nullopt;
    }
    return std::string(found->pw_name);
}

} // namespace

std::optional<std::string> ConsoleUserOfUtmp(ConstData records) {
    std::optional<std::string> user;
    long newest = 0;
    for (std::size_t at = 0; at + sizeof(utmp) <= records.Length(); at += sizeof(utmp)) {
        utmp record;
        std::memcpy(&record, records.begin() + at, sizeof record);
        std::string_view name = Field(record.ut_user, sizeof record.ut_user);
        if (record.ut_type != USER_PROCESS || name.empty() ||
            !IsLocalConsoleLine(Field(record.ut_line, sizeof record.ut_line))) {
            continue;
        }
        if (!user || record.ut_tv.tv_sec >= newest) {
            user = std::string(name);
            newest = record.ut_tv.tv_sec;
        }
    }
    return user;
}

std::optional<std::string> ConsoleUserName() {
    if (auto seat = StateFile(SystemPath("/run/systemd/seats/seat0"), 64 * 1024)) {
        auto uid = OsReleaseValue(*seat, "ACTIVE_UID");
        return uid ? UserNamed(*uid) : std::nullopt;
    }
    auto utmp = StateFile(SystemPath("/run/utmp"), kLargestUtmp);
    return utmp ? ConsoleUserOfUtmp(ConstData(*utmp)) : std::nullopt;
}

} // namespace platform
