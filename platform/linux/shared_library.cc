#include "platform/linux/shared_library.h"

#include <dlfcn.h>

namespace platform {

namespace {

std::string LoaderError() {
    char const* text = dlerror();
    return text != nullptr ? text : "unknown loader error";
}

} // namespace

SharedLibrary::SharedLibrary(std::string const& name, Unload unload)
    : handle_(dlopen(name.c_str(),
                     RTLD_NOW | RTLD_LOCAL | (unload == Unload::Never ? RTLD_NODELETE : 0))) {
    if (handle_ == nullptr)
        throw LibraryUnavailable(LoaderError());
}

SharedLibrary::~SharedLibrary() {
    dlclose(handle_);
}

void* SharedLibrary::Symbol(char const* name) const {
    dlerror();
    void* symbol = dlsym(handle_, name);
    if (symbol == nullptr)
        throw LibraryUnavailable(LoaderError());
    return symbol;
}

} // namespace platform
