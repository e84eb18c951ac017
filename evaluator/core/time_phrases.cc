// The world's clock and units of time, time and interval arithmetic, and the
// parts of a time range.
#include "evaluator/core/registrar.h"
#include "evaluator/helpers.h"

namespace {

using namespace zor::core;

// Units never change, so they are as cacheable as any pure value; "now" is not.
WorldProperty<moment> now("now", "nows", &moment_now, nullptr);
WorldProperty<time_interval> microsecond("microsecond", "microseconds", &microsecond_of,
                                         &DependsOnlyOnOperands);
WorldProperty<time_interval> millisecond("millisecond", "milliseconds", &millisecond_of,
                                         &DependsOnlyOnOperands);
WorldProperty<time_interval> second("second", "seconds", &second_of, &DependsOnlyOnOperands);
WorldProperty<time_interval> minute("minute", "minutes", &minute_of, &DependsOnlyOnOperands);
WorldProperty<time_interval> hour("hour", "hours", &hour_of, &DependsOnlyOnOperands);
WorldProperty<time_interval> day("day", "days", &day_of, &DependsOnlyOnOperands);
WorldProperty<time_interval> week("week", "weeks", &week_of, &DependsOnlyOnOperands);

moment StartOfTimeRange(time_range const& range) {
    return range.start;
}
moment EndOfTimeRange(time_range const& range) {
    return range.end;
}
time_interval LengthOfTimeRange(time_range const& range) {
    return range.end - range.start;
}

ObjectProperty<moment, time_range> startOfTimeRange("start", "starts", &StartOfTimeRange);
ObjectProperty<moment, time_range> endOfTimeRange("end", "ends", &EndOfTimeRange);
ObjectProperty<time_interval, time_range> lengthOfTimeRange("length", "lengths",
                                                            &LengthOfTimeRange);

boolean EqualTimeRanges(time_range const& a, time_range const& b) {
    return a.start == b.start && a.end == b.end;
}

moment TimePlusInterval(moment const& when, time_interval const& interval) {
    return when + interval;
}
moment IntervalPlusTime(time_interval const& interval, moment const& when) {
    return interval + when;
}
moment TimeMinusInterval(moment const& when, time_interval const& interval) {
    return when - interval;
}
time_interval TimeMinusTime(moment const& later, moment const& earlier) {
    return later - earlier;
}
time_interval IntervalPlusInterval(time_interval const& a, time_interval const& b) {
    return a + b;
}
time_interval IntervalMinusInterval(time_interval const& a, time_interval const& b) {
    return a - b;
}
time_interval IntervalTimesInteger(time_interval const& interval, integer const& factor) {
    return interval * factor;
}
time_interval IntegerTimesInterval(integer const& factor, time_interval const& interval) {
    return factor * interval;
}
time_interval IntervalDividedByInteger(time_interval const& interval, integer const& divisor) {
    return interval / divisor;
}
integer IntervalDividedByInterval(time_interval const& interval, time_interval const& divisor) {
    return interval / divisor;
}

OperatorRegistration<moment, time_interval, moment> timePlusInterval(kOperatorPlus,
                                                                     &TimePlusInterval);
OperatorRegistration<time_interval, moment, moment> intervalPlusTime(kOperatorPlus,
                                                                     &IntervalPlusTime);
OperatorRegistration<moment, time_interval, moment> timeMinusInterval(kOperatorMinus,
                                                                      &TimeMinusInterval);
OperatorRegistration<moment, moment, time_interval> timeMinusTime(kOperatorMinus, &TimeMinusTime);
OperatorRegistration<time_interval, time_interval, time_interval>
    intervalPlusInterval(kOperatorPlus, &IntervalPlusInterval);
OperatorRegistration<time_interval, time_interval, time_interval>
    intervalMinusInterval(kOperatorMinus, &IntervalMinusInterval);
OperatorRegistration<time_interval, integer, time_interval>
    intervalTimesInteger(kOperatorTimes, &IntervalTimesInteger);
OperatorRegistration<integer, time_interval, time_interval>
    integerTimesInterval(kOperatorTimes, &IntegerTimesInterval);
OperatorRegistration<time_interval, integer, time_interval>
    intervalDividedByInteger(kOperatorDivide, &IntervalDividedByInteger);
OperatorRegistration<time_interval, time_interval, integer>
    intervalDividedByInterval(kOperatorDivide, &IntervalDividedByInterval);

ComparisonRegistrations<moment, moment, &ThreeWay<moment>> compareTimes;
ComparisonRegistrations<time_interval, time_interval, &ThreeWay<time_interval>> compareIntervals;
OperatorRegistration<time_range, time_range, boolean> equalTimeRanges(kOperatorEqual,
                                                                      &EqualTimeRanges);

} // namespace
