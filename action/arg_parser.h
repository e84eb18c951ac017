// Splits a command's argument text into arguments, in place.
#pragma once

// Arguments are separated by white space; double quotes group text that
// contains white space. The caller's buffer must be writable, NUL-terminated
// and outlive the returned pointers: NULs are written after arguments and
// removed quotes are squeezed out.
class ArgParser {
public:
    // Blank, tab, backspace, line feed and carriage return. Backspace counts
    // as white space because scripts written by old tools contain it.
    static constexpr bool IsWhiteSpace(char c) {
        return c == ' ' || c == '\t' || c == '\b' || c == '\n' || c == '\r';
    }

    // Starts a new split of buffer; null when it holds no argument.
    char* GetFirstArg(char* buffer, bool keepQuotes);
    // The next argument of the current split; null at the end.
    char* GetNextArg(bool keepQuotes);

private:
    char* TakeArgument(char* start, bool keepQuotes);

    char* next_ = nullptr;
};
