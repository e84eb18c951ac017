// How zorq prints results and the phrase listing, as text or JSON lines.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "evaluator/evaluator.h"
#include "tools/zorq/result.h"

namespace zorq {

struct TextStyle {
    bool time = false;
    // Width of the prompt the expression was typed after; when set, a caret
    // line points at the column of a syntax or binding error.
    std::optional<std::size_t> caretIndent;
};

// "A: ..." lines, then "E: ..." on failure, then "T: ..." when asked.
std::string formatText(Result const& result, TextStyle const& style);
// One line of JSON with a trailing newline.
std::string formatJson(Result const& result);

// "syntax", "binding" or "evaluation".
std::string kindName(zor::ExpressionError::Kind kind);
// The error message as shown after "E: ", with the column when it has one.
std::string failureMessage(Failure const& failure);
// Spaces and a caret under column (1-based) of text typed after indent columns.
std::string caretLine(std::size_t indent, int column);

// Registrations sorted by phrase, then object, then index type.
std::vector<zor::PhraseInfo> sortedPhrases(std::vector<zor::PhraseInfo> phrases);
// An aligned table with a heading line; empty fields show as "-".
std::string formatPhraseTable(std::vector<zor::PhraseInfo> const& phrases);
// One JSON object per registration; empty fields are null.
std::string formatPhraseJson(std::vector<zor::PhraseInfo> const& phrases);

} // namespace zorq
