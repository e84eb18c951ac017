#include "settings/cf_preferences.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <utility>

#include "settings/preference_domain.h"

SharedCFPropertyList CopyAppPreference(std::string const& key, std::string const& applicationId) {
    SharedCFPropertyList value = PreferenceDomainFor(applicationId).CopyValue(key);
    if (!value) {
        throw CFPreferencesCopyAppValueFailed();
    }
    return value;
}

void SetCFPreference(std::string const& key, AutoCFPropertyList value,
                     std::string const& applicationId, std::string const& /*user*/,
                     std::string const& /*host*/) {
    SetAppPreference(key, std::move(value), applicationId);
}

void SetAppPreference(std::string const& key, AutoCFPropertyList value,
                      std::string const& applicationId) {
    PreferenceDomainFor(applicationId).SetValue(key, std::move(value));
}

void EditCFPreference(std::string const& key, DictionaryEdit edit, std::string const& applicationId,
                      std::string const& /*user*/, std::string const& /*host*/) {
    PreferenceDomainFor(applicationId).EditDictionary(key, std::move(edit));
}

void SynchronizeCFPreferences(std::string const& applicationId, std::string const& /*user*/,
                              std::string const& /*host*/) {
    if (!SynchronizeAppPreferences(applicationId)) {
        throw CFPreferencesSynchronizeFailed();
    }
}

bool SynchronizeAppPreferences(std::string const& applicationId) {
    try {
        PreferenceDomainFor(applicationId).Synchronize();
        return true;
    } catch (ExceptionPL const&) {
        return false;
    }
}

void PreservePreferencesBeforeOverwrite(std::string const& applicationId) {
    PreferenceDomainFor(applicationId).PreserveBeforeOverwrite();
}

GeneralCFPreferenceSet::GeneralCFPreferenceSet(std::string applicationId, std::string user,
                                               std::string host)
    : applicationId_(std::move(applicationId)), user_(std::move(user)), host_(std::move(host)) {}

SharedCFPropertyList GeneralCFPreferenceSet::CopyPreference(std::string const& key) const {
    return CopyAppPreference(key, applicationId_);
}

void GeneralCFPreferenceSet::SetPreference(std::string const& key, AutoCFPropertyList value) {
    SetCFPreference(key, std::move(value), applicationId_, user_, host_);
    valueSet_ = true;
}

void GeneralCFPreferenceSet::EditPreference(std::string const& key, DictionaryEdit edit) {
    EditCFPreference(key, std::move(edit), applicationId_, user_, host_);
    valueSet_ = true;
}

void GeneralCFPreferenceSet::Synchronize() {
    if (valueSet_) {
        SynchronizeCFPreferences(applicationId_, user_, host_);
        valueSet_ = false;
    }
}

AppPreferenceSet::AppPreferenceSet(std::string applicationId)
    : applicationId_(std::move(applicationId)) {}

SharedCFPropertyList AppPreferenceSet::CopyPreference(std::string const& key) const {
    return CopyAppPreference(key, applicationId_);
}

void AppPreferenceSet::SetPreference(std::string const& key, AutoCFPropertyList value) {
    SetAppPreference(key, std::move(value), applicationId_);
    valueSet_ = true;
}

void AppPreferenceSet::Synchronize() {
    if (valueSet_) {
        if (!SynchronizeAppPreferences(applicationId_)) {
            throw CFPreferencesSynchronizeFailed();
        }
        valueSet_ = false;
    }
}

namespace {

constexpr std::int64_t kMicrosecondsPerSecond = 1000000;
constexpr std::int64_t kEarliestMicroseconds =
    std::int64_t{std::numeric_limits<std::int32_t>::min()} * kMicrosecondsPerSecond;
constexpr std::int64_t kLatestMicroseconds =
    std::int64_t{std::numeric_limits<std::int32_t>::max()} * kMicrosecondsPerSecond +
    (kMicrosecondsPerSecond - 1);

plist_t Checked(plist_t list, plist_type type) {
    if (list == nullptr || plist_get_node_type(list) != type) {
        throw ConvertCFPropertyListError();
    }
    return list;
}

} // namespace

AutoCFPropertyList MakeCFPropertyList(std::string_view text) {
    if (IsPropertyListText(text)) {
        return AutoCFPropertyList(plist_new_string(std::string(text).c_str()));
    }
    return AutoCFPropertyList(plist_new_data(text.data(), text.size()));
}

AutoCFPropertyList MakeCFDate(Instant instant) {
    std::int64_t microseconds =
        std::clamp(instant.Microseconds(), kEarliestMicroseconds, kLatestMicroseconds);
    // Both parts carry the sign, as libplist adds them.
    return AutoCFPropertyList(
        plist_new_date(static_cast<std::int32_t>(microseconds / kMicrosecondsPerSecond),
                       static_cast<std::int32_t>(microseconds % kMicrosecondsPerSecond)));
}

Instant CFDateToInstant(plist_t date) {
    std::int32_t seconds = 0;
    std::int32_t microseconds = 0;
    plist_get_date_val(Checked(date, PLIST_DATE), &seconds, &microseconds);
    // libplist gives the microseconds without their sign.
    std::int64_t fraction = seconds < 0 ? -std::int64_t{microseconds} : microseconds;
    return Instant(std::int64_t{seconds} * kMicrosecondsPerSecond + fraction);
}

template <> std::string ConvertCFPropertyList<std::string>(plist_t list) {
    if (list != nullptr && plist_get_node_type(list) == PLIST_DATA) {
        std::uint64_t length = 0;
        char const* bytes = plist_get_data_ptr(list, &length);
        return length == 0 ? std::string() : std::string(bytes, length);
    }
    std::uint64_t length = 0;
    char const* text = plist_get_string_ptr(Checked(list, PLIST_STRING), &length);
    return length == 0 ? std::string() : std::string(text, length);
}

template <> Instant ConvertCFPropertyList<Instant>(plist_t list) {
    return CFDateToInstant(list);
}
