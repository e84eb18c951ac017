#include "framework/tuples.h"

#include <cstring>

std::string MakeTimedValueTypeName(char const* tupleTypeName) {
    return std::string("timed") + tupleTypeName;
}

void* AllocateInspectorCopy(void const* value, unsigned long size) {
    void* copy = Allocate_Inspector_Memory(size);
    std::memcpy(copy, value, size);
    return copy;
}
