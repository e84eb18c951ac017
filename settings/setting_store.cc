#include "settings/setting_store.h"

#include <cstdlib>
#include <iostream>
#include <memory>
#include <vector>

namespace {

// Calls visit(name, value) for each entry of a dictionary, in its order.
template <class Visit> void ForEachDictionaryItem(plist_t dictionary, Visit visit) {
    plist_dict_iter rawIterator = nullptr;
    plist_dict_new_iter(dictionary, &rawIterator);
    std::unique_ptr<void, void (*)(void*)> iterator(rawIterator, std::free);
    for (;;) {
        char* rawName = nullptr;
        plist_t value = nullptr;
        plist_dict_next_item(dictionary, rawIterator, &rawName, &value);
        if (rawName == nullptr) {
            return;
        }
        std::unique_ptr<char, void (*)(void*)> name(rawName, std::free);
        visit(std::string_view(rawName), value);
    }
}

plist_t CheckedDictionary(plist_t list) {
    if (list == nullptr || plist_get_node_type(list) != PLIST_DICT) {
        throw ConvertCFPropertyListError();
    }
    return list;
}

// A plist key is a NUL-terminated string; names that cannot be one are left
// out of the file rather than written as a different name.
bool UsableAsKey(std::string const& name) {
    if (IsPropertyListText(name)) {
        return true;
    }
    std::cerr << "zor settings: a name that is not UTF-8 text was not written\n";
    return false;
}

AutoCFPropertyList MakeEntry(CFPreferenceSetting const& setting) {
    return MakeCFPropertyList(setting);
}

AutoCFPropertyList MakeEntry(CFPreferenceSettingMap const& settings) {
    return MakeCFDictionary(settings);
}

template <class Map> AutoCFPropertyList MakeDictionaryOf(Map const& entries) {
    AutoCFPropertyList dictionary(plist_new_dict());
    for (auto const& [name, entry] : entries) {
        if (UsableAsKey(name)) {
            plist_dict_set_item(dictionary.Get(), name.c_str(), MakeEntry(entry).Release());
        }
    }
    return dictionary;
}

template <class Map> Map ConvertDictionaryOf(plist_t list) {
    Map entries;
    ForEachDictionaryItem(CheckedDictionary(list), [&](std::string_view name, plist_t value) {
        entries.emplace_hint(entries.end(), name,
                             ConvertCFPropertyList<typename Map::mapped_type>(value));
    });
    return entries;
}

} // namespace

AutoCFPropertyList MakeCFPropertyList(CFPreferenceSetting const& setting) {
    AutoCFPropertyList dictionary(plist_new_dict());
    if (!setting.Deleted()) {
        plist_dict_set_item(dictionary.Get(), kSettingValueKey,
                            MakeCFPropertyList(setting.Value()).Release());
    }
    // A tombstone without a date is written as an empty dictionary, which
    // reads back as the default setting.
    if (setting.Date() != Instant::First()) {
        plist_dict_set_item(dictionary.Get(), kSettingDateKey,
                            MakeCFDate(setting.Date()).Release());
    }
    return dictionary;
}

AutoCFPropertyList MakeCFDictionary(CFPreferenceSettingMap const& settings) {
    return MakeDictionaryOf(settings);
}

AutoCFPropertyList MakeCFDictionary(CFPreferenceSectionMap const& sections) {
    return MakeDictionaryOf(sections);
}

template <> CFPreferenceSetting ConvertCFPropertyList<CFPreferenceSetting>(plist_t list) {
    plist_t dictionary = CheckedDictionary(list);
    plist_t value = plist_dict_get_item(dictionary, kSettingValueKey);
    plist_t date = plist_dict_get_item(dictionary, kSettingDateKey);
    Instant when = date != nullptr ? CFDateToInstant(date) : Instant::First();
    if (value != nullptr) {
        return CFPreferenceSetting(ConvertCFPropertyList<std::string>(value), when);
    }
    return CFPreferenceSetting(when);
}

template <> CFPreferenceSettingMap ConvertCFPropertyList<CFPreferenceSettingMap>(plist_t list) {
    return ConvertDictionaryOf<CFPreferenceSettingMap>(list);
}

template <> CFPreferenceSectionMap ConvertCFPropertyList<CFPreferenceSectionMap>(plist_t list) {
    return ConvertDictionaryOf<CFPreferenceSectionMap>(list);
}

namespace {

// The date rule of Set and Clear: a change dated earlier than the stored
// setting is refused; an equal or later one replaces it.
bool Supersedes(CFPreferenceSetting const& change, CFPreferenceSetting const& stored) {
    return !(change.Date() < stored.Date());
}

// The section dictionary, made when absent.
plist_t SectionIn(plist_t sections, std::string const& name) {
    plist_t section = plist_dict_get_item(sections, name.c_str());
    if (section == nullptr) {
        plist_dict_set_item(sections, name.c_str(), plist_new_dict());
        section = plist_dict_get_item(sections, name.c_str());
    }
    return section;
}

// A value creates its setting; a tombstone only replaces an existing one.
void Put(plist_t sections, SettingChange const& change) {
    bool create = !change.setting.Deleted();
    plist_t section = plist_dict_get_item(sections, change.section.c_str());
    if (section == nullptr && !create) {
        return;
    }
    section = SectionIn(sections, change.section);
    plist_t entry = plist_dict_get_item(section, change.name.c_str());
    if (entry == nullptr && !create) {
        return;
    }
    CFPreferenceSetting stored = entry != nullptr
                                     ? ConvertCFPropertyList<CFPreferenceSetting>(entry)
                                     : CFPreferenceSetting();
    if (Supersedes(change.setting, stored)) {
        plist_dict_set_item(section, change.name.c_str(),
                            MakeCFPropertyList(change.setting).Release());
    }
}

void CopySection(plist_t sections, std::string const& from, std::string const& to) {
    plist_t source = plist_dict_get_item(sections, from.c_str());
    if (source == nullptr) {
        return;
    }
    plist_t target = SectionIn(sections, to);
    ForEachDictionaryItem(source, [&](std::string_view name, plist_t setting) {
        plist_dict_set_item(target, std::string(name).c_str(), plist_copy(setting));
    });
}

void ResetDates(plist_t sections) {
    ForEachDictionaryItem(sections, [](std::string_view, plist_t section) {
        ForEachDictionaryItem(section, [](std::string_view, plist_t setting) {
            if (plist_dict_get_item(setting, kSettingDateKey) != nullptr) {
                plist_dict_remove_item(setting, kSettingDateKey);
            }
        });
    });
}

void RemoveEverything(plist_t dictionary) {
    std::vector<std::string> names;
    ForEachDictionaryItem(dictionary,
                          [&](std::string_view name, plist_t) { names.emplace_back(name); });
    for (std::string const& name : names) {
        plist_dict_remove_item(dictionary, name.c_str());
    }
}

// Makes the changes on a store's value as the file holds it. A value that
// does not read as a store is started over empty, as a store would read it;
// false then tells the preference layer to keep the file holding it.
bool MakeChanges(std::vector<SettingChange> const& changes, plist_t sections) {
    bool usable = true;
    try {
        ConvertCFPropertyList<CFPreferenceSectionMap>(sections);
    } catch (ConvertCFPropertyListError const&) {
        RemoveEverything(sections);
        usable = false;
    }
    for (SettingChange const& change : changes) {
        if (!UsableAsKey(change.section) || !UsableAsKey(change.name)) {
            continue;
        }
        switch (change.kind) {
        case SettingChange::Kind::Put:
            Put(sections, change);
            break;
        case SettingChange::Kind::CopySection:
            CopySection(sections, change.section, change.name);
            break;
        case SettingChange::Kind::ResetDates:
            ResetDates(sections);
            break;
        }
    }
    return usable;
}

} // namespace

CFPreferenceSettingStore::CFPreferenceSettingStore(std::string key, std::string applicationId,
                                                   std::string user, std::string host)
    : preferences_(std::move(applicationId), std::move(user), std::move(host)),
      key_(std::move(key)), contents_(Read(key_)) {
    std::size_t count = 0;
    for (auto const& [section, settings] : contents_) {
        count += settings.size();
    }
    index_.reserve(count);
    for (auto section = contents_.begin(); section != contents_.end(); ++section) {
        IndexSection(section);
    }
}

CFPreferenceSettingStore::~CFPreferenceSettingStore() {
    if (changed_) {
        WriteChanges();
    }
}

std::size_t CFPreferenceSettingStore::ItemKeyHash::operator()(ItemKey const& key) const noexcept {
    std::size_t section = std::hash<std::string_view>()(key.section);
    return section ^ (std::hash<std::string_view>()(key.name) + 0x9e3779b97f4a7c15ULL +
                      (section << 6) + (section >> 2));
}

void CFPreferenceSettingStore::IndexSection(CFPreferenceSectionMap::iterator section) {
    for (auto item = section->second.begin(); item != section->second.end(); ++item) {
        index_.emplace(ItemKey{section->first, item->first}, IndexedItem{item, std::next(item)});
    }
}

CFPreferenceSectionMap::iterator CFPreferenceSettingStore::SectionSlot(ConstData section) {
    auto found = contents_.find(section.view());
    return found != contents_.end() ? found : contents_.try_emplace(section.str()).first;
}

CFPreferenceSetting& CFPreferenceSettingStore::SettingSlot(CFPreferenceSectionMap::iterator section,
                                                           std::string_view name) {
    auto found = index_.find(ItemKey{section->first, name});
    if (found != index_.end()) {
        return found->second.item->second;
    }
    auto item = section->second.try_emplace(std::string(name)).first;
    index_.emplace(ItemKey{section->first, item->first}, IndexedItem{item, std::next(item)});
    if (item != section->second.begin()) {
        index_.at(ItemKey{section->first, std::prev(item)->first}).next = item;
    }
    return item->second;
}

CFPreferenceSettingIterator CFPreferenceSettingStore::IteratorForSection(ConstData section) const {
    auto found = contents_.find(section.view());
    if (found == contents_.end()) {
        return {};
    }
    return {found->second.begin(), found->second.end()};
}

CFPreferenceSettingIterator CFPreferenceSettingStore::IteratorForSingleItem(ConstData section,
                                                                            ConstData name) const {
    auto found = index_.find(ItemKey{section.view(), name.view()});
    if (found == index_.end()) {
        return {};
    }
    return {found->second.item, found->second.next};
}

void CFPreferenceSettingStore::Set(ConstData section, ConstData name, ConstData value,
                                   Instant date) {
    CFPreferenceSetting& setting = SettingSlot(SectionSlot(section), name.view());
    CFPreferenceSetting change(value.str(), date);
    if (!Supersedes(change, setting)) {
        return;
    }
    setting = change;
    changes_.push_back({SettingChange::Kind::Put, section.str(), name.str(), std::move(change)});
    changed_ = true;
}

void CFPreferenceSettingStore::Clear(ConstData section, ConstData name, Instant date) {
    auto found = index_.find(ItemKey{section.view(), name.view()});
    CFPreferenceSetting change(date);
    if (found == index_.end() || !Supersedes(change, found->second.item->second)) {
        return;
    }
    found->second.item->second = change;
    changes_.push_back({SettingChange::Kind::Put, section.str(), name.str(), change});
    changed_ = true;
}

void CFPreferenceSettingStore::Flush() {
    if (!changed_) {
        return;
    }
    WriteChanges();
    changed_ = false;
    try {
        preferences_.Synchronize();
    } catch (CFPreferencesSynchronizeFailed const&) {
        // The preference layer keeps the value and writes it on a later
        // synchronisation or at exit.
    }
}

void CFPreferenceSettingStore::ResetDates() {
    for (auto& [section, settings] : contents_) {
        for (auto& [name, setting] : settings) {
            setting.SetDate(Instant::First());
        }
    }
    changes_.push_back({SettingChange::Kind::ResetDates, {}, {}, {}});
}

void CFPreferenceSettingStore::RenameSection(ConstData from, ConstData to) {
    auto source = contents_.find(from.view());
    if (source != contents_.end() && from.view() != to.view()) {
        auto target = SectionSlot(to);
        for (auto const& [name, setting] : source->second) {
            SettingSlot(target, name) = setting;
        }
        changes_.push_back({SettingChange::Kind::CopySection, from.str(), to.str(), {}});
    }
    Flush();
}

void CFPreferenceSettingStore::WriteChanges() {
    if (changes_.empty()) {
        return;
    }
    preferences_.EditPreference(key_, [changes = std::move(changes_)](plist_t sections) {
        return MakeChanges(changes, sections);
    });
    changes_.clear();
}

CFPreferenceSectionMap CFPreferenceSettingStore::Read(std::string const& key) {
    SharedCFPropertyList value;
    try {
        value = CopyAppPreference(key, preferences_.ApplicationId());
    } catch (CFPreferencesCopyAppValueFailed const&) {
        return {};
    }
    try {
        return ConvertCFPropertyList<CFPreferenceSectionMap>(value.get());
    } catch (ConvertCFPropertyListError const&) {
        // Starting empty would let the next flush overwrite what is there.
        PreservePreferencesBeforeOverwrite(preferences_.ApplicationId());
        return {};
    }
}

void CFPreferenceSettingStore::Write(std::string const& key,
                                     CFPreferenceSectionMap const& contents) {
    preferences_.SetPreference(key, MakeCFDictionary(contents));
}
