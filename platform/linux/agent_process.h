// The process the agent runs as: where its program lives and whose it is.
#pragma once

#include <string>

#include "evaluator/errors.h"

namespace platform {

// The running program's path could not be read.
class ExecutablePathFailed : public DebuggableException {
public:
    const char* what() const noexcept override { return "ExecutablePathFailed"; }
};

// The folder holding the running program.
std::string ExecutableFolder();

// The user the process runs as (its effective user): the login name, or the
// full name (the first field of the account's comment, else the login name).
// NoSuchObject when the account has no entry.
std::string ProcessOwnerName(bool shortName);

} // namespace platform
