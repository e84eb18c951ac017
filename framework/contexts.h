// The kinds of context an agent can install for an evaluation, and how an
// inspector reaches the kind it needs. The agent's context object derives from
// InspectorContext and from every kind it supports; a kind is a record of
// function pointers the agent fills in, null where it lacks the operation.
// Each operation is called through a member function of the same name that
// throws the kind's error class when the pointer is null.
#pragma once

#include <cstdint>
#include <typeinfo>
#include <utility>

#include "evaluator/context.h"
#include "evaluator/errors.h"
#include "evaluator/values.h"
#include "framework/errors.h"
#include "util/bytes.h"
#include "util/instant.h"

// Records the agent fills in; each belongs to the family that reads it.
struct InspectorActionData;
struct InspectorAnalysisData;
struct InspectorSystemData;
struct InspectorGroupData;
struct InspectorQuamelData;
struct InspectorServerData;
class HostSelectorEntry;
class SiteMap;
class URL;
struct FileName;
class MeasureLoggerStream;
class CFPreferenceSettingIterator;
template <class Iterator> class SettingStore;
namespace MacintoshPlatform {
class FileLocation;
}

using InspectorSettingStore = SettingStore<CFPreferenceSettingIterator>;
using MakeChildLocation =
    MacintoshPlatform::FileLocation* (*)(MacintoshPlatform::FileLocation const&, char const*);

// An agent whose kinds depend on what it knows now derives from every kind it
// may offer and also from this, saying which of them it offers at the moment;
// a kind it withholds is missing exactly as if it did not derive from it.
// Each kind is asked once per installation of the agent's context: what the
// agent offers is settled while it is installed.
class InspectorKindFilter {
public:
    virtual bool OffersKind(std::type_info const& kind) const = 0;

protected:
    ~InspectorKindFilter() = default;
};

namespace context_detail {

template <class T> T const* NarrowInspectorContext(InspectorContext const* generic) {
    T const* kind = dynamic_cast<T const*>(generic);
    if (kind) {
        auto const* filter = dynamic_cast<InspectorKindFilter const*>(generic);
        if (filter && !filter->OffersKind(typeid(T))) {
            return nullptr;
        }
    }
    return kind;
}

} // namespace context_detail

// The generic context narrowed to kind T, or null when no context is
// installed or the agent's context lacks that kind. Inspectors ask for their
// kind at every step of an iteration, so the narrowing is kept per thread
// until the installed context changes.
template <class T> T const* GetInspectorContextPointer() {
    thread_local struct {
        std::uint64_t installation = 0;
        T const* kind = nullptr;
    } narrowed;
    std::uint64_t const installation = InspectorContextInstallation();
    if (narrowed.installation != installation) {
        InspectorContext const* generic = Get_Generic_Inspector_Context();
        narrowed.kind = generic ? context_detail::NarrowInspectorContext<T>(generic) : nullptr;
        narrowed.installation = installation;
    }
    return narrowed.kind;
}

// As GetInspectorContextPointer, but a missing context is an error.
template <class T> T const& GetInspectorContext() {
    T const* context = GetInspectorContextPointer<T>();
    if (!context) {
        throw NoInspectorContext();
    }
    return *context;
}

namespace context_detail {

template <class Error, class R, class... Params, class... Args>
R Call(R (*operation)(Params...), Args&&... args) {
    if (!operation) {
        throw Error();
    }
    return operation(std::forward<Args>(args)...);
}

// A placeholder for an operation this library never calls; it keeps the
// record's order.
using Unused = void (*)();

} // namespace context_detail

struct InspectorAnalysisContext {
    bool (*getCurrentAnalysisData)(InspectorAnalysisData*);

    boolean GetCurrentAnalysisData(InspectorAnalysisData* data) const {
        return context_detail::Call<InspectorAnalysisContextError>(getCurrentAnalysisData, data);
    }
};

struct InspectorActionContext {
    bool (*getActiveActionData)(InspectorActionData*);
    bool (*getCurrentActionData)(InspectorActionData*);
    bool (*getActionDataById)(unsigned long, InspectorActionData*, void (*)());

    boolean GetActiveActionData(InspectorActionData* data) const {
        return context_detail::Call<InspectorActionContextError>(getActiveActionData, data);
    }
    boolean GetCurrentActionData(InspectorActionData* data) const {
        return context_detail::Call<InspectorActionContextError>(getCurrentActionData, data);
    }
    boolean GetActionDataById(unsigned long id, InspectorActionData* data,
                              void (*interrupt)()) const {
        return context_detail::Call<InspectorActionContextError>(getActionDataById, id, data,
                                                                 interrupt);
    }
};

struct InspectorSystemContext {
    bool (*getSystemData)(InspectorSystemData*);

    boolean GetSystemData(InspectorSystemData* data) const {
        return context_detail::Call<InspectorSystemContextError>(getSystemData, data);
    }
};

struct InspectorSettingsContext {
    InspectorSettingStore* (*getInspectorSettingStore)();
    InspectorSettingStore* (*getInspectorSitesStore)();

    InspectorSettingStore* GetInspectorSettingStore() const {
        return context_detail::Call<InspectorSettingsContextError>(getInspectorSettingStore);
    }
    InspectorSettingStore* GetInspectorSitesStore() const {
        return context_detail::Call<InspectorSettingsContextError>(getInspectorSitesStore);
    }
};

struct InspectorStorageContext {
    context_detail::Unused unused0;
    MacintoshPlatform::FileLocation const& (*getGlobalLocation)();
    context_detail::Unused unused2;
    context_detail::Unused unused3;
    MacintoshPlatform::FileLocation* (*getSiteAdviceLocation)(MakeChildLocation, char const*);
    MacintoshPlatform::FileLocation* (*getSiteDataLocation)(MakeChildLocation,
                                                            MacintoshPlatform::FileLocation const&);

    MacintoshPlatform::FileLocation const& GetGlobalLocation() const {
        return context_detail::Call<InspectorStorageContextError>(getGlobalLocation);
    }
    MacintoshPlatform::FileLocation* GetSiteAdviceLocation(MakeChildLocation make,
                                                           char const* siteName) const {
        return context_detail::Call<InspectorStorageContextError>(getSiteAdviceLocation, make,
                                                                  siteName);
    }
    MacintoshPlatform::FileLocation*
    GetSiteDataLocation(MakeChildLocation make,
                        MacintoshPlatform::FileLocation const& adviceLocation) const {
        return context_detail::Call<InspectorStorageContextError>(getSiteDataLocation, make,
                                                                  adviceLocation);
    }
};

struct InspectorSiteContext {
    SiteMap const* (*getSiteMapList)();
    SiteMap const* (*getSiteMapCurrent)();
    std::uint32_t (*getSiteMapInstance)();
    bool (*getGroupFromId)(unsigned long, URL const&, InspectorGroupData*, void (*)());
    void (*getCustomSiteName)(ConstData const&, unsigned char*, unsigned long);

    SiteMap const* GetSiteMapList() const {
        return context_detail::Call<InspectorSiteContextError>(getSiteMapList);
    }
    SiteMap const* GetSiteMapCurrent() const {
        return context_detail::Call<InspectorSiteContextError>(getSiteMapCurrent);
    }
    std::uint32_t GetSiteMapInstance() const {
        return context_detail::Call<InspectorSiteContextError>(getSiteMapInstance);
    }
    boolean GetGroupFromId(unsigned long id, URL const& siteUrl, InspectorGroupData* data,
                           void (*interrupt)()) const {
        return context_detail::Call<InspectorSiteContextError>(getGroupFromId, id, siteUrl, data,
                                                               interrupt);
    }
    void GetCustomSiteName(ConstData const& siteName, unsigned char* buffer,
                           unsigned long size) const {
        context_detail::Call<InspectorSiteContextError>(getCustomSiteName, siteName, buffer, size);
    }
};

struct InspectorQuamelContext {
    bool (*getQuamelProperties)(SiteMap const*, InspectorQuamelData*, bool);
    bool (*getQuamelHeaderSize)(InspectorQuamelData*);
    bool (*getQuamelHeaderData)(InspectorQuamelData*);
    bool (*getQuamelHeader)(ConstData&, ConstData&, ConstData&, ConstData&);
    context_detail::Unused unused4;
    bool (*getEvaluatingQuamelRelevance)();
    unsigned long (*getAdviceListChangeCount)();

    boolean GetQuamelProperties(SiteMap const* site, InspectorQuamelData* data,
                                bool relevantOnly) const {
        return context_detail::Call<InspectorQuamelContextError>(getQuamelProperties, site, data,
                                                                 relevantOnly);
    }
    boolean GetQuamelHeaderSize(InspectorQuamelData* data) const {
        return context_detail::Call<InspectorQuamelContextError>(getQuamelHeaderSize, data);
    }
    boolean GetQuamelHeaderData(InspectorQuamelData* data) const {
        return context_detail::Call<InspectorQuamelContextError>(getQuamelHeaderData, data);
    }
    boolean GetQuamelHeader(ConstData& cursor, ConstData& name, ConstData& value,
                            ConstData& nextCursor) const {
        return context_detail::Call<InspectorQuamelContextError>(getQuamelHeader, cursor, name,
                                                                 value, nextCursor);
    }
    boolean GetEvaluatingQuamelRelevance() const {
        return context_detail::Call<InspectorQuamelContextError>(getEvaluatingQuamelRelevance);
    }
    unsigned long GetAdviceListChangeCount() const {
        return context_detail::Call<InspectorQuamelContextError>(getAdviceListChangeCount);
    }
};

struct InspectorProcessTableContext {
    context_detail::Unused unused0;
    context_detail::Unused unused1;
    context_detail::Unused unused2;
    context_detail::Unused unused3;
    bool (*findAppEvent)(FileName const&, MeasureLoggerStream&);
    bool (*getAppUsage)(FileName const&, unsigned long&, Instant&, Instant&, Instant&,
                        TimeInterval&, unsigned long&);

    boolean FindAppEvent(FileName const& application, MeasureLoggerStream& stream) const {
        return context_detail::Call<InspectorProcessTableContextError>(findAppEvent, application,
                                                                       stream);
    }
    boolean GetAppUsage(FileName const& application, unsigned long& runs, Instant& firstStart,
                        Instant& lastStart, Instant& lastSeen, TimeInterval& duration,
                        unsigned long& running) const {
        return context_detail::Call<InspectorProcessTableContextError>(
            getAppUsage, application, runs, firstStart, lastStart, lastSeen, duration, running);
    }
};

// The agent's registration and download servers.
struct InspectorServerContext {
    bool (*getServerData)(InspectorServerData*);

    boolean GetServerData(InspectorServerData* data) const {
        return context_detail::Call<InspectorServerContextError>(getServerData, data);
    }
};

// Whether a restart is pending, in general or for one named reason.
class PendingRestartInspectorContext {
public:
    virtual boolean PendingRestart() const = 0;
    virtual boolean PendingRestart(ConstData name) const = 0;
    virtual ~PendingRestartInspectorContext() = default;
};

// The server the agent has selected among its candidate hosts.
class HostSelectorInspectorContext {
public:
    virtual HostSelectorEntry const& SelectedServer() const = 0;
    virtual ~HostSelectorInspectorContext() = default;
};

// Where the agent is installed; without it the "client" is the folder of the
// running program.
class ClientLocationInspectorContext {
public:
    // An absolute path.
    virtual char const* ClientFolder() const = 0;
    virtual ~ClientLocationInspectorContext() = default;
};

// Supplies the agent's version.
class InspectorVersionContext {
public:
    virtual char const* VersionOfClient() const = 0;
    virtual ~InspectorVersionContext() = default;
};

// The version context this library offers the agent: the built-in version.
class ZORAgentVersionContext : public InspectorVersionContext {
public:
    char const* VersionOfClient() const override;
};
