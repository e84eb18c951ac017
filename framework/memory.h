// Strings in evaluator memory, views between the evaluator's strings and byte
// ranges, and plain integer narrowing.
#pragma once

#include <concepts>
#include <cstdint>
#include <span>
#include <type_traits>

#include "evaluator/values.h"
#include "util/bytes.h"

// Byte ranges read one after the other as one string, without joining them.
class ConstDataRopeReference {
public:
    explicit ConstDataRopeReference(std::span<ConstData const> pieces) : pieces_(pieces) {}
    std::span<ConstData const> Pieces() const { return pieces_; }
    std::size_t Length() const;

private:
    std::span<ConstData const> pieces_;
};

// Copies the bytes into memory the evaluator owns for this evaluation.
inspector_string CopyToInspectorString(ConstData data);
inspector_string CopyToInspectorString(ConstDataRopeReference rope);

// A copy of a plain value's bytes in memory the evaluator owns.
void* AllocateInspectorCopy(void const* value, unsigned long size);

// Views of the same bytes; nothing is copied.
inline inspector_string AsInspectorString(ConstData const& data) {
    return {data.begin(), static_cast<std::uint32_t>(data.Length())};
}
inline ConstData AsConstData(inspector_string const& string) {
    return ConstData(string.pointer, string.pointer + string.length);
}

// Gives the long-running inspector's evaluation a chance to be abandoned.
void CheckForInspectorInterruption();

// Narrowing that keeps the low-order bits; no range check.
template <class T>
concept NarrowableInteger =
    std::same_as<T, int> || std::same_as<T, long> || std::same_as<T, unsigned long> ||
    std::same_as<T, long long> || std::same_as<T, unsigned long long>;

template <NarrowableInteger T> constexpr std::uint32_t Asuint32(T value) {
    return static_cast<std::uint32_t>(value);
}
template <NarrowableInteger T> constexpr std::uint16_t Asuint16(T value) {
    return static_cast<std::uint16_t>(value);
}
template <NarrowableInteger T> constexpr std::uint8_t Asuint8(T value) {
    return static_cast<std::uint8_t>(value);
}
template <NarrowableInteger T> constexpr std::int32_t Asint32(T value) {
    return static_cast<std::int32_t>(value);
}
