// Runs what the command line asked for: the phrase listing, the expressions
// given as arguments and in files, or an interactive session.
#pragma once

#include <ostream>

#include "evaluator/context.h"
#include "tools/zorq/options.h"

namespace zorq {

// Does everything the options ask, evaluating with the agent's context
// installed, and returns the exit status (0 or 1). Throws UsageError for
// unreadable input files before evaluating anything.
int runZorq(Options const& options, InspectorContext* agent, std::ostream& out);

} // namespace zorq
