#include "tools/zorq/format.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <tuple>

namespace zorq {
namespace {

using Json = nlohmann::ordered_json;

// Answers are bytes; text that is not UTF-8 is shown with replacement characters.
std::string dumpLine(Json const& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

Json failureJson(std::optional<Failure> const& failure) {
    if (!failure)
        return nullptr;
    return Json{{"kind", kindName(failure->kind)},
                {"column", failure->column},
                {"message", failure->message}};
}

Json optionalText(std::string const& text) {
    return text.empty() ? Json(nullptr) : Json(text);
}

constexpr std::size_t phraseColumns = 6;
using PhraseRow = std::array<std::string, phraseColumns>;

PhraseRow phraseRow(zor::PhraseInfo const& info) {
    auto const shown = [](std::string const& text) { return text.empty() ? "-" : text; };
    return {info.kind,
            info.phrase,
            shown(info.plural),
            shown(info.objectType),
            shown(info.indexType),
            shown(info.resultType)};
}

std::string tableLine(PhraseRow const& row, std::array<std::size_t, phraseColumns> const& widths) {
    std::string line;
    for (std::size_t column = 0; column < phraseColumns; ++column) {
        line += row[column];
        if (column + 1 < phraseColumns)
            line.append(widths[column] - row[column].size() + 2, ' ');
    }
    return line + "\n";
}

} // namespace

std::string kindName(zor::ExpressionError::Kind kind) {
    switch (kind) {
    case zor::ExpressionError::Kind::Syntax:
        return "syntax";
    case zor::ExpressionError::Kind::Binding:
        return "binding";
    case zor::ExpressionError::Kind::Evaluation:
        return "evaluation";
    }
    throw std::invalid_argument("unknown expression error kind");
}

std::string failureMessage(Failure const& failure) {
    if (failure.column <= 0)
        return failure.message;
    return "column " + std::to_string(failure.column) + ": " + failure.message;
}

std::string caretLine(std::size_t indent, int column) {
    return std::string(indent + static_cast<std::size_t>(std::max(column, 1) - 1), ' ') + "^\n";
}

std::string formatText(Result const& result, TextStyle const& style) {
    std::string text;
    for (auto const& answer : result.answers)
        text += "A: " + answer + "\n";
    if (result.failure) {
        if (style.caretIndent && result.failure->column > 0)
            text += caretLine(*style.caretIndent, result.failure->column);
        text += "E: " + failureMessage(*result.failure) + "\n";
    }
    if (style.time)
        text += "T: " + std::to_string(result.time.count()) + " us\n";
    return text;
}

std::string formatJson(Result const& result) {
    Json json;
    json["expression"] = result.expression;
    json["type"] = result.typeName ? Json(*result.typeName) : Json(nullptr);
    json["plural"] = result.typeName ? Json(result.plural) : Json(nullptr);
    json["answers"] = result.answers;
    json["error"] = failureJson(result.failure);
    json["time_us"] = result.time.count();
    return dumpLine(json);
}

std::vector<zor::PhraseInfo> sortedPhrases(std::vector<zor::PhraseInfo> phrases) {
    std::stable_sort(phrases.begin(), phrases.end(), [](auto const& a, auto const& b) {
        return std::tie(a.phrase, a.objectType, a.indexType) <
               std::tie(b.phrase, b.objectType, b.indexType);
    });
    return phrases;
}

std::string formatPhraseTable(std::vector<zor::PhraseInfo> const& phrases) {
    std::vector<PhraseRow> rows{{"KIND", "PHRASE", "PLURAL", "OBJECT", "INDEX", "RESULT"}};
    for (auto const& info : phrases)
        rows.push_back(phraseRow(info));
    std::array<std::size_t, phraseColumns> widths{};
    for (auto const& row : rows)
        for (std::size_t column = 0; column < phraseColumns; ++column)
            widths[column] = std::max(widths[column], row[column].size());
    std::string table;
    for (auto const& row : rows)
        table += tableLine(row, widths);
    return table;
}

std::string formatPhraseJson(std::vector<zor::PhraseInfo> const& phrases) {
    std::string lines;
    for (auto const& info : phrases)
        lines += dumpLine(Json{{"kind", info.kind},
                               {"phrase", info.phrase},
                               {"plural", optionalText(info.plural)},
                               {"object", optionalText(info.objectType)},
                               {"index", optionalText(info.indexType)},
                               {"result", optionalText(info.resultType)}});
    return lines;
}

} // namespace zorq
