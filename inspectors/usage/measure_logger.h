// The reading position the agent advances through one application's usage
// log: the event it last read and where to read on.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "files/file_location.h"
#include "util/instant.h"

enum LogMeasureEventType : std::uint32_t {
    cStartSampling = 0,
    cApplicationStart = 1,
    cApplicationEnd = 2,
    cEndSampling = 3,
};

struct ExecutionEvent {
    std::uint32_t type = cStartSampling; // a LogMeasureEventType, or any other value the log holds
    Instant time = Instant::First();
    std::optional<MacintoshPlatform::FileLocation> location; // the application's file
    Instant modificationTime = Instant::First();
    std::string version;
};

class MeasureLoggerStream {
public:
    // Back to before the first event.
    void Reset() { *this = MeasureLoggerStream(); }

    ExecutionEvent const& Current() const { return *current_; }
    // What the agent calls as it reads the next event. The event stays the
    // agent's, held with its log, until the stream advances again: the
    // usage phrases read every event of a log and copying each would cost
    // more than the reading.
    void Advance(ExecutionEvent const& event) {
        current_ = &event;
        ++position_;
    }
    // How many events the agent has read: its place in the log.
    std::uint64_t Position() const { return position_; }
    // The agent's own handle on the log being read, kept between events.
    void const* Log() const { return log_; }
    void SetLog(void const* log) { log_ = log; }

private:
    static inline ExecutionEvent const cBeforeFirst{};
    ExecutionEvent const* current_ = &cBeforeFirst;
    std::uint64_t position_ = 0;
    void const* log_ = nullptr;
};
