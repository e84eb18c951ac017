// Binding: resolves the phrases, casts and operators of a syntax tree against
// the live registrations and builds the typed tree of nodes.
#pragma once

#include <vector>

#include "evaluator/nodes.h"
#include "evaluator/syntax.h"

namespace zor::detail {

struct BoundExpression {
    NodePtr root;
    // Liveness flags of every registration and type the tree uses.
    std::vector<bool const*> live;
    std::vector<FingerprintFunction> fingerprints;
    bool cacheable = true;
    std::uint64_t generation = 0;

    bool withdrawn() const {
        for (bool const* flag : live)
            if (!*flag)
                return true;
        return false;
    }
};

// Throws ExpressionError (Binding) with the column of the offending text.
BoundExpression bind(Syntax const& syntax);

} // namespace zor::detail
