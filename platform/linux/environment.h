// The live environment of this process.
#pragma once

namespace platform {

// The process's environment array: NUL-terminated "name=value" entries
// followed by a null pointer. Read afresh on every call.
char* const* EnvironmentEntries();

// The value of the named variable, or null when it is not set.
char const* EnvironmentValue(char const* name);

} // namespace platform
