// What zoraction finds out about one action script, and its two report forms.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "action/download_list.h"
#include "action/win_version.h"

struct ScriptError {
    std::uint16_t line;
    std::string message;
};

struct ActionCheck {
    // The earliest syntax error any reading of the script found.
    std::optional<ScriptError> error;
    std::uint16_t actionLines = 0;
    WinVersion requiredVersion;
    std::vector<std::string> lines;
    std::vector<DownloadFileInfo> downloads;
};

// Which optional sections a report includes.
struct ReportParts {
    bool lines = false;
    bool downloads = false;
};

// Reads script as the agent does: once as a run with every if taken, once to
// list its downloads, once to count its lines and once to list them.
ActionCheck CheckActionScript(std::string const& script);

std::string FormatText(ActionCheck const& check, ReportParts parts);
nlohmann::json FormatJson(ActionCheck const& check, ReportParts parts);
