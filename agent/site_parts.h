// Readers of the parts of an agent-state file that describe the agent's
// sites, content, storage, usage logs and selected server.
#pragma once

#include <string>
#include <string_view>

#include "agent/json_fields.h"

namespace agent_json {

// The list's instance defaults to a value derived from the file's bytes.
AgentSites ReadSites(Json const& value, KeyPath const& path, std::string_view fileText);
AgentContent ReadContent(Json const& value, KeyPath const& path);
AgentUsage ReadUsage(Json const& value, KeyPath const& path);
// A record file's relative path is taken from baseFolder.
HostSelectorEntry ReadSelectedServer(Json const& value, KeyPath const& path,
                                     std::string const& baseFolder);

} // namespace agent_json
