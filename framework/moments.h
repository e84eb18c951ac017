// The agent's instants as the evaluator's times.
#pragma once

#include "evaluator/helpers.h"
#include "evaluator/values.h"
#include "util/instant.h"

// Both count microseconds since 1970, so the conversion is the count itself.
inline moment AsMoment(Instant when) {
    return moment{when.UnixMicroseconds()};
}
