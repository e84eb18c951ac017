// The preference backend: each application identifier is one property-list
// file "<identifier>.plist" in the preferences folder, whose top dictionary
// maps preference keys to values. A process keeps one cached copy per domain;
// writes go to the cache and reach the file on Synchronize, or at exit.
#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "settings/preference_file.h"
#include "settings/property_list.h"

// The environment variable that names the preferences folder.
inline constexpr char const* kPreferencesFolderVariable = "ZOR_PREFERENCES_DIR";
// The folder used when neither the variable nor SetPreferencesFolder names one.
inline constexpr char const* kDefaultPreferencesFolder = "/var/lib/zor/preferences";

// Changes a dictionary value in place. Returns false when it met parts it
// could not use and replaced them, so that the file holding them is kept.
using DictionaryEdit = std::function<bool(plist_t dictionary)>;

class PreferenceDomain {
public:
    explicit PreferenceDomain(std::filesystem::path file);
    PreferenceDomain(PreferenceDomain const&) = delete;
    PreferenceDomain& operator=(PreferenceDomain const&) = delete;
    // Writes values set since the last synchronisation, as the platform's
    // preference daemon does at exit; a failure is reported on stderr.
    ~PreferenceDomain();

    std::filesystem::path const& File() const { return file_; }

    // The value under key, or null when there is none.
    SharedCFPropertyList CopyValue(std::string const& key);
    // Sets (or, with a null value, removes) key in the cache. The key's
    // value as this process holds it then replaces the file's when written.
    void SetValue(std::string const& key, AutoCFPropertyList value);
    // Edits the dictionary under key in the cache now, and again on the
    // file's value if another process wrote the file before this one does:
    // other changes to the key are merged, not overwritten. A value of
    // another kind is taken as an empty dictionary (and the file kept).
    void EditDictionary(std::string const& key, DictionaryEdit edit);
    // Under the file's lock: picks up the file if another process replaced
    // it, re-applies this process's pending changes and writes the result.
    // Throws PreferenceFileError; pending changes then stay pending.
    void Synchronize();
    // The loaded file holds data this process could not use: keep it aside
    // before the first write over it.
    void PreserveBeforeOverwrite();
    // Synchronize, reporting a failure on stderr and dropping what could not
    // be written. Returns whether everything was written.
    bool SynchronizeOrReport() noexcept;
    // Keys set or edited since the last successful synchronisation.
    std::set<std::string> PendingKeys() const;

private:
    struct Loaded {
        std::shared_ptr<AutoCFPropertyList> root; // always a dictionary
        FileIdentity identity;
        bool unreadable; // the file exists but could not be read as a dictionary
    };
    static Loaded Load(std::filesystem::path const& file);
    Loaded& Contents();
    plist_t WritableRoot();
    void AdoptChangedFile(Loaded fresh);
    void KeepUnreadableAside();

    std::filesystem::path file_;
    std::optional<Loaded> loaded_;
    std::optional<FileIdentity> preserve_; // the on-disk version to keep before replacing
    // What this process changed under a key since the last write.
    struct Pending {
        bool replaced = false;             // the cached value replaces the file's
        std::vector<DictionaryEdit> edits; // else: edits to make on the file's value
    };
    std::map<std::string, Pending> pending_;
};

// The domain of an application identifier in the current preferences folder,
// created on first use and kept until exit (or until the folder changes).
PreferenceDomain& PreferenceDomainFor(std::string const& applicationId);

// The preferences folder: set by SetPreferencesFolder, else the environment
// variable, else the default.
std::filesystem::path PreferencesFolder();
// Synchronises and forgets every open domain, so that later reads come from
// the new folder; an empty folder goes back to the variable or the default.
// A store keeps its contents, and its later writes go to the new folder: set
// the folder before the stores are first used.
// Returns false when some pending value could not be written
// (it is then reported on stderr and dropped).
bool SetPreferencesFolder(std::filesystem::path folder);
