// The content items (quamels) of a site with their relevance, ids and
// headers, and the site's computer groups. The agent answers through the
// content and site contexts; content cannot be inspected while the agent
// evaluates content relevance, so that relevance never depends on it.
#pragma once

#include <cstdint>

#include "evaluator/values.h"
#include "framework/registration.h"
#include "inspectors/sites/sites.h"

// One content item as the agent describes it. The agent fills the item at
// `ordinal` of a site, and keeps in `agentItem` what it needs to find the
// item's headers again; the header block is fetched into evaluator memory.
struct InspectorQuamelData {
    bool relevant = false;
    std::uint8_t flags[3] = {}; // cleared before every request
    std::uint32_t ordinal = 0;
    std::uint32_t id = 0;
    std::uint32_t headerSize = 0;
    unsigned char* headerData = nullptr;
    void const* agentItem = nullptr;
};

struct InspectorQuamelContext;

struct quamel {
    static char const* TypeName() { return "quamel"; }
    // The header block, fetched on first use and kept with the item.
    mutable InspectorQuamelData data;
    mutable bool headersFetched = false;
    unsigned long adviceListChangeCount = 0;
};

struct quamel_header {
    static char const* TypeName() { return "quamel_header"; }
    ConstData name;
    ConstData value;
};

struct InspectorGroupData {
    bool member = false;
    std::uint32_t id = 0;
};

struct computer_group : InspectorGroupData {
    static char const* TypeName() { return "site group"; }
};
static_assert(sizeof(InspectorGroupData) == 8, "a group is a flag and a 32-bit id");

// Every item of a site, or only its relevant items.
template <bool RelevantOnly> class site_quamel_iterator {
public:
    quamel First(Of, SiteMapProbe const& site);
    quamel Next(Of, SiteMapProbe const& site);

private:
    InspectorQuamelContext const* context_ = nullptr; // asked once, at First
    std::uint32_t ordinal_ = 0;
    unsigned long changeCount_ = 0;
};
using quamel_iterator = site_quamel_iterator<false>;
using relevant_quamel_iterator = site_quamel_iterator<true>;

// The headers of an item, all of them or only those of one name.
class quamel_header_iterator {
public:
    quamel_header First(Of, quamel const& item);
    quamel_header Next(Of, quamel const& item);
    quamel_header First(quamel const& item, Of, inspector_string const& name);
    quamel_header Next(quamel const& item, Of, inspector_string const& name);

private:
    void Start(quamel const& item);
    quamel_header Step(ConstData wanted);

    ConstData cursor_;
};

// Fetches the item's header block once; a failed fetch leaves it empty,
// counts as fetched, and is no such object.
void AllocateQuamelHeaderData(quamel const& item);

boolean Relevance_of(Of, quamel const& item);
integer Id_of(Of, quamel const& item);
inspector_string Name_of(Of, quamel_header const& header);
inspector_string Value_of(Of, quamel_header const& header);
computer_group Computer_group_of_site(integer const& id, Of, SiteMapProbe const& site);
boolean Member_of(Of, computer_group const& group);
integer Id_of(Of, computer_group const& group);
