// Application usage as inspector types: each application's summary, its
// logged executions, and its running-instance count over time. The agent
// reads its logs for us through the process-table context; only the listing
// of the summary files happens here.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "evaluator/values.h"
#include "framework/tuples.h"
#include "inspectors/usage/file_name.h"
#include "inspectors/usage/measure_logger.h"

struct InspectorProcessTableContext;

struct ApplicationUsageSummary {
    static char const* TypeName() { return "application usage summary"; }
    FileName name;
    std::uint32_t totalRunCount = 0;
    Instant firstStart;
    Instant lastStart;
    Instant lastSeen;
    TimeInterval totalDuration;
    std::uint32_t running = 0;
};

struct execution {
    static char const* TypeName() { return "execution"; }
    FileName identity;
    ExecutionEvent event;
};

// The usage statistics folder under the agent's global storage, and the
// extension of its summary files.
inline constexpr char cRESERVED_USAGE_DIRECTORY_STATISTICS[] = "usage";
inline constexpr char cStatExt[] = ".stat";

class application_usage {
public:
    TimedValue<integer> First(inspector_string const& application);
    TimedValue<integer> Next(inspector_string const& application);

private:
    InspectorProcessTableContext const* table_ = nullptr; // asked once, at First
    FileName application_;
    MeasureLoggerStream stream_;
    std::int32_t count_ = 0;
    Instant lastChange_ = Instant::Jan_1_1970_GMT();
};

class execution_app_iterator {
public:
    execution First(inspector_string const& application);
    execution Next(inspector_string const& application);

private:
    InspectorProcessTableContext const* table_ = nullptr;
    FileName application_;
    MeasureLoggerStream stream_;
};

class app_usage_summary_iterator {
public:
    ApplicationUsageSummary First();
    ApplicationUsageSummary Next();

private:
    std::vector<std::string> names_; // of the summary files, without the extension
    std::size_t next_ = 0;
};

ApplicationUsageSummary ApplicationUsageSummaryOf(inspector_string const& application);
