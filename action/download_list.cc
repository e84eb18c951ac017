#include "action/download_list.h"

#include <limits>
#include <optional>
#include <stdexcept>

#include "action/action_text.h"

namespace {

constexpr std::string_view kSizePrefix = "size:";
constexpr std::string_view kUnknownSize = "size:null";

// The field up to the next comma, and text moved past that comma.
std::string_view TakeField(std::string_view& text) {
    std::size_t const comma = text.find(',');
    std::string_view const field = text.substr(0, comma);
    text = comma == std::string_view::npos ? std::string_view() : text.substr(comma + 1);
    return field;
}

std::optional<std::uint64_t> DecimalValue(std::string_view text) {
    if (text.empty())
        return std::nullopt;
    std::uint64_t value = 0;
    for (char c : text) {
        if (c < '0' || c > '9')
            return std::nullopt;
        std::uint64_t const digit = static_cast<std::uint64_t>(c - '0');
        if (value > (std::numeric_limits<std::uint64_t>::max() - digit) / 10)
            return std::nullopt;
        value = value * 10 + digit;
    }
    return value;
}

} // namespace

DownloadFileInfo::DownloadFileInfo(Stringy const& url, Stringy const& size, Stringy const& hash,
                                   Stringy const& name, bool required)
    : url(ActionText::Strip(url.str())), name(name), required(required) {
    std::string_view const sizeText = size.str();
    if (sizeText.starts_with(kSizePrefix) && sizeText != kUnknownSize)
        this->size = ActionText::Strip(sizeText.substr(kSizePrefix.size()));
    CrackHashTypeAndValue(hash.str());
}

DownloadFileInfo::DownloadFileInfo(std::string_view line) {
    size = ActionText::Strip(TakeField(line));
    CrackHashTypeAndValue(TakeField(line));
    url = ActionText::Strip(line);
}

void DownloadFileInfo::CrackHashTypeAndValue(std::string_view text) {
    std::size_t const colon = text.find(':');
    if (colon == std::string_view::npos)
        return;
    hashType = ActionText::Strip(text.substr(0, colon));
    std::string_view const value = ActionText::Strip(text.substr(colon + 1));
    hashValue = value == "null" ? std::string_view() : value;
}

Stringy DownloadFileInfo::GetName() const {
    if (!name.empty())
        return name;
    std::string_view const path = url.str();
    std::size_t const slash = path.rfind('/');
    return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

void DownloadList::Add(DownloadFileInfo info) {
    entries_.push_back(std::move(info));
}

void DownloadList::Add(std::string_view line) {
    entries_.emplace_back(line);
}

void DownloadList::Add(Stringy const& url, Stringy const& size, Stringy const& hash,
                       Stringy const& name, bool required) {
    entries_.emplace_back(url, size, hash, name, required);
}

DownloadFileInfo const& DownloadList::GetDownloadFileInfo(std::size_t index) const {
    return entries_.at(index);
}

void DownloadList::Reset() {
    flags_ = 0;
    entries_.clear();
}

void DownloadList::SetUtility(std::size_t index) {
    entries_.at(index).utility = true;
}

bool DownloadList::AnyRequired(std::size_t from) const {
    for (std::size_t i = from; i < entries_.size(); ++i) {
        if (entries_[i].required)
            return true;
    }
    return false;
}

bool DownloadList::SingleDownloadLessThan(std::uint64_t limit) const {
    DownloadFileInfo const* single = nullptr;
    for (DownloadFileInfo const& entry : entries_) {
        if (!entry.required)
            continue;
        if (single != nullptr)
            return false;
        single = &entry;
    }
    if (single == nullptr)
        return false;
    std::optional<std::uint64_t> const size = DecimalValue(single->size.str());
    return size.has_value() && *size < limit;
}
