#include "settings/setting_store.h"

#include <cstdlib>
#include <iostream>
#include <memory>
#include <type_traits>

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

template <class Map> AutoCFPropertyList MakeDictionaryOf(Map const& entries) {
    AutoCFPropertyList dictionary(plist_new_dict());
    for (auto const& [name, entry] : entries) {
        if (UsableAsKey(name)) {
            AutoCFPropertyList item = [&] {
                if constexpr (std::is_same_v<Map, CFPreferenceSettingMap>) {
                    return MakeCFPropertyList(entry);
                } else {
                    return MakeCFDictionary(entry);
                }
            }();
            plist_dict_set_item(dictionary.Get(), name.c_str(), item.Release());
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
    if (setting.Deleted() || setting.Date() != Instant::First()) {
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
      key_(std::move(key)), contents_(Read(key_)) {}

CFPreferenceSettingStore::~CFPreferenceSettingStore() {
    if (changed_) {
        Write(key_, contents_);
    }
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
    auto found = contents_.find(section.view());
    if (found == contents_.end()) {
        return {};
    }
    auto item = found->second.find(name.view());
    if (item == found->second.end()) {
        return {};
    }
    return {item, std::next(item)};
}

void CFPreferenceSettingStore::Set(ConstData section, ConstData name, ConstData value,
                                   Instant date) {
    CFPreferenceSettingMap& settings = contents_.try_emplace(section.str()).first->second;
    CFPreferenceSetting& setting = settings.try_emplace(name.str()).first->second;
    if (date < setting.Date()) {
        return;
    }
    setting = CFPreferenceSetting(value.str(), date);
    changed_ = true;
}

void CFPreferenceSettingStore::Clear(ConstData section, ConstData name, Instant date) {
    auto found = contents_.find(section.view());
    if (found == contents_.end()) {
        return;
    }
    auto item = found->second.find(name.view());
    if (item == found->second.end() || date < item->second.Date()) {
        return;
    }
    item->second = CFPreferenceSetting(date);
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
        CFPreferenceSettingMap& target = contents_.try_emplace(to.str()).first->second;
        for (auto const& [name, setting] : source->second) {
            target.insert_or_assign(name, setting);
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
