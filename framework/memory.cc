#include "framework/memory.h"

#include <algorithm>

#include "evaluator/registration.h"

std::size_t ConstDataRopeReference::Length() const {
    std::size_t length = 0;
    for (ConstData const& piece : pieces_) {
        length += piece.Length();
    }
    return length;
}

inspector_string CopyToInspectorString(ConstData data) {
    auto const* copy =
        static_cast<unsigned char const*>(AllocateInspectorCopy(data.begin(), data.Length()));
    return {copy, static_cast<std::uint32_t>(data.Length())};
}

inspector_string CopyToInspectorString(ConstDataRopeReference rope) {
    std::size_t const length = rope.Length();
    auto* const copy = static_cast<unsigned char*>(Allocate_Inspector_Memory(length));
    unsigned char* end = copy;
    for (ConstData const& piece : rope.Pieces()) {
        end = std::copy(piece.begin(), piece.end(), end);
    }
    return {copy, static_cast<std::uint32_t>(length)};
}

void* AllocateInspectorCopy(void const* value, unsigned long size) {
    void* copy = Allocate_Inspector_Memory(size);
    std::copy_n(static_cast<unsigned char const*>(value), size, static_cast<unsigned char*>(copy));
    return copy;
}

void CheckForInspectorInterruption() {
    Check_For_Inspector_Interruption();
}
