#include "inspectors/content/content.h"

#include "framework/contexts.h"
#include "framework/fingerprints.h"
#include "framework/memory.h"
#include "framework/prop.h"

namespace {

InspectorQuamelContext const& ContentContext() {
    return GetInspectorContext<InspectorQuamelContext>();
}

// Content cannot be inspected from inside content relevance.
InspectorQuamelContext const& OutsideRelevance(InspectorQuamelContext const& context) {
    if (context.GetEvaluatingQuamelRelevance())
        throw CannotEvaluateNow();
    return context;
}

InspectorQuamelContext const& ContentContextOutsideRelevance() {
    return OutsideRelevance(ContentContext());
}

} // namespace

template <bool RelevantOnly>
quamel site_quamel_iterator<RelevantOnly>::First(Of, SiteMapProbe const& site) {
    context_ = &ContentContext();
    changeCount_ = context_->GetAdviceListChangeCount();
    ordinal_ = 0;
    return Next(Of(), site);
}

template <bool RelevantOnly>
quamel site_quamel_iterator<RelevantOnly>::Next(Of, SiteMapProbe const& site) {
    auto const& context = OutsideRelevance(*context_);
    quamel item;
    item.data.ordinal = ordinal_;
    item.adviceListChangeCount = changeCount_;
    if (!context.GetQuamelProperties(site.site, &item.data, RelevantOnly))
        throw NoSuchObject();
    ++ordinal_;
    return item;
}

template class site_quamel_iterator<false>;
template class site_quamel_iterator<true>;

void AllocateQuamelHeaderData(quamel const& item) {
    if (!item.headersFetched) {
        item.headersFetched = true;
        auto const& context = ContentContext();
        InspectorQuamelData& data = item.data;
        bool fetched = context.GetQuamelHeaderSize(&data);
        if (fetched) {
            data.headerData =
                static_cast<unsigned char*>(Allocate_Inspector_Memory(data.headerSize));
            fetched = context.GetQuamelHeaderData(&data);
        }
        if (!fetched) {
            data.headerSize = 0;
            data.headerData = nullptr;
        }
    }
    if (!item.data.headerData)
        throw NoSuchObject();
}

void quamel_header_iterator::Start(quamel const& item) {
    ContentContextOutsideRelevance();
    AllocateQuamelHeaderData(item);
    cursor_ = ConstData(item.data.headerData, item.data.headerSize);
}

quamel_header quamel_header_iterator::First(Of, quamel const& item) {
    Start(item);
    return Step(ConstData());
}

quamel_header quamel_header_iterator::Next(Of, quamel const&) {
    return Step(ConstData());
}

quamel_header quamel_header_iterator::First(quamel const& item, Of, inspector_string const& name) {
    Start(item);
    return Step(AsConstData(name));
}

quamel_header quamel_header_iterator::Next(quamel const&, Of, inspector_string const& name) {
    return Step(AsConstData(name));
}

// The next header from the cursor; with a wanted name, the next of that name.
quamel_header quamel_header_iterator::Step(ConstData wanted) {
    auto const& context = ContentContextOutsideRelevance();
    quamel_header header{wanted, ConstData()};
    ConstData next;
    if (!context.GetQuamelHeader(cursor_, header.name, header.value, next))
        throw NoSuchObject();
    cursor_ = next;
    return header;
}

boolean Relevance_of(Of, quamel const& item) {
    return item.data.relevant;
}

integer Id_of(Of, quamel const& item) {
    return item.data.id;
}

inspector_string Name_of(Of, quamel_header const& header) {
    return AsInspectorString(header.name);
}

inspector_string Value_of(Of, quamel_header const& header) {
    return AsInspectorString(header.value);
}

computer_group Computer_group_of_site(integer const& id, Of, SiteMapProbe const& site) {
    if (id < 0 || id > integer{0xFFFFFFFF})
        throw NoSuchObject();
    computer_group group;
    if (!GetInspectorContext<InspectorSiteContext>().GetGroupFromId(
            static_cast<unsigned long>(id), site.site->url, &group, CheckForInspectorInterruption))
        throw NoSuchObject();
    return group;
}

boolean Member_of(Of, computer_group const& group) {
    return group.member;
}

integer Id_of(Of, computer_group const& group) {
    return group.id;
}

namespace {

Type<quamel> quamelType;
Type<quamel_header> headerType;
Prop quamels("quamel", "quamels", &quamel_iterator::First, &quamel_iterator::Next,
             DependsOnlyOnParameters);
Prop relevantQuamels("relevant quamel", "relevant quamels", &relevant_quamel_iterator::First,
                     &relevant_quamel_iterator::Next, DependsOnlyOnParameters);
Prop relevance("relevance", "relevances", Relevance_of, DependsOnlyOnParameters);
Prop quamelId("id", "ids", static_cast<integer (*)(Of, quamel const&)>(Id_of),
              DependsOnlyOnParameters);
Prop headers("header", "headers",
             static_cast<quamel_header (quamel_header_iterator::*)(Of, quamel const&)>(
                 &quamel_header_iterator::First),
             static_cast<quamel_header (quamel_header_iterator::*)(Of, quamel const&)>(
                 &quamel_header_iterator::Next),
             DependsOnlyOnParameters);
Prop headersNamed("header", "headers",
                  static_cast<quamel_header (quamel_header_iterator::*)(
                      quamel const&, Of, inspector_string const&)>(&quamel_header_iterator::First),
                  static_cast<quamel_header (quamel_header_iterator::*)(
                      quamel const&, Of, inspector_string const&)>(&quamel_header_iterator::Next),
                  DependsOnlyOnParameters);
Prop headerName("name", "names", Name_of, DependsOnlyOnParameters);
Prop headerValue("value", "values", Value_of, DependsOnlyOnParameters);

Type<computer_group> groupType;
Prop groupOfSite("group", "groups", Computer_group_of_site, DependsOnlyOnParameters);
Prop member("member", "members", Member_of, DependsOnlyOnParameters);
Prop groupId("id", "ids", static_cast<integer (*)(Of, computer_group const&)>(Id_of),
             DependsOnlyOnParameters);

} // namespace
