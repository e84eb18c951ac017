// Reading the expressions zorq is asked to evaluate.
#pragma once

#include <istream>
#include <string>
#include <string_view>
#include <vector>

#include "tools/zorq/options.h"

namespace zorq {

// True for lines that hold no expression: blank ones and // comments.
bool isSkippedLine(std::string_view line);

// Lines of a file of expressions without their line ends, skipping the
// lines that hold no expression.
std::vector<std::string> expressionLines(std::istream& in);

// Every expression of the inputs in order; a file named "-" is read from
// standardInput. Throws UsageError for a file that cannot be read.
std::vector<std::string> collectExpressions(std::vector<Input> const& inputs,
                                            std::istream& standardInput);

} // namespace zorq
