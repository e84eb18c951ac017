#include "settings/subsection_store.h"

namespace {

// The getters with defaults answer the default for any failure of the
// settings family (absent, not a number, out of range).
template <class Get, class Value> Value OrDefault(Get get, Value defaultValue) {
    try {
        return get();
    } catch (DebuggableException const&) {
        return defaultValue;
    }
}

template <class Number> Number InRange(Number value, Number min, Number max) {
    if (value < min || value > max) {
        throw OptionValueOutOfRange();
    }
    return value;
}

} // namespace

std::string SubsectionStore::GetStringWithDefault(ConstCString name, ConstData defaultValue) const {
    return OrDefault([&] { return GetString(name); }, defaultValue.str());
}

std::uint32_t SubsectionStore::GetUInt32WithDefault(ConstCString name,
                                                    std::uint32_t defaultValue) const {
    return OrDefault([&] { return GetUInt32(name); }, defaultValue);
}

std::uint32_t SubsectionStore::GetUInt32WithMinMaxDefault(ConstCString name, std::uint32_t min,
                                                          std::uint32_t max,
                                                          std::uint32_t defaultValue) const {
    return OrDefault([&] { return InRange(GetUInt32(name), min, max); }, defaultValue);
}

std::int64_t SubsectionStore::GetInt64WithDefault(ConstCString name,
                                                  std::int64_t defaultValue) const {
    return OrDefault([&] { return GetInt64(name); }, defaultValue);
}

std::int64_t SubsectionStore::GetInt64WithMinMaxDefault(ConstCString name, std::int64_t min,
                                                        std::int64_t max,
                                                        std::int64_t defaultValue) const {
    return OrDefault([&] { return InRange(GetInt64(name), min, max); }, defaultValue);
}

bool SubsectionStore::GetBoolWithDefault(ConstCString name, bool defaultValue) const {
    return OrDefault([&] { return GetBool(name); }, defaultValue);
}

MacintoshPlatform::FileLocation SubsectionStore::GetFileLocationWithDefault(
    ConstCString name, MacintoshPlatform::FileLocation const& defaultValue) const {
    return OrDefault([&] { return GetFileLocation(name); }, defaultValue);
}
