#include "tools/zorq/line_editor.h"

#include <cstdlib>
#include <histedit.h>
#include <stdexcept>

namespace zorq {
namespace {

constexpr int historySize = 1000;

char* promptText(EditLine*) {
    return const_cast<char*>(LineEditor::prompt);
}

} // namespace

void LineEditor::HistoryCloser::operator()(History* list) const {
    history_end(list);
}

void LineEditor::EditorCloser::operator()(EditLine* editor) const {
    el_end(editor);
}

LineEditor::LineEditor(char const* program, std::FILE* in, std::FILE* out,
                       std::filesystem::path historyFile)
    : history_(history_init()), editor_(el_init(program, in, out, stderr)),
      historyFile_(std::move(historyFile)) {
    if (!editor_ || !history_)
        throw std::runtime_error("cannot start line editing");
    HistEvent event;
    history(history_.get(), &event, H_SETSIZE, historySize);
    history(history_.get(), &event, H_SETUNIQUE, 1);
    if (!historyFile_.empty())
        history(history_.get(), &event, H_LOAD, historyFile_.c_str());
    el_set(editor_.get(), EL_EDITOR, "emacs");
    el_set(editor_.get(), EL_PROMPT, promptText);
    el_set(editor_.get(), EL_HIST, history, history_.get());
    el_source(editor_.get(), nullptr); // the user's ~/.editrc, if any
}

std::optional<std::string> LineEditor::readLine() {
    int count = 0;
    char const* line = el_gets(editor_.get(), &count);
    if (line == nullptr || count <= 0)
        return std::nullopt;
    std::string text(line, static_cast<std::size_t>(count));
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r'))
        text.pop_back();
    return text;
}

void LineEditor::remember(std::string const& line) {
    HistEvent event;
    history(history_.get(), &event, H_ENTER, line.c_str());
    if (!historyFile_.empty())
        history(history_.get(), &event, H_SAVE, historyFile_.c_str());
}

std::filesystem::path defaultHistoryFile() {
    char const* home = std::getenv("HOME");
    if (home == nullptr || *home == '\0')
        return {};
    return std::filesystem::path(home) / ".zorq_history";
}

} // namespace zorq
