// Checked integer arithmetic and the time arithmetic built on it.
#include <chrono>

#include "evaluator/helpers.h"

integer CheckedAdd(integer a, integer b) {
    integer sum;
    if (__builtin_add_overflow(a, b, &sum))
        throw IntegerOverflow();
    return sum;
}

integer CheckedSubtract(integer a, integer b) {
    integer difference;
    if (__builtin_sub_overflow(a, b, &difference))
        throw IntegerOverflow();
    return difference;
}

integer CheckedMultiply(integer a, integer b) {
    integer product;
    if (__builtin_mul_overflow(a, b, &product))
        throw IntegerOverflow();
    return product;
}

integer CheckedDivide(integer a, integer b) {
    if (b == 0)
        throw DivisionByZero();
    if (b == -1)
        return CheckedNegate(a);
    return a / b;
}

integer CheckedModulo(integer a, integer b) {
    if (b == 0)
        throw DivisionByZero();
    // INT64_MIN % -1 is undefined in C++ although its value is plainly 0.
    return b == -1 ? 0 : a % b;
}

integer CheckedNegate(integer a) {
    return CheckedSubtract(0, a);
}

moment moment_now() {
    using namespace std::chrono;
    return moment{duration_cast<microseconds>(system_clock::now().time_since_epoch()).count()};
}

time_interval operator*(time_interval const& interval, integer const& factor) {
    return time_interval{CheckedMultiply(interval.microseconds, factor)};
}

time_interval operator*(integer const& factor, time_interval const& interval) {
    return interval * factor;
}

time_interval operator/(time_interval const& interval, integer const& divisor) {
    return time_interval{CheckedDivide(interval.microseconds, divisor)};
}

integer operator/(time_interval const& interval, time_interval const& divisor) {
    return CheckedDivide(interval.microseconds, divisor.microseconds);
}

time_interval operator+(time_interval const& a, time_interval const& b) {
    return time_interval{CheckedAdd(a.microseconds, b.microseconds)};
}

time_interval operator-(time_interval const& a, time_interval const& b) {
    return time_interval{CheckedSubtract(a.microseconds, b.microseconds)};
}

moment operator+(moment const& when, time_interval const& interval) {
    return moment{CheckedAdd(when.microseconds, interval.microseconds)};
}

moment operator+(time_interval const& interval, moment const& when) {
    return when + interval;
}

moment operator-(moment const& when, time_interval const& interval) {
    return moment{CheckedSubtract(when.microseconds, interval.microseconds)};
}

time_interval operator-(moment const& later, moment const& earlier) {
    return time_interval{CheckedSubtract(later.microseconds, earlier.microseconds)};
}
