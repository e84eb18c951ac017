// Timestamped settings grouped in sections, kept as one preference value
// and merged by date: the latest change of a setting wins, in memory and in
// the file alike.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "settings/cf_preferences.h"
#include "util/bytes.h"
#include "util/instant.h"

// One setting: a value and the time it was set, or a tombstone that keeps
// the time it was cleared. Instant::First() means no date.
class CFPreferenceSetting {
public:
    CFPreferenceSetting() = default;
    CFPreferenceSetting(std::string value, Instant date)
        : value_(std::move(value)), date_(date), deleted_(false) {}
    explicit CFPreferenceSetting(Instant date) : date_(date) {}

    std::string const& Value() const { return value_; }
    Instant Date() const { return date_; }
    bool Deleted() const { return deleted_; }
    void SetDate(Instant date) { date_ = date; }

    friend bool operator==(CFPreferenceSetting const&, CFPreferenceSetting const&) = default;

private:
    std::string value_;
    Instant date_ = Instant::First();
    bool deleted_ = true;
};

// One change a store made, kept until it is written so that it can be made
// again, with the same date rule, on what other processes wrote meanwhile.
struct SettingChange {
    enum class Kind {
        Put,         // setting into section/name: a value (Set) or a tombstone (Clear)
        CopySection, // every setting of section into the section named name
        ResetDates,
    };
    Kind kind;
    std::string section;
    std::string name;
    CFPreferenceSetting setting;
};

// Names compare as bytes, so iteration runs in byte order.
using CFPreferenceSettingMap = std::map<std::string, CFPreferenceSetting, std::less<>>;
using CFPreferenceSectionMap = std::map<std::string, CFPreferenceSettingMap, std::less<>>;

// A position and the end in one section's settings. Tombstones are visited
// like any setting; callers test Deleted(). The accessors need !AtEnd().
class CFPreferenceSettingIterator {
public:
    using Position = CFPreferenceSettingMap::const_iterator;

    CFPreferenceSettingIterator() = default; // an empty range
    CFPreferenceSettingIterator(Position position, Position end) : position_(position), end_(end) {}

    bool AtEnd() const { return position_ == end_; }
    ConstData Name() const { return ConstData(position_->first); }
    ConstData Value() const { return ConstData(position_->second.Value()); }
    Instant Date() const { return position_->second.Date(); }
    bool Deleted() const { return position_->second.Deleted(); }
    void Next() { ++position_; }
    Position GetPosition() const { return position_; }
    Position End() const { return end_; }

private:
    Position position_{};
    Position end_{};
};

// The iterator as the setting inspectors hold it.
template <class Iterator> class WrappedSettingIterator {
public:
    WrappedSettingIterator() = default;
    explicit WrappedSettingIterator(Iterator iterator) : iterator_(iterator) {}

    bool AtEnd() const { return iterator_.AtEnd(); }
    ConstData Name() const { return iterator_.Name(); }
    ConstData Value() const { return iterator_.Value(); }
    Instant Date() const { return iterator_.Date(); }
    bool Deleted() const { return iterator_.Deleted(); }
    WrappedSettingIterator& operator++() {
        iterator_.Next();
        return *this;
    }
    Iterator const& Unwrapped() const { return iterator_; }

private:
    Iterator iterator_;
};

// The interface the inspectors and the section views use.
template <class Iterator> class SettingStore {
public:
    // Every setting of the section; empty when the section is absent.
    virtual Iterator IteratorForSection(ConstData section) const = 0;
    // The one setting of that name; empty when the section or name is absent.
    virtual Iterator IteratorForSingleItem(ConstData section, ConstData name) const = 0;
    virtual void Set(ConstData section, ConstData name, ConstData value, Instant date) = 0;
    virtual void Clear(ConstData section, ConstData name, Instant date) = 0;
    virtual void Flush() = 0;
    virtual void ResetDates() = 0;
    virtual ~SettingStore() = default;

    WrappedSettingIterator<Iterator> FindSection(ConstData section) const {
        return WrappedSettingIterator<Iterator>(IteratorForSection(section));
    }
    // At the end when there is no such setting; cleared settings are found.
    WrappedSettingIterator<Iterator> FindItem(ConstData section, ConstData name) const {
        return WrappedSettingIterator<Iterator>(IteratorForSingleItem(section, name));
    }
};

// One preference value of the agent's domain, held in memory: read once at
// construction. A write does not put the whole value back: the changes made
// since the last write are made again, in order and with the same date
// rules, on the value as the file holds it then, so that settings other
// processes changed meanwhile are kept. No operation reports failure.
class CFPreferenceSettingStore final : public SettingStore<CFPreferenceSettingIterator> {
public:
    CFPreferenceSettingStore(std::string key, std::string applicationId, std::string user,
                             std::string host);
    CFPreferenceSettingStore(CFPreferenceSettingStore const&) = delete;
    CFPreferenceSettingStore& operator=(CFPreferenceSettingStore const&) = delete;
    // Hands unflushed changes to the preference layer, which writes them at exit.
    ~CFPreferenceSettingStore() override;

    CFPreferenceSettingIterator IteratorForSection(ConstData section) const override;
    CFPreferenceSettingIterator IteratorForSingleItem(ConstData section,
                                                      ConstData name) const override;
    // Ignored when date is earlier than the stored setting's date.
    void Set(ConstData section, ConstData name, ConstData value, Instant date) override;
    // Leaves a tombstone dated date; ignored for an absent setting or an earlier date.
    void Clear(ConstData section, ConstData name, Instant date) override;
    // Writes the changes if there was one since the last flush.
    void Flush() override;
    // Forgets every date; on its own this is not a change worth writing.
    void ResetDates() override;
    // Copies the settings of from into to (from stays) and flushes; the copy
    // itself is not a change, so it reaches the disk only with another one.
    void RenameSection(ConstData from, ConstData to);

    // Hands the changes not yet handed over (section copies and date resets
    // included, whatever the changed flag says) to the preference layer,
    // which makes them on the file's value when it writes.
    void WriteChanges();

    CFPreferenceSectionMap Read(std::string const& key);
    // Sets the key to exactly these contents, replacing what the file holds.
    void Write(std::string const& key, CFPreferenceSectionMap const& contents);

    CFPreferenceSectionMap const& Contents() const { return contents_; }
    bool Changed() const { return changed_; }

private:
    // A hash index of every setting by section and name over contents_, so
    // that a lookup costs no tree walk; the views and iterators stay valid
    // because map nodes never move.
    struct ItemKey {
        std::string_view section;
        std::string_view name;
        friend bool operator==(ItemKey const&, ItemKey const&) = default;
    };
    struct ItemKeyHash {
        std::size_t operator()(ItemKey const& key) const noexcept;
    };
    // A setting and the one after it in its section (kept here so that a
    // lookup does not walk the tree to find the end of its range).
    struct IndexedItem {
        CFPreferenceSettingMap::iterator item;
        CFPreferenceSettingMap::iterator next;
    };
    void IndexSection(CFPreferenceSectionMap::iterator section);
    // The section or setting, created (empty, or as a default setting) if absent.
    CFPreferenceSectionMap::iterator SectionSlot(ConstData section);
    CFPreferenceSetting& SettingSlot(CFPreferenceSectionMap::iterator section,
                                     std::string_view name);

    GeneralCFPreferenceSet preferences_;
    std::string key_;
    CFPreferenceSectionMap contents_;
    bool changed_ = false;
    std::unordered_map<ItemKey, IndexedItem, ItemKeyHash> index_;
    std::vector<SettingChange> changes_; // made since the last WriteChanges
};

// The on-disk layout: section → name → {"Value", "Date"}.
inline constexpr char const* kSettingValueKey = "Value";
inline constexpr char const* kSettingDateKey = "Date";

AutoCFPropertyList MakeCFPropertyList(CFPreferenceSetting const& setting);
AutoCFPropertyList MakeCFDictionary(CFPreferenceSettingMap const& settings);
AutoCFPropertyList MakeCFDictionary(CFPreferenceSectionMap const& sections);
template <> CFPreferenceSetting ConvertCFPropertyList<CFPreferenceSetting>(plist_t list);
template <> CFPreferenceSettingMap ConvertCFPropertyList<CFPreferenceSettingMap>(plist_t list);
template <> CFPreferenceSectionMap ConvertCFPropertyList<CFPreferenceSectionMap>(plist_t list);
