// The agent itself: its installation as the "client", its version, the user
// it runs as, and the registration and download servers it works with.
#pragma once

#include <cstdint>

#include "evaluator/values.h"
#include "files/file_values.h"
#include "framework/registration.h"

// What the agent knows of its servers, filled through its server context.
// Texts are NUL-terminated; empty or a time of 0 means unknown.
struct InspectorServerData {
    std::int64_t apparentTime; // the registration server's clock, microseconds since 1970
    char registrationVersion[32];
    char registrationName[256];
    char downloadName[256];
};

struct client : filesystem_object {
    static char const* TypeName() { return "client"; }
    using filesystem_object::filesystem_object;
};
static_assert(sizeof(client) == sizeof(filesystem_object));

struct client_process_owner {
    static char const* TypeName() { return "client process owner"; }
    unsigned char unused;
};

struct registration_server {
    static char const* TypeName() { return "registration server"; }
    unsigned char unused;
};

struct download_server {
    static char const* TypeName() { return "download server"; }
    unsigned char unused;
};

client client_of_world();
inspector_string version_of(client const& agent);
boolean PendingLogin_of_world();
client_process_owner ProcessOwner(Of, client const& agent);
inspector_string LongName(Of, client_process_owner const& owner);
inspector_string ShortName(Of, client_process_owner const& owner);
inspector_string AsString(client_process_owner const& owner);
registration_server RegistrationServer_of_world();
moment ApparentServerTime_of_world();
moment Now_of(registration_server const& server);
inspector_string Version_of(registration_server const& server);
inspector_string Name_of(registration_server const& server);
download_server DownloadServer_of_world();
inspector_string DownloadName_of(download_server const& server);
