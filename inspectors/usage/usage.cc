#include "inspectors/usage/usage.h"

#include <cerrno>

#include "framework/contexts.h"
#include "framework/memory.h"
#include "framework/moments.h"
#include "framework/prop.h"
#include "platform/linux/files.h"

namespace {

// Usage is for other evaluations than content relevance: while the agent
// evaluates that, these inspectors refuse rather than answer.
void RefuseDuringContentRelevance() {
    auto const* content = GetInspectorContextPointer<InspectorQuamelContext>();
    if (content && content->GetEvaluatingQuamelRelevance())
        throw CannotEvaluateNow();
}

InspectorProcessTableContext const& ProcessTable() {
    return GetInspectorContext<InspectorProcessTableContext>();
}

// The next event of the application, else NoSuchObject.
ExecutionEvent const& NextEvent(InspectorProcessTableContext const& table,
                                FileName const& application, MeasureLoggerStream& stream) {
    if (!table.FindAppEvent(application, stream))
        throw NoSuchObject();
    return stream.Current();
}

// The summary, or none when the agent keeps no statistics for it.
std::optional<ApplicationUsageSummary> SummaryOf(FileName const& name) {
    ApplicationUsageSummary summary;
    summary.name = name;
    unsigned long runs = 0;
    unsigned long running = 0;
    if (!ProcessTable().GetAppUsage(name, runs, summary.firstStart, summary.lastStart,
                                    summary.lastSeen, summary.totalDuration, running))
        return std::nullopt;
    summary.totalRunCount = Asuint32(runs);
    summary.running = Asuint32(running);
    return summary;
}

// The application names of the summary files, in byte order. A missing
// folder has none; a file named just ".stat" names no application.
std::vector<std::string> SummaryFileNames() {
    auto const folder = GetInspectorContext<InspectorStorageContext>().GetGlobalLocation().Child(
        cRESERVED_USAGE_DIRECTORY_STATISTICS);
    std::vector<std::string> entries;
    try {
        entries = platform::FolderEntries(folder.POSIXPath());
    } catch (platform::OpenDirFailed const& error) {
        if (error.Errno() != ENOENT && error.Errno() != ENOTDIR)
            throw;
    }
    std::vector<std::string> names;
    std::string_view const extension(cStatExt);
    for (auto& entry : entries) {
        if (entry.size() > extension.size() && entry.ends_with(extension))
            names.push_back(entry.substr(0, entry.size() - extension.size()));
    }
    return names;
}

TimedValue<integer> CountOver(Instant from, Instant to, integer count) {
    return CopyToTimedValue(time_range{AsMoment(from), AsMoment(to)}, count);
}

} // namespace

TimedValue<integer> application_usage::First(inspector_string const& application) {
    RefuseDuringContentRelevance();
    table_ = &ProcessTable();
    application_ = ExactFileName(AsConstData(application));
    count_ = 0;
    lastChange_ = Instant::Jan_1_1970_GMT();
    stream_.Reset();
    return Next(application);
}

// Reads on until an event closes an interval of constant count. The open
// interval after the last event is never reported, and one closed by the end
// of sampling always reports 0.
TimedValue<integer> application_usage::Next(inspector_string const&) {
    for (;;) {
        ExecutionEvent const& event = NextEvent(*table_, application_, stream_);
        Instant const from = lastChange_;
        switch (event.type) {
        case cStartSampling:
            lastChange_ = event.time;
            count_ = 0;
            continue;
        case cApplicationStart:
        case cApplicationEnd: {
            std::int32_t const before = count_;
            count_ += event.type == cApplicationStart ? 1 : -1;
            if (event.time == from)
                continue;
            lastChange_ = event.time;
            return CountOver(from, event.time, before);
        }
        case cEndSampling:
            if (event.time == from)
                continue;
            count_ = 0;
            lastChange_ = event.time;
            return CountOver(from, event.time, 0);
        default:
            continue;
        }
    }
}

execution execution_app_iterator::First(inspector_string const& application) {
    RefuseDuringContentRelevance();
    table_ = &ProcessTable();
    application_ = ExactFileName(AsConstData(application));
    stream_.Reset();
    return Next(application);
}

execution execution_app_iterator::Next(inspector_string const&) {
    return execution{application_, NextEvent(*table_, application_, stream_)};
}

ApplicationUsageSummary ApplicationUsageSummaryOf(inspector_string const& application) {
    auto summary = SummaryOf(ExactFileName(AsConstData(application)));
    if (!summary)
        throw NoSuchObject();
    return *summary;
}

ApplicationUsageSummary app_usage_summary_iterator::First() {
    names_ = SummaryFileNames();
    next_ = 0;
    return Next();
}

// Files whose name no application can have, or that the agent keeps no
// statistics for, are passed over rather than ending the iteration.
ApplicationUsageSummary app_usage_summary_iterator::Next() {
    while (next_ < names_.size()) {
        std::string const& name = names_[next_++];
        if (name.size() > 4 * FileName::cMaxUnits)
            continue;
        try {
            if (auto summary = SummaryOf(ExactFileName(ConstData(name))))
                return *summary;
        } catch (NoSuchObject const&) {
        }
    }
    throw NoSuchObject();
}

namespace {

inspector_string NameOf(Of, ApplicationUsageSummary const& summary) {
    return CopyToInspectorString(ConstData(Utf8Of(summary.name)));
}
integer TotalRunCountOf(Of, ApplicationUsageSummary const& summary) {
    return summary.totalRunCount;
}
moment FirstStartTimeOf(Of, ApplicationUsageSummary const& summary) {
    return AsMoment(summary.firstStart);
}
moment LastStartTimeOf(Of, ApplicationUsageSummary const& summary) {
    return AsMoment(summary.lastStart);
}
moment LastTimeSeenOf(Of, ApplicationUsageSummary const& summary) {
    return AsMoment(summary.lastSeen);
}
time_interval TotalDurationOf(Of, ApplicationUsageSummary const& summary) {
    return microsecond_of() * summary.totalDuration.Microseconds();
}
boolean RunningOf(Of, ApplicationUsageSummary const& summary) {
    return summary.running != 0;
}

inspector_string IdentityOf(Of, execution const& run) {
    return CopyToInspectorString(ConstData(Utf8Of(run.identity)));
}
moment TimeOf(Of, execution const& run) {
    return AsMoment(run.event.time);
}
inspector_string TypeOf(Of, execution const& run) {
    static constexpr char const* texts[] = {"Start Sampling", "Application Start",
                                            "Application End", "End Sampling"};
    if (run.event.type > cEndSampling)
        throw NoSuchObject();
    return AsInspectorString(ConstData(texts[run.event.type]));
}
inspector_string PathOf(Of, execution const& run) {
    if (!run.event.location)
        throw NoSuchObject();
    return CopyToInspectorString(ConstData(run.event.location->POSIXPath()));
}
moment ModificationTimeOf(Of, execution const& run) {
    return AsMoment(run.event.modificationTime);
}
inspector_string VersionInfoOf(Of, execution const& run) {
    return CopyToInspectorString(ConstData(run.event.version));
}

// Running counts over time.
DerivedType<TimedValue<integer>, InspectorTuple2<time_range, integer>> timedInteger;
Prop usage("application usage", "application usages", &application_usage::First,
           &application_usage::Next, nullptr);

// Summaries.
Type<ApplicationUsageSummary> summaryType;
Prop summaryByName("application usage summary", "application usage summaries",
                   ApplicationUsageSummaryOf, nullptr);
Prop summaryName("name", "names", NameOf, nullptr);
Prop totalRunCount("total run count", "total run counts", TotalRunCountOf, nullptr);
Prop firstStartTime("first start time", "first start times", FirstStartTimeOf, nullptr);
Prop lastStartTime("last start time", "last start times", LastStartTimeOf, nullptr);
Prop lastTimeSeen("last time seen", "last times seen", LastTimeSeenOf, nullptr);
Prop totalDuration("total duration", "total durations", TotalDurationOf, nullptr);
Prop running("running", "runnings", RunningOf, nullptr);
Prop everySummary("application usage summary", "application usage summaries",
                  &app_usage_summary_iterator::First, &app_usage_summary_iterator::Next, nullptr);

// Executions.
Type<execution> executionType;
Prop executions("execution", "executions", &execution_app_iterator::First,
                &execution_app_iterator::Next, nullptr);
Prop identity("identity", "identites", IdentityOf, nullptr);
Prop executionTime("time", "times", TimeOf, nullptr);
Prop executionType_("type", "types", TypeOf, nullptr);
Prop path("path", "paths", PathOf, nullptr);
Prop modificationTime("modification time", "modification times", ModificationTimeOf, nullptr);
Prop versionInfo("version info", "version infos", VersionInfoOf, nullptr);

} // namespace
