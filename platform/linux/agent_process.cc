#include "platform/linux/agent_process.h"

#include <filesystem>
#include <pwd.h>
#include <unistd.h>
#include <vector>

namespace platform {

std::string ExecutableFolder() {
    std::error_code error;
    std::filesystem::path const program = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error) {
        throw ExecutablePathFailed();
    }
    return program.parent_path();
}

std::string ProcessOwnerName(bool shortName) {
    long const suggested = sysconf(_SC_GETPW_R_SIZE_MAX);
    std::vector<char> buffer(suggested > 0 ? static_cast<std::size_t>(suggested) : 16384);
    passwd entry{};
    passwd* found = nullptr;
    while (getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &found) == ERANGE) {
        buffer.resize(buffer.size() * 2);
    }
    if (!found) {
        throw NoSuchObject();
    }
    std::string const login = found->pw_name;
    if (shortName || !found->pw_gecos) {
        return login;
    }
    std::string const comment = found->pw_gecos;
    std::string const fullName = comment.substr(0, comment.find(','));
    return fullName.empty() ? login : fullName;
}

} // namespace platform
