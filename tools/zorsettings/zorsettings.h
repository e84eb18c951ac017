// The zorsettings command: lists, reads and changes the agent's setting
// stores in their property-list file.
#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "util/instant.h"

// Runs one command line (without the program name); returns the exit status:
// 0 done, 1 no such setting, 2 usage error, 3 the file could not be written.
int RunZorSettings(std::vector<std::string> const& arguments, std::ostream& out, std::ostream& err);

// "2026-11-21T10:51:42.123456Z" (UTC, microseconds), "-" for no date.
std::string FormatInstant(Instant instant);
// The form above with 0 to 6 fraction digits, "now", or "-" for no date.
std::optional<Instant> ParseInstant(std::string_view text);
// Bytes shown on one line: control bytes, backslash and bytes that are not
// UTF-8 text as \xNN.
std::string Printable(std::string_view bytes);
