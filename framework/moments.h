// The agent's instants as the evaluator's times.
#pragma once

#include "evaluator/helpers.h"
#include "evaluator/values.h"
#include "util/instant.h"

inline moment AsMoment(Instant when) {
    return january_1_1970() + microsecond_of() * when.UnixMicroseconds();
}
