// The directory the machine is joined to and the local computer's record in
// it. The lookup is slow and may fail for long periods, so its outcome is
// cached and failures are retried only after waiting periods.
#pragma once

#include <cstdint>
#include <exception>
#include <optional>
#include <string>

#include "evaluator/errors.h"
#include "evaluator/values.h"
#include "framework/registration.h"
#include "platform/linux/directory.h"
#include "util/instant.h"

struct ActiveDirectoryServer {
    static char const* TypeName() { return "active directory server"; }
    static ActiveDirectoryServer const& The();
};

struct ActiveDirectoryLocalComputer {
    static char const* TypeName() { return "active directory local computer"; }
    // The cached distinguished name; NoSuchObject while the lookup fails.
    static std::string const& GetDistinguishedName();
    // The text of the last lookup's failure, empty after a success. Shares
    // the name's cache: asking for it looks up only when the name would.
    static std::string const& GetDistinguishedNameErrorMessage();
};

// When to look the name up again. A success is kept for 12 hours; after a
// failure nothing is tried for 60 seconds, and after more than five
// failures in a row, for 60 minutes.
class DistinguishedNameCache {
public:
    static constexpr TimeInterval c_refreshInterval{43'200'000'000};
    static constexpr TimeInterval c_longErrorRefreshInterval{3'600'000'000};
    static constexpr TimeInterval c_shortErrorRefreshInterval{60'000'000};

    // The name, looked up with lookup() when the rules allow; NoSuchObject
    // when there is no name to give.
    template <class Lookup> std::string const& Get(TimeMark now, Lookup lookup);
    std::string const& ErrorMessage() const { return errorMessage_; }

private:
    // Whether the rules allow no attempt now; then the cached name (or its
    // absence) stands.
    bool Waiting(TimeMark now) const;
    void Failed();

    std::string name_;
    std::string errorMessage_;
    bool valid_ = false;
    std::uint32_t failures_ = 0;
    std::optional<TimeMark> lastAttempt_;
};

template <class Lookup>
std::string const& DistinguishedNameCache::Get(TimeMark now, Lookup lookup) {
    if (!Waiting(now)) {
        lastAttempt_ = now;
        try {
            name_ = lookup();
            valid_ = true;
            failures_ = 0;
            errorMessage_.clear();
        } catch (std::exception const&) {
            errorMessage_ = platform::DirectoryErrorText();
            Failed();
        }
    }
    if (!valid_) {
        throw NoSuchObject();
    }
    return name_;
}

ActiveDirectoryServer active_directory();
ActiveDirectoryLocalComputer local_computer_of(Of, ActiveDirectoryServer const&);
inspector_string distinguished_name_of(Of, ActiveDirectoryLocalComputer const&);
inspector_string distinguished_name_error_message_of(Of, ActiveDirectoryLocalComputer const&);
