// Loads the inspector plug-in for a test scope and unloads it at the end.
#pragma once

#include <dlfcn.h>
#include <stdexcept>
#include <string>

class LoadedPlugin {
public:
    explicit LoadedPlugin(char const* path) : handle_(dlopen(path, RTLD_NOW | RTLD_LOCAL)) {
        if (!handle_) {
            throw std::runtime_error(std::string("cannot load the plug-in: ") + dlerror());
        }
    }
    ~LoadedPlugin() { Unload(); }
    LoadedPlugin(LoadedPlugin const&) = delete;
    LoadedPlugin& operator=(LoadedPlugin const&) = delete;

    void Unload() {
        if (handle_) {
            dlclose(handle_);
            handle_ = nullptr;
        }
    }

private:
    void* handle_;
};
