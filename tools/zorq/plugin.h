// Loading the inspector plug-in into zorq's process.
#pragma once

#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace zorq {

class PluginError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Owns one dlopen handle; the library is closed (and its phrases withdrawn)
// when the owner goes away, so nothing compiled against it may outlive it.
class Plugin {
public:
    // Loads the library at path with its symbols global; throws PluginError.
    static Plugin load(std::filesystem::path const& path);

    Plugin(Plugin&& other) noexcept;
    Plugin& operator=(Plugin&& other) noexcept;
    Plugin(Plugin const&) = delete;
    Plugin& operator=(Plugin const&) = delete;
    ~Plugin();

    std::filesystem::path const& path() const { return path_; }

private:
    Plugin(void* handle, std::filesystem::path path) : handle_(handle), path_(std::move(path)) {}

    void* handle_;
    std::filesystem::path path_;
};

// Where zorq looks for libZORInspectors.so: the build tree, then the
// install tree, both relative to the folder of the zorq executable.
std::vector<std::filesystem::path> defaultPluginLocations(std::filesystem::path const& exeFolder);

// Loads the first candidate that exists; none existing is not an error, but
// one that exists and fails to load is.
std::optional<Plugin> loadFirstPresent(std::vector<std::filesystem::path> const& candidates);

// The folder holding the running executable.
std::filesystem::path executableFolder();

} // namespace zorq
