#include "settings/setting_store.h"

#include <cstdlib>
#include <iostream>
#include <memory>

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
        Write(key_, contents_);
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
    if (date < setting.Date()) {
        return;
    }
    setting = CFPreferenceSetting(value.str(), date);
    changed_ = true;
}

void CFPreferenceSettingStore::Clear(ConstData section, ConstData name, Instant date) {
    auto found = index_.find(ItemKey{section.view(), name.view()});
    if (found == index_.end() || date < found->second.item->second.Date()) {
        return;
    }
    found->second.item->second = CFPreferenceSetting(date);
    changed_ = true;
}

void CFPreferenceSettingStore::Flush() {
    if (!changed_) {
        return;
    }
    Write(key_, contents_);
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
}

void CFPreferenceSettingStore::RenameSection(ConstData from, ConstData to) {
    auto source = contents_.find(from.view());
    if (source != contents_.end()) {
        auto target = SectionSlot(to);
        for (auto const& [name, setting] : source->second) {
            SettingSlot(target, name) = setting;
        }
    }
    Flush();
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
