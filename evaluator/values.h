// The evaluator's core value layouts, as inspectors read and return them.
// A value is the bytes of one of these records; the evaluator copies them
// into a result slot of the registered size and never moves them afterwards.
#pragma once

#include <cstdint>

using integer = std::int64_t;
using boolean = bool;
static_assert(sizeof(boolean) == 1, "a boolean value is one byte");

// A byte string: not terminated; the bytes live in evaluation memory or in
// storage that outlives the evaluation.
struct inspector_string {
    unsigned char const* pointer;
    std::uint32_t length;
};

// A piece of a larger string. Starts with the same layout as inspector_string,
// so a substring can be read wherever a string is expected.
struct substring {
    unsigned char const* pointer;
    std::uint32_t length;
    unsigned char const* whole;
    std::uint32_t wholeLength;
};

// Microseconds relative to 1970-01-01 00:00:00 UTC.
struct moment {
    std::int64_t microseconds;
};

struct time_interval {
    std::int64_t microseconds;
};

struct time_range {
    moment start;
    moment end;
};

struct hertz {
    std::int64_t value;
};

// IPv4 address in host byte order.
struct ipv4_address {
    std::uint32_t value;
};

// A dotted version: `count` numeric components in storage that outlives the
// evaluation (evaluation memory or lasting storage).
struct version {
    std::uint64_t const* components;
    std::uint32_t count;
};

// A tuple value is a chain of nodes, one per item, each pointing at its
// item's value and at the next node (null after the last).
struct tuple_node {
    void const* value;
    tuple_node const* next;
};

// Names of the core types, as phrases and registrations spell them.
namespace type_names {
inline constexpr char const boolean[] = "boolean";
inline constexpr char const integer[] = "integer";
inline constexpr char const string[] = "string";
inline constexpr char const substring[] = "substring";
inline constexpr char const time[] = "time";
inline constexpr char const time_interval[] = "time interval";
inline constexpr char const time_range[] = "time range";
inline constexpr char const version[] = "version";
inline constexpr char const ipv4_address[] = "ipv4 address";
inline constexpr char const hertz[] = "hertz";
} // namespace type_names
