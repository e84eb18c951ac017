// Typed views of one section of a setting store, getters that fall back to
// a default, and the errors they raise.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "evaluator/errors.h"
#include "files/file_location.h"
#include "settings/decimal.h"
#include "settings/setting_store.h"
#include "util/bytes.h"
#include "util/instant.h"

// No such setting, or a boolean that is neither 0 nor 1.
class SettingNotFound : public DebuggableException {
public:
    const char* what() const noexcept override { return "SettingNotFound"; }
};

// A number outside the range a getter accepts.
class OptionValueOutOfRange : public DebuggableException {
public:
    const char* what() const noexcept override { return "OptionValueOutOfRange"; }
};

// Typed values inside one section: strings as they are, numbers in decimal,
// booleans as 0 and 1, file locations as their POSIX path.
class SubsectionStore {
public:
    virtual std::string GetString(ConstCString name) const = 0;
    virtual void SetString(ConstCString name, ConstData value) = 0;
    virtual std::uint32_t GetUInt32(ConstCString name) const = 0;
    virtual void SetUInt32(ConstCString name, std::uint32_t value) = 0;
    virtual std::int64_t GetInt64(ConstCString name) const = 0;
    virtual void SetInt64(ConstCString name, std::int64_t value) = 0;
    virtual bool GetBool(ConstCString name) const = 0;
    virtual void SetBool(ConstCString name, bool value) = 0;
    virtual MacintoshPlatform::FileLocation GetFileLocation(ConstCString name) const = 0;
    virtual void SetFileLocation(ConstCString name,
                                 MacintoshPlatform::FileLocation const& location) = 0;
    virtual void Flush() = 0;
    virtual ~SubsectionStore() = default;

    // These never fail: a missing, malformed or out-of-range value gives the default.
    std::string GetStringWithDefault(ConstCString name, ConstData defaultValue) const;
    std::uint32_t GetUInt32WithDefault(ConstCString name, std::uint32_t defaultValue) const;
    std::uint32_t GetUInt32WithMinMaxDefault(ConstCString name, std::uint32_t min,
                                             std::uint32_t max, std::uint32_t defaultValue) const;
    std::int64_t GetInt64WithDefault(ConstCString name, std::int64_t defaultValue) const;
    std::int64_t GetInt64WithMinMaxDefault(ConstCString name, std::int64_t min, std::int64_t max,
                                           std::int64_t defaultValue) const;
    bool GetBoolWithDefault(ConstCString name, bool defaultValue) const;
    MacintoshPlatform::FileLocation
    GetFileLocationWithDefault(ConstCString name,
                               MacintoshPlatform::FileLocation const& defaultValue) const;
};

// The view of section of store. A cleared setting reads as empty text.
template <class Store> class ZORSubsectionSettings final : public SubsectionStore {
public:
    ZORSubsectionSettings(Store& store, ConstData section) : store_(store), section_(section) {}

    std::string GetString(ConstCString name) const override { return ItemValue(name).str(); }
    void SetString(ConstCString name, ConstData value) override { SetText(name, value); }
    std::uint32_t GetUInt32(ConstCString name) const override {
        return ReadDecimalUInt32(ItemValue(name));
    }
    void SetUInt32(ConstCString name, std::uint32_t value) override {
        SetText(name, std::string_view(DecimalNumeral(std::uint64_t{value})));
    }
    std::int64_t GetInt64(ConstCString name) const override {
        return ReadDecimalInt64(ItemValue(name));
    }
    void SetInt64(ConstCString name, std::int64_t value) override {
        SetText(name, std::string_view(DecimalNumeral(value)));
    }
    bool GetBool(ConstCString name) const override {
        switch (GetUInt32(name)) {
        case 0:
            return false;
        case 1:
            return true;
        default:
            throw SettingNotFound();
        }
    }
    void SetBool(ConstCString name, bool value) override { SetUInt32(name, value ? 1 : 0); }
    MacintoshPlatform::FileLocation GetFileLocation(ConstCString name) const override {
        return MacintoshPlatform::MakeFileLocation(ItemValue(name).view());
    }
    void SetFileLocation(ConstCString name,
                         MacintoshPlatform::FileLocation const& location) override {
        SetText(name, std::string_view(location.POSIXPath()));
    }
    void Flush() override { store_.Flush(); }

    Store& UnderlyingStore() const { return store_; }
    ConstData Section() const { return section_; }

private:
    ConstData ItemValue(ConstCString name) const {
        auto item = store_.FindItem(section_, name.Data());
        if (item.AtEnd()) {
            throw SettingNotFound();
        }
        return item.Value();
    }
    void SetText(ConstCString name, ConstData text) {
        store_.Set(section_, name.Data(), text, Instant::Now());
    }

    Store& store_;
    ConstData section_;
};
