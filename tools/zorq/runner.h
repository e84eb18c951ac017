// Compiles and evaluates one expression, collecting its answers or its error.
#pragma once

#include <string_view>

#include "evaluator/evaluator.h"
#include "tools/zorq/result.h"

namespace zorq {

Result runExpression(std::string_view text, zor::EvaluationOptions const& options);

} // namespace zorq
