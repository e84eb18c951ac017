// Two-member tuples as the evaluator reads them, and the timed values built
// on them.
#pragma once

#include <new>
#include <string>
#include <type_traits>

#include "evaluator/registration.h"
#include "evaluator/values.h"
#include "framework/memory.h"
#include "framework/type_name.h"

// A chain of two tuple nodes: the first points at A's value and at the second
// node, the second at B's value and at nothing. A copy points its own first
// node at its own second node.
template <class A, class B> class InspectorTuple2 {
public:
    static char const* TypeName() {
        static std::string const name = MakeTupleTypeName(TypeNameOf<A>(), TypeNameOf<B>());
        return name.c_str();
    }

    InspectorTuple2() { PointTo(nullptr, nullptr); }
    InspectorTuple2(InspectorTuple2 const& other) {
        PointTo(other.FirstPointer(), other.SecondPointer());
    }
    InspectorTuple2& operator=(InspectorTuple2 const& other) {
        PointTo(other.FirstPointer(), other.SecondPointer());
        return *this;
    }
    ~InspectorTuple2() = default;

    void PointTo(A const* a, B const* b) {
        first_ = {a, &second_};
        second_ = {b, nullptr};
    }
    A const* FirstPointer() const { return static_cast<A const*>(first_.value); }
    B const* SecondPointer() const { return static_cast<B const*>(second_.value); }
    tuple_node const& Head() const { return first_; }

private:
    tuple_node first_;
    tuple_node second_;
};

static_assert(sizeof(InspectorTuple2<integer, integer>) == 2 * sizeof(tuple_node),
              "a two-member tuple is exactly its two nodes");

// The name of a timed value's type: "timed" directly followed by its tuple's name.
std::string MakeTimedValueTypeName(char const* tupleTypeName);

// A value of T together with the time range it applies to.
template <class T> class TimedValue : public InspectorTuple2<time_range, T> {
public:
    static char const* TypeName() {
        static std::string const name =
            MakeTimedValueTypeName(InspectorTuple2<time_range, T>::TypeName());
        return name.c_str();
    }
};

// Copies the range and the value into evaluator memory, so the timed value
// outlives the call that built it.
template <class T> TimedValue<T> CopyToTimedValue(time_range const& range, T const& value) {
    static_assert(std::is_trivially_copyable_v<T>, "timed values hold plain values");
    // Built in place: iterations make a timed value at every step.
    auto const* copiedValue = ::new (Allocate_Inspector_Memory(sizeof(T))) T(value);
    auto const* copiedRange = ::new (Allocate_Inspector_Memory(sizeof range)) time_range(range);
    TimedValue<T> timed;
    timed.PointTo(copiedRange, copiedValue);
    return timed;
}
