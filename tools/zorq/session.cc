#include "tools/zorq/session.h"

#include <iostream>
#include <unistd.h>

#include "tools/zorq/format.h"
#include "tools/zorq/input.h"
#include "tools/zorq/line_editor.h"
#include "tools/zorq/runner.h"

namespace zorq {
namespace {

// Evaluates expressions one after another and prints each result.
class Printer {
public:
    Printer(Options const& options, InspectorContext* agent, std::ostream& out)
        : out_(out), json_(options.json),
          time_(options.time), evaluation_{.context = agent, .budget = options.budget} {}

    // Returns whether the expression evaluated without error.
    bool run(std::string_view expression, std::optional<std::size_t> caretIndent = {}) {
        auto const result = runExpression(expression, evaluation_);
        out_ << (json_ ? formatJson(result) : formatText(result, {time_, caretIndent}));
        out_.flush();
        return !result.failure;
    }

private:
    std::ostream& out_;
    bool json_;
    bool time_;
    zor::EvaluationOptions evaluation_;
};

bool runAll(Printer& printer, std::vector<std::string> const& expressions) {
    bool allEvaluated = true;
    for (auto const& expression : expressions)
        allEvaluated = printer.run(expression) && allEvaluated;
    return allEvaluated;
}

bool runInteractively(Printer& printer) {
    LineEditor editor("zorq", stdin, stdout, defaultHistoryFile());
    bool allEvaluated = true;
    while (auto const line = editor.readLine()) {
        if (isSkippedLine(*line))
            continue;
        editor.remember(*line);
        allEvaluated =
            printer.run(*line, std::string_view(LineEditor::prompt).size()) && allEvaluated;
    }
    std::cout << '\n'; // end of input leaves the cursor after a prompt
    return allEvaluated;
}

void listPhrases(Options const& options, std::ostream& out) {
    auto const phrases = sortedPhrases(zor::listRegistrations());
    out << (options.json ? formatPhraseJson(phrases) : formatPhraseTable(phrases));
}

} // namespace

int runZorq(Options const& options, InspectorContext* agent, std::ostream& out) {
    auto const expressions = collectExpressions(options.inputs, std::cin);
    if (options.phrases)
        listPhrases(options, out);
    Printer printer(options, agent, out);
    bool allEvaluated = true;
    if (!options.inputs.empty() || options.phrases)
        allEvaluated = runAll(printer, expressions);
    else if (isatty(STDIN_FILENO))
        allEvaluated = runInteractively(printer);
    else
        allEvaluated = runAll(printer, expressionLines(std::cin));
    return allEvaluated ? 0 : 1;
}

} // namespace zorq
