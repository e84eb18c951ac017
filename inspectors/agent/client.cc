#include "inspectors/agent/client.h"

#include <cstring>

#include "evaluator/helpers.h"
#include "framework/contexts.h"
#include "framework/memory.h"
#include "framework/prop.h"
#include "platform/linux/agent_process.h"

namespace {

InspectorServerData ServerData() {
    InspectorServerData data{};
    if (!GetInspectorContext<InspectorServerContext>().GetServerData(&data)) {
        throw NoSuchObject();
    }
    return data;
}

moment ServerTime() {
    std::int64_t const time = ServerData().apparentTime;
    if (time == 0) {
        throw NoSuchObject();
    }
    return january_1_1970() + microsecond_of() * time;
}

// A text field up to its NUL, copied out of the record; empty is unknown.
inspector_string ServerText(char const* field) {
    std::size_t const length = std::strlen(field);
    if (length == 0) {
        throw NoSuchObject();
    }
    return CopyToInspectorString(ConstData(field, length));
}

inspector_string OwnerName(bool shortName) {
    std::string const name = platform::ProcessOwnerName(shortName);
    return CopyToInspectorString(ConstData(name));
}

} // namespace

client client_of_world() {
    auto const* location = GetInspectorContextPointer<ClientLocationInspectorContext>();
    std::string const folder = location ? location->ClientFolder() : platform::ExecutableFolder();
    return client(MacintoshPlatform::FileItem(MacintoshPlatform::FileLocation(folder)));
}

inspector_string version_of(client const&) {
    return AsInspectorString(
        ConstData(GetInspectorContext<InspectorVersionContext>().VersionOfClient()));
}

boolean PendingLogin_of_world() {
    // Deliberately false: whether an action waits for a login is the action's own property.
    return false;
}

client_process_owner ProcessOwner(Of, client const&) {
    return {};
}

inspector_string LongName(Of, client_process_owner const&) {
    return OwnerName(false);
}

inspector_string ShortName(Of, client_process_owner const&) {
    return OwnerName(true);
}

inspector_string AsString(client_process_owner const&) {
    return OwnerName(false);
}

registration_server RegistrationServer_of_world() {
    GetInspectorContext<InspectorServerContext>();
    return {};
}

moment ApparentServerTime_of_world() {
    return ServerTime();
}

moment Now_of(registration_server const&) {
    return ServerTime();
}

inspector_string Version_of(registration_server const&) {
    return ServerText(ServerData().registrationVersion);
}

inspector_string Name_of(registration_server const&) {
    return ServerText(ServerData().registrationName);
}

download_server DownloadServer_of_world() {
    GetInspectorContext<InspectorServerContext>();
    return {};
}

inspector_string DownloadName_of(download_server const&) {
    return ServerText(ServerData().downloadName);
}

namespace {

DerivedType<client, filesystem_object> clientType;
GlobalProperty<client> clientOfWorld("client", "clients", client_of_world, nullptr);
Property<client, inspector_string> versionOfClient("version", "versions", version_of, nullptr);
GlobalProperty<boolean> pendingLoginOfWorld("pending login", "pending logins",
                                            PendingLogin_of_world, nullptr);
Type<client_process_owner> processOwnerType;
Prop processOwnerOfClient("process owner", "process owners", ProcessOwner, nullptr);
Prop longNameOfOwner("long name", "long names", LongName, nullptr);
Prop shortNameOfOwner("short name", "short names", ShortName, nullptr);
Prop nameOfOwner("name", "names", LongName, nullptr);
Cast<client_process_owner, inspector_string> ownerAsString("string", AsString, nullptr);
Type<registration_server> registrationServerType;
Type<download_server> downloadServerType;
GlobalProperty<registration_server> registrationServerOfWorld("registration server",
                                                              "registration servers",
                                                              RegistrationServer_of_world, nullptr);
GlobalProperty<moment> apparentServerTimeOfWorld("apparent registration server time",
                                                 "apparent registration server times",
                                                 ApparentServerTime_of_world, nullptr);
Property<registration_server, moment> nowOfServer("now", "nows", Now_of, nullptr);
Property<registration_server, inspector_string> versionOfServer("version", "versions", Version_of,
                                                                nullptr);
Property<registration_server, inspector_string> nameOfServer("name", "names", Name_of, nullptr);
GlobalProperty<download_server> downloadServerOfWorld("download server", "download servers",
                                                      DownloadServer_of_world, nullptr);
Property<download_server, inspector_string> nameOfDownloadServer("name", "names", DownloadName_of,
                                                                 nullptr);

} // namespace
