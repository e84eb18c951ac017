// What kind of site (content source) the agent is subscribed to, and the
// string form in which the agent stores that kind.
#pragma once

#include <cstdint>

#include "files/stringy.h"

inline constexpr char cSiteIsQuamel[] = ">Quamel Remote Site";
inline constexpr char cSiteIsMasterAction[] = ">Master Action Site";
inline constexpr char cSiteIsCustomSite[] = ">Custom Site";
inline constexpr char cSiteIsOperator[] = ">Operator Action Site";

class SiteType {
public:
    // A content site.
    SiteType() = default;
    // Parses a string form; any text it does not accept is a content site.
    explicit SiteType(char const* text);
    // A false masterAction always gives a content site, whatever the
    // strings; true with a custom tag gives a custom site, true with an
    // operator name an operator site, true alone the master action site.
    SiteType(bool masterAction, unsigned long sequence, char const* operatorName,
             char const* customTag);

    void SetMasterActionType();

    // The string form, computed once and kept.
    Stringy const& AsString() const;

    bool IsMasterAction() const { return masterAction_; }
    bool IsOperator() const { return operator_; }
    bool IsCustom() const { return custom_; }
    std::uint32_t GetSequenceNumber() const { return sequence_; }
    Stringy const& GetOperatorName() const { return operatorName_; }
    Stringy const& GetCustomSiteTag() const { return customTag_; }

    // The cached string form takes no part in equality.
    friend bool operator==(SiteType const& a, SiteType const& b) {
        return a.masterAction_ == b.masterAction_ && a.operator_ == b.operator_ &&
               a.custom_ == b.custom_ && a.sequence_ == b.sequence_ &&
               a.operatorName_ == b.operatorName_ && a.customTag_ == b.customTag_;
    }

private:
    bool masterAction_ = false;
    bool operator_ = false;
    bool custom_ = false;
    std::uint32_t sequence_ = 0;
    Stringy operatorName_;
    mutable Stringy cachedString_;
    Stringy customTag_;
};
