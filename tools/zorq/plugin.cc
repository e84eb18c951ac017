#include "tools/zorq/plugin.h"

#include <dlfcn.h>
#include <utility>

namespace zorq {

Plugin Plugin::load(std::filesystem::path const& path) {
    // A name without a slash would make dlopen search the library path.
    auto const explicitPath = path.has_parent_path() ? path : std::filesystem::path(".") / path;
    void* handle = dlopen(explicitPath.c_str(), RTLD_NOW | RTLD_GLOBAL);
    if (handle == nullptr)
        throw PluginError("cannot load plug-in " + path.string() + ": " + dlerror());
    return Plugin(handle, path);
}

Plugin::Plugin(Plugin&& other) noexcept
    : handle_(std::exchange(other.handle_, nullptr)), path_(std::move(other.path_)) {}

Plugin& Plugin::operator=(Plugin&& other) noexcept {
    if (this != &other) {
        if (handle_ != nullptr)
            dlclose(handle_);
        handle_ = std::exchange(other.handle_, nullptr);
        path_ = std::move(other.path_);
    }
    return *this;
}

Plugin::~Plugin() {
    if (handle_ != nullptr)
        dlclose(handle_);
}

std::vector<std::filesystem::path> defaultPluginLocations(std::filesystem::path const& exeFolder) {
    char const name[] = "libZORInspectors.so";
    return {exeFolder / ".." / ".." / "inspectors" / name, exeFolder / ".." / "lib" / name};
}

std::optional<Plugin> loadFirstPresent(std::vector<std::filesystem::path> const& candidates) {
    for (auto const& candidate : candidates) {
        if (std::filesystem::exists(candidate))
            return Plugin::load(candidate);
    }
    return std::nullopt;
}

std::filesystem::path executableFolder() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

} // namespace zorq
