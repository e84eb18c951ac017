// The thin preference layer the setting stores are written against. The
// names follow the platform's preference calls so that another backend can
// take the place of this one; here every application identifier is one
// property-list file (see preference_domain.h), for any user and host.
#pragma once

#include <string>
#include <string_view>

#include "evaluator/errors.h"
#include "settings/preference_domain.h"
#include "settings/property_list.h"
#include "util/instant.h"

// The user and host scopes of a preference. The file backend keeps one
// machine-wide file per application, so every scope reaches the same file.
inline constexpr char const* kCFPreferencesAnyUser = "kCFPreferencesAnyUser";
inline constexpr char const* kCFPreferencesCurrentUser = "kCFPreferencesCurrentUser";
inline constexpr char const* kCFPreferencesAnyHost = "kCFPreferencesAnyHost";
inline constexpr char const* kCFPreferencesCurrentHost = "kCFPreferencesCurrentHost";

class CFPreferencesCopyAppValueFailed : public DebuggableException {
public:
    const char* what() const noexcept override { return "CFPreferencesCopyAppValueFailed"; }
};

class CFPreferencesSynchronizeFailed : public DebuggableException {
public:
    const char* what() const noexcept override { return "CFPreferencesSynchronizeFailed"; }
};

// A conversion was given no property list, or one of another type.
class ConvertCFPropertyListError : public DebuggableException {
public:
    const char* what() const noexcept override { return "ConvertCFPropertyListError"; }
};

// The value of key for the application; throws CFPreferencesCopyAppValueFailed
// when there is none.
SharedCFPropertyList CopyAppPreference(std::string const& key, std::string const& applicationId);
// Sets key for the application, user and host (a null value removes it).
void SetCFPreference(std::string const& key, AutoCFPropertyList value,
                     std::string const& applicationId, std::string const& user,
                     std::string const& host);
void SetAppPreference(std::string const& key, AutoCFPropertyList value,
                      std::string const& applicationId);
// Edits the dictionary under key for the application, user and host; the
// edit is made again on whatever another process has written meanwhile.
void EditCFPreference(std::string const& key, DictionaryEdit edit, std::string const& applicationId,
                      std::string const& user, std::string const& host);
// Writes what was set; throws CFPreferencesSynchronizeFailed when it cannot.
void SynchronizeCFPreferences(std::string const& applicationId, std::string const& user,
                              std::string const& host);
// The application-wide form: false when the values could not be written.
bool SynchronizeAppPreferences(std::string const& applicationId);
// The application's preference file holds data that could not be used: keep
// that file aside (renamed with a suffix) before it is first overwritten.
void PreservePreferencesBeforeOverwrite(std::string const& applicationId);

// A preference scope: application, user and host.
class GeneralCFPreferenceSet {
public:
    GeneralCFPreferenceSet(std::string applicationId, std::string user, std::string host);

    std::string const& ApplicationId() const { return applicationId_; }
    SharedCFPropertyList CopyPreference(std::string const& key) const;
    void SetPreference(std::string const& key, AutoCFPropertyList value);
    void EditPreference(std::string const& key, DictionaryEdit edit);
    // Writes if a value was set since the last synchronisation.
    void Synchronize();

private:
    std::string applicationId_;
    std::string user_;
    std::string host_;
    bool valueSet_ = false;
};

// The application-wide scope (the application's search list).
class AppPreferenceSet {
public:
    explicit AppPreferenceSet(std::string applicationId);

    SharedCFPropertyList CopyPreference(std::string const& key) const;
    void SetPreference(std::string const& key, AutoCFPropertyList value);
    void Synchronize();

private:
    std::string applicationId_;
    bool valueSet_ = false;
};

// Conversions to property lists. Text that a plist string cannot carry
// unchanged (invalid UTF-8, NUL bytes) is stored as data.
AutoCFPropertyList MakeCFPropertyList(std::string_view text);
// Binary property-list dates keep whole microseconds between 1932-12-13 and
// 2069-01-19 (libplist keeps seconds in 32 bits; instants outside are
// clamped), except the last second before 2001-01-01, which reads back as
// 2001-01-01 00:00:00. XML dates keep whole seconds.
AutoCFPropertyList MakeCFDate(Instant instant);
Instant CFDateToInstant(plist_t date);

// Conversions from property lists; a null list or one of the wrong type
// throws ConvertCFPropertyListError.
template <class T> T ConvertCFPropertyList(plist_t list);
template <> std::string ConvertCFPropertyList<std::string>(plist_t list);
template <> Instant ConvertCFPropertyList<Instant>(plist_t list);
