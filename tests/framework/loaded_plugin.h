// Loads the inspector plug-in for a test scope and unloads it at the end.
#pragma once

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "evaluator/evaluator.h"

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

#ifdef ZOR_PLUGIN_PATH
// A test suite with the plug-in loaded from its first test to its last.
class PluginSuite : public testing::Test {
protected:
    static void SetUpTestSuite() { plugin_ = std::make_unique<LoadedPlugin>(ZOR_PLUGIN_PATH); }
    static void TearDownTestSuite() { plugin_.reset(); }

private:
    static inline std::unique_ptr<LoadedPlugin> plugin_;
};
#endif
