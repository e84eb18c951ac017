// Interactive input with line editing and a persistent history (libedit).
#pragma once

#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

struct editline;
struct history;

namespace zorq {

class LineEditor {
public:
    // Reads from in, echoes to out; loads the history file when it exists.
    // An empty historyFile keeps the history for this session only.
    LineEditor(char const* program, std::FILE* in, std::FILE* out,
               std::filesystem::path historyFile);

    // The next line without its end-of-line, or nothing at end of input.
    std::optional<std::string> readLine();
    // Adds a line to the history and saves the history file.
    void remember(std::string const& line);

    static constexpr char prompt[] = "Q: ";

private:
    struct HistoryCloser {
        void operator()(struct history* list) const;
    };
    struct EditorCloser {
        void operator()(editline* editor) const;
    };
    // The editor uses the history, so it is declared (and destroyed) after it.
    std::unique_ptr<struct history, HistoryCloser> history_;
    std::unique_ptr<editline, EditorCloser> editor_;
    std::filesystem::path historyFile_;
};

// ~/.zorq_history, or nothing when HOME is not set.
std::filesystem::path defaultHistoryFile();

} // namespace zorq
