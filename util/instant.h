// Time points and intervals in microseconds.
#pragma once

#include <chrono>
#include <cstdint>
#include <limits>

// A span of time in microseconds.
class TimeInterval {
public:
    constexpr TimeInterval() = default;
    constexpr explicit TimeInterval(std::int64_t microseconds) : us_(microseconds) {}
    static constexpr TimeInterval Seconds(std::int64_t s) { return TimeInterval(s * 1000000); }
    constexpr std::int64_t Microseconds() const { return us_; }
    friend constexpr auto operator<=>(TimeInterval, TimeInterval) = default;

private:
    std::int64_t us_ = 0;
};

// A point in time: microseconds since 2001-01-01 00:00:00 UTC, the epoch of
// property-list dates. First() is the earliest instant and means "no date".
class Instant {
public:
    constexpr Instant() = default;
    constexpr explicit Instant(std::int64_t microsecondsSince2001) : us_(microsecondsSince2001) {}

    static constexpr Instant First() { return Instant(std::numeric_limits<std::int64_t>::min()); }
    static constexpr Instant Jan_1_1970_GMT() { return Instant(-978307200LL * 1000000); }
    static constexpr Instant FromUnixMicroseconds(std::int64_t us) {
        return Instant(us + Jan_1_1970_GMT().us_);
    }
    static Instant Now() {
        using namespace std::chrono;
        auto us = duration_cast<microseconds>(system_clock::now().time_since_epoch()).count();
        return FromUnixMicroseconds(us);
    }

    constexpr std::int64_t Microseconds() const { return us_; }
    constexpr std::int64_t UnixMicroseconds() const { return us_ - Jan_1_1970_GMT().us_; }

    friend constexpr auto operator<=>(Instant, Instant) = default;
    friend constexpr TimeInterval operator-(Instant a, Instant b) {
        return TimeInterval(a.us_ - b.us_);
    }
    friend constexpr Instant operator+(Instant a, TimeInterval d) {
        return Instant(a.us_ + d.Microseconds());
    }

private:
    std::int64_t us_ = 0;
};

// A monotonic mark in microseconds, for measuring elapsed time.
class TimeMark {
public:
    static TimeMark Now() {
        using namespace std::chrono;
        return TimeMark(
            duration_cast<microseconds>(steady_clock::now().time_since_epoch()).count());
    }
    constexpr std::int64_t Microseconds() const { return us_; }
    friend constexpr TimeInterval operator-(TimeMark a, TimeMark b) {
        return TimeInterval(a.us_ - b.us_);
    }
    friend constexpr TimeMark operator+(TimeMark a, TimeInterval d) {
        return TimeMark(a.us_ + d.Microseconds());
    }

private:
    constexpr explicit TimeMark(std::int64_t us) : us_(us) {}
    std::int64_t us_;
};
