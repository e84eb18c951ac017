// Reading the agent-state file's JSON values with the key path of every
// fault: the pieces each part's reader is made of.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "agent/agent_state.h"
#include "evaluator/helpers.h"
#include "util/receiver.h"

// Gathers a file's bytes, refusing more than the limit.
class BoundedText : public DataReceiver {
public:
    explicit BoundedText(std::size_t limit) : limit_(limit) {}
    void Receive(ConstData data) override {
        if (text_.size() + data.Length() > limit_) {
            throw AgentStateError("larger than " + std::to_string(limit_) + " bytes");
        }
        text_.append(data.view());
    }
    std::string const& Text() const { return text_; }

private:
    std::size_t limit_;
    std::string text_;
};

namespace agent_json {

using Json = nlohmann::json;

// Where a value sits in the file, kept as a chain so that the text is built
// only for an error.
struct KeyPath {
    KeyPath const* parent = nullptr;
    std::string_view key;
    std::size_t index = 0;
    bool isIndex = false;

    KeyPath Key(std::string_view name) const { return {this, name, 0, false}; }
    KeyPath Index(std::size_t i) const { return {this, {}, i, true}; }

    std::string Text() const {
        if (!parent) {
            return "the top level";
        }
        std::string text = parent->parent ? parent->Text() : std::string();
        if (isIndex) {
            return text + "[" + std::to_string(index) + "]";
        }
        return text.empty() ? std::string(key) : text + "." + std::string(key);
    }
};

[[noreturn]] inline void Fail(KeyPath const& path, std::string const& problem) {
    throw AgentStateError(path.Text() + ": " + problem);
}

// The object's members, after refusing any key not in `known`.
inline Json::object_t const& Object(Json const& value, KeyPath const& path,
                                    std::initializer_list<std::string_view> known) {
    if (!value.is_object()) {
        Fail(path, "not an object");
    }
    Json::object_t const& members = value.get_ref<Json::object_t const&>();
    for (auto const& [key, member] : members) {
        if (std::find(known.begin(), known.end(), key) == known.end()) {
            Fail(path.Key(key), "unknown key");
        }
    }
    return members;
}

inline Json const* Member(Json::object_t const& members, std::string_view key) {
    auto found = members.find(std::string(key));
    return found == members.end() ? nullptr : &found->second;
}

inline std::int64_t SignedInteger(Json const& value, KeyPath const& path, std::int64_t least,
                                  std::int64_t most) {
    std::string const range =
        "not an integer from " + std::to_string(least) + " to " + std::to_string(most);
    if (value.is_number_unsigned()) {
        auto const number = value.get<std::uint64_t>();
        if (number > static_cast<std::uint64_t>(most)) {
            Fail(path, range);
        }
        return static_cast<std::int64_t>(number);
    }
    if (!value.is_number_integer()) {
        Fail(path, range);
    }
    auto const number = value.get<std::int64_t>();
    if (number < least || number > most) {
        Fail(path, range);
    }
    return number;
}

template <class T> T Unsigned(Json const& value, KeyPath const& path) {
    static_assert(sizeof(T) < sizeof(std::int64_t));
    return static_cast<T>(SignedInteger(value, path, 0, std::numeric_limits<T>::max()));
}

inline bool Boolean(Json const& value, KeyPath const& path) {
    if (!value.is_boolean()) {
        Fail(path, "not true or false");
    }
    return value.get<bool>();
}

inline std::string const& Text(Json const& value, KeyPath const& path) {
    if (!value.is_string()) {
        Fail(path, "not a text");
    }
    return value.get_ref<std::string const&>();
}

// Microseconds since 1970: an integer as it is, a text as the language reads
// a time.
inline std::int64_t Time(Json const& value, KeyPath const& path) {
    if (value.is_string()) {
        std::string const& text = value.get_ref<std::string const&>();
        try {
            return TextToTime(ConstData(text)).microseconds;
        } catch (MalformedText const&) {
            Fail(path, "not a time: \"" + text + "\"");
        }
    }
    if (!value.is_number_integer()) {
        Fail(path, "not a time (microseconds since 1970, or a time text)");
    }
    return SignedInteger(value, path, std::numeric_limits<std::int64_t>::min(),
                         std::numeric_limits<std::int64_t>::max());
}

// Copies a text into a NUL-terminated field of the agent's records.
template <std::size_t N> void FixedText(char (&field)[N], Json const& value, KeyPath const& path) {
    std::string const& text = Text(value, path);
    if (text.size() >= N) {
        Fail(path, "longer than " + std::to_string(N - 1) + " bytes");
    }
    if (text.find('\0') != std::string::npos) {
        Fail(path, "holds a NUL byte");
    }
    std::memcpy(field, text.c_str(), text.size() + 1);
}

// Reads a part that may be null (present with no data).
template <class T, class Read>
AgentPart<T> Part(Json::object_t const& top, std::string_view key, KeyPath const& root, Read read) {
    Json const* value = Member(top, key);
    if (!value) {
        return std::nullopt;
    }
    if (value->is_null()) {
        return std::optional<T>();
    }
    return std::optional<T>(read(*value, root.Key(key)));
}

// A list's elements, each read with its index in the path.
template <class Read>
auto List(Json const& value, KeyPath const& path, Read read)
    -> std::vector<decltype(read(value, path))> {
    if (!value.is_array()) {
        Fail(path, "not a list");
    }
    std::vector<decltype(read(value, path))> items;
    for (std::size_t i = 0; i < value.size(); ++i) {
        items.push_back(read(value[i], path.Index(i)));
    }
    return items;
}

// A time interval: an integer is seconds, a text as the language reads one.
inline std::int64_t IntervalSeconds(Json const& value, KeyPath const& path) {
    if (value.is_string()) {
        std::string const& text = value.get_ref<std::string const&>();
        try {
            return TextToTimeInterval(ConstData(text)).microseconds / 1000000;
        } catch (MalformedText const&) {
            Fail(path, "not a time interval: \"" + text + "\"");
        }
    }
    return SignedInteger(value, path, std::numeric_limits<std::int64_t>::min() / 1000000,
                         std::numeric_limits<std::int64_t>::max() / 1000000);
}

// A path from the file: a relative one is taken from the file's own folder.
inline std::string FolderPath(Json const& value, KeyPath const& path,
                              std::string const& baseFolder) {
    std::string const& text = Text(value, path);
    if (text.empty() || text.find('\0') != std::string::npos) {
        Fail(path, "not a folder path");
    }
    return (std::filesystem::path(baseFolder) / text).lexically_normal();
}

} // namespace agent_json
