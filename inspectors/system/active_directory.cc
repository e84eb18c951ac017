#include "inspectors/system/active_directory.h"

#include "evaluator/registration.h"
#include "framework/memory.h"
#include "framework/prop.h"

namespace {

DistinguishedNameCache& TheCache() {
    static DistinguishedNameCache cache;
    return cache;
}

// The empty text as a string value, without touching evaluator memory.
inspector_string CopyText(std::string const& text) {
    return text.empty() ? inspector_string{} : CopyToInspectorString(ConstData(text));
}

} // namespace

bool DistinguishedNameCache::Waiting(TimeMark now) const {
    if (!lastAttempt_) {
        return false;
    }
    TimeInterval const elapsed = now - *lastAttempt_;
    return (valid_ && elapsed < c_refreshInterval) ||
           (failures_ > 5 && elapsed < c_longErrorRefreshInterval) ||
           (failures_ != 0 && elapsed < c_shortErrorRefreshInterval);
}

void DistinguishedNameCache::Failed() {
    valid_ = false;
    ++failures_;
}

ActiveDirectoryServer const& ActiveDirectoryServer::The() {
    static ActiveDirectoryServer const server;
    return server;
}

std::string const& ActiveDirectoryLocalComputer::GetDistinguishedName() {
    platform::DirectorySource const& directory = platform::Directory();
    return TheCache().Get(directory.Now(),
                          [&directory] { return directory.LocalComputerDistinguishedName(); });
}

std::string const& ActiveDirectoryLocalComputer::GetDistinguishedNameErrorMessage() {
    try {
        GetDistinguishedName();
    } catch (NoSuchObject const&) {
        // The failure's text is what is asked for.
    }
    return TheCache().ErrorMessage();
}

ActiveDirectoryServer active_directory() {
    return ActiveDirectoryServer::The();
}

ActiveDirectoryLocalComputer local_computer_of(Of, ActiveDirectoryServer const&) {
    return {};
}

inspector_string distinguished_name_of(Of, ActiveDirectoryLocalComputer const&) {
    return CopyText(ActiveDirectoryLocalComputer::GetDistinguishedName());
}

inspector_string distinguished_name_error_message_of(Of, ActiveDirectoryLocalComputer const&) {
    return CopyText(ActiveDirectoryLocalComputer::GetDistinguishedNameErrorMessage());
}

namespace {

Type<ActiveDirectoryServer> activeDirectoryServerType;
Type<ActiveDirectoryLocalComputer> activeDirectoryLocalComputerType;
GlobalProperty<ActiveDirectoryServer>
    activeDirectoryOfWorld("active directory", "active directories", active_directory, nullptr);
Prop localComputerOfActiveDirectory("local computer", "local computers", local_computer_of,
                                    nullptr);
Prop distinguishedNameOfLocalComputer("distinguished name", "distinguished names",
                                      distinguished_name_of, nullptr);
Prop distinguishedNameErrorMessageOfLocalComputer("distinguished name error message",
                                                  "distinguished name error messages",
                                                  distinguished_name_error_message_of, nullptr);

} // namespace
