#include "platform/linux/environment.h"

#include <cstdlib>
#include <unistd.h>

namespace platform {

char* const* EnvironmentEntries() {
    return environ;
}

char const* EnvironmentValue(char const* name) {
    return std::getenv(name);
}

} // namespace platform
