#include "inspectors/sites/site_type.h"

#include <cstring>
#include <optional>
#include <string>
#include <string_view>

namespace {

// The text after `kind` and a ":", when text starts with both.
std::optional<std::string_view> AfterKind(std::string_view text, std::string_view kind) {
    if (!text.starts_with(kind) || text.size() == kind.size() || text[kind.size()] != ':')
        return std::nullopt;
    return text.substr(kind.size() + 1);
}

// The agent's bound: a value above it is refused before the next digit is
// added, so values between 429,496,730 and this bound wrap silently.
constexpr std::uint32_t cLargestBeforeDigit = 4294967194u;

struct OperatorSite {
    std::uint32_t number = 0;
    std::string_view name;
};

// "NUMBER:NAME", the number in 32-bit unsigned arithmetic.
std::optional<OperatorSite> ParseOperatorSite(std::string_view rest) {
    OperatorSite site;
    for (std::size_t i = 0; i < rest.size(); ++i) {
        char const c = rest[i];
        if (c == ':') {
            site.name = rest.substr(i + 1);
            return site;
        }
        if (c < '0' || c > '9' || site.number > cLargestBeforeDigit)
            return std::nullopt;
        site.number = site.number * 10u + static_cast<std::uint32_t>(c - '0');
    }
    return std::nullopt;
}

} // namespace

SiteType::SiteType(char const* text) {
    std::string_view const form(text);
    if (form == cSiteIsMasterAction) {
        masterAction_ = true;
    } else if (auto const tag = AfterKind(form, cSiteIsCustomSite)) {
        custom_ = true;
        customTag_ = *tag;
    } else if (auto const rest = AfterKind(form, cSiteIsOperator)) {
        if (auto const site = ParseOperatorSite(*rest)) {
            masterAction_ = operator_ = true;
            sequence_ = site->number;
            operatorName_ = site->name;
        }
    }
}

SiteType::SiteType(bool masterAction, unsigned long sequence, char const* operatorName,
                   char const* customTag)
    : masterAction_(masterAction), sequence_(static_cast<std::uint32_t>(sequence)),
      operatorName_(operatorName), customTag_(customTag) {
    custom_ = masterAction_ && !customTag_.empty();
    operator_ = masterAction_ && !custom_ && !operatorName_.empty();
    if (custom_)
        masterAction_ = operator_ = false;
}

void SiteType::SetMasterActionType() {
    *this = SiteType();
    masterAction_ = true;
}

Stringy const& SiteType::AsString() const {
    if (!cachedString_.empty())
        return cachedString_;
    std::string form;
    if (custom_)
        form = std::string(cSiteIsCustomSite) + ":" + customTag_.str();
    else if (operator_)
        form = std::string(cSiteIsOperator) + ":" + std::to_string(sequence_) + ":" +
               operatorName_.str();
    else if (masterAction_)
        form = cSiteIsMasterAction;
    else
        form = cSiteIsQuamel;
    cachedString_ = Stringy(form);
    return cachedString_;
}
