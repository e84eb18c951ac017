#include "framework/tuples.h"

std::string MakeTimedValueTypeName(char const* tupleTypeName) {
    return std::string("timed") + tupleTypeName;
}
