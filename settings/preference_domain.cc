#include "settings/preference_domain.h"

#include <cstdlib>
#include <iostream>
#include <map>
#include <memory>
#include <utility>

PreferenceDomain::PreferenceDomain(std::filesystem::path file) : file_(std::move(file)) {}

PreferenceDomain::~PreferenceDomain() {
    SynchronizeOrReport();
}

PreferenceDomain::Loaded PreferenceDomain::Load(std::filesystem::path const& file) {
    // The identity is taken first: if the file changes while it is read, the
    // next synchronisation sees a different identity and reads it again.
    Loaded loaded{std::make_shared<AutoCFPropertyList>(plist_new_dict()), IdentityOf(file), false};
    try {
        std::optional<std::string> bytes = ReadFileIfPresent(file);
        if (bytes && !bytes->empty()) {
            AutoCFPropertyList tree = ParsePropertyList(*bytes);
            if (plist_get_node_type(tree.Get()) == PLIST_DICT) {
                loaded.root = std::make_shared<AutoCFPropertyList>(std::move(tree));
            } else {
                loaded.unreadable = true;
            }
        }
    } catch (PropertyListParseError const&) {
        loaded.unreadable = true;
    } catch (PreferenceFileError const&) {
        loaded.unreadable = true;
    }
    return loaded;
}

PreferenceDomain::Loaded& PreferenceDomain::Contents() {
    if (!loaded_) {
        loaded_ = Load(file_);
        if (loaded_->unreadable) {
            preserve_ = loaded_->identity;
        }
    }
    return *loaded_;
}

SharedCFPropertyList PreferenceDomain::CopyValue(std::string const& key) {
    Loaded& contents = Contents();
    plist_t item = plist_dict_get_item(contents.root->Get(), key.c_str());
    return item == nullptr ? nullptr : SharedCFPropertyList(contents.root, item);
}

// Values handed out by CopyValue stay unchanged: a shared tree is copied
// before it is changed.
plist_t PreferenceDomain::WritableRoot() {
    Loaded& contents = Contents();
    if (contents.root.use_count() > 1) {
        contents.root = std::make_shared<AutoCFPropertyList>(plist_copy(contents.root->Get()));
    }
    return contents.root->Get();
}

namespace {

// Runs edit on the dictionary under key, made first when absent or of
// another kind. Returns false when something there could not be used.
bool EditIn(plist_t root, std::string const& key, DictionaryEdit const& edit) {
    plist_t value = plist_dict_get_item(root, key.c_str());
    bool usable = value == nullptr || plist_get_node_type(value) == PLIST_DICT;
    if (!usable || value == nullptr) {
        plist_dict_set_item(root, key.c_str(), plist_new_dict());
        value = plist_dict_get_item(root, key.c_str());
    }
    return edit(value) && usable;
}

} // namespace

void PreferenceDomain::SetValue(std::string const& key, AutoCFPropertyList value) {
    plist_t root = WritableRoot();
    if (value) {
        plist_dict_set_item(root, key.c_str(), value.Release());
    } else if (plist_dict_get_item(root, key.c_str()) != nullptr) {
        plist_dict_remove_item(root, key.c_str());
    }
    pending_[key] = Pending{true, {}};
}

void PreferenceDomain::EditDictionary(std::string const& key, DictionaryEdit edit) {
    if (!EditIn(WritableRoot(), key, edit)) {
        PreserveBeforeOverwrite();
    }
    Pending& pending = pending_[key];
    if (!pending.replaced) {
        pending.edits.push_back(std::move(edit));
    }
}

std::set<std::string> PreferenceDomain::PendingKeys() const {
    std::set<std::string> keys;
    for (auto const& [key, pending] : pending_) {
        keys.insert(key);
    }
    return keys;
}

void PreferenceDomain::PreserveBeforeOverwrite() {
    Loaded& contents = Contents();
    if (contents.identity.exists) {
        preserve_ = contents.identity;
    }
}

// Another process replaced the file: start from its content and make this
// process's pending changes again on top.
void PreferenceDomain::AdoptChangedFile(Loaded fresh) {
    plist_t freshRoot = fresh.root->Get();
    plist_t ownRoot = loaded_->root->Get();
    bool usable = !fresh.unreadable;
    for (auto const& [key, pending] : pending_) {
        for (DictionaryEdit const& edit : pending.edits) {
            usable = EditIn(freshRoot, key, edit) && usable;
        }
        if (!pending.replaced) {
            continue;
        }
        plist_t item = plist_dict_get_item(ownRoot, key.c_str());
        if (item != nullptr) {
            plist_dict_set_item(freshRoot, key.c_str(), plist_copy(item));
        } else if (plist_dict_get_item(freshRoot, key.c_str()) != nullptr) {
            plist_dict_remove_item(freshRoot, key.c_str());
        }
    }
    preserve_.reset();
    if (!usable) {
        preserve_ = fresh.identity;
    }
    loaded_ = std::move(fresh);
}

void PreferenceDomain::KeepUnreadableAside() {
    if (preserve_ && *preserve_ == IdentityOf(file_)) {
        std::filesystem::path aside = KeepAside(file_);
        std::cerr << "zor settings: " << file_.string() << " could not be read; it was kept as "
                  << aside.string() << " before being replaced\n";
    }
    preserve_.reset();
}

void PreferenceDomain::Synchronize() {
    FileLock lock(file_);
    Contents();
    if (!(IdentityOf(file_) == loaded_->identity)) {
        AdoptChangedFile(Load(file_));
    }
    if (pending_.empty()) {
        return;
    }
    RemoveStaleTemporaries(file_);
    KeepUnreadableAside();
    WriteFileAtomically(file_, SerializeBinaryPropertyList(loaded_->root->Get()));
    loaded_->identity = IdentityOf(file_);
    pending_.clear();
}

bool PreferenceDomain::SynchronizeOrReport() noexcept {
    if (pending_.empty()) {
        return true;
    }
    try {
        Synchronize();
        return true;
    } catch (ExceptionPL const& error) {
        std::cerr << "zor settings: could not write " << file_.string() << ": " << error.what()
                  << "; the changes are lost\n";
        pending_.clear();
        return false;
    }
}

namespace {

struct DomainRegistry {
    std::optional<std::filesystem::path> folder;
    std::map<std::string, std::unique_ptr<PreferenceDomain>> domains;
};

// Built on first use; at exit its domains write what is still pending.
DomainRegistry& Registry() {
    static DomainRegistry registry;
    return registry;
}

} // namespace

std::filesystem::path PreferencesFolder() {
    DomainRegistry& registry = Registry();
    if (registry.folder) {
        return *registry.folder;
    }
    char const* variable = std::getenv(kPreferencesFolderVariable);
    return (variable != nullptr && *variable != '\0') ? variable : kDefaultPreferencesFolder;
}

PreferenceDomain& PreferenceDomainFor(std::string const& applicationId) {
    DomainRegistry& registry = Registry();
    auto found = registry.domains.find(applicationId);
    if (found == registry.domains.end()) {
        auto domain =
            std::make_unique<PreferenceDomain>(PreferencesFolder() / (applicationId + ".plist"));
        found = registry.domains.emplace(applicationId, std::move(domain)).first;
    }
    return *found->second;
}

bool SetPreferencesFolder(std::filesystem::path folder) {
    DomainRegistry& registry = Registry();
    bool written = true;
    for (auto& [id, domain] : registry.domains) {
        written = domain->SynchronizeOrReport() && written;
    }
    registry.domains.clear();
    registry.folder.reset();
    if (!folder.empty()) {
        registry.folder.emplace(std::move(folder));
    }
    return written;
}
