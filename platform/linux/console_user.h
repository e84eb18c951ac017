// The user logged in at the machine's console.
#pragma once

#include <optional>
#include <string>

#include "util/bytes.h"

namespace platform {

// The user of logind's active session on seat0, as its state files under
// /run/systemd record it (seats/seat0: ACTIVE_UID; users/<uid>: NAME, else
// the password database). Where logind keeps no seat0 file, the newest
// login in /run/utmp on a local console line (console, ttyN or an X
// display :N). None when nobody is logged in there. Read below
// $ZOR_SYSTEM_ROOT (see SystemPath).
std::optional<std::string> ConsoleUserName();

// The newest login on a local console line among utmp records.
std::optional<std::string> ConsoleUserOfUtmp(ConstData records);

} // namespace platform
