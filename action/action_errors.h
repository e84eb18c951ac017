// Faults in action scripts, each carrying the line it was found on.
#pragma once

#include <cstdint>
#include <string>

#include "evaluator/errors.h"

class ActionSyntaxError : public DebuggableException {
public:
    explicit ActionSyntaxError(std::uint16_t line) : line_(line) {}
    std::uint16_t GetLineNumber() const { return line_; }
    const char* what() const noexcept override { return "ActionSyntaxError"; }

private:
    std::uint16_t line_;
};

class ElseifWithoutIf : public ActionSyntaxError {
public:
    using ActionSyntaxError::ActionSyntaxError;
    const char* what() const noexcept override { return "ElseifWithoutIf"; }
};

class ElseWithoutIf : public ActionSyntaxError {
public:
    using ActionSyntaxError::ActionSyntaxError;
    const char* what() const noexcept override { return "ElseWithoutIf"; }
};

class EndifWithoutIf : public ActionSyntaxError {
public:
    using ActionSyntaxError::ActionSyntaxError;
    const char* what() const noexcept override { return "EndifWithoutIf"; }
};

class ElseifAfterElse : public ActionSyntaxError {
public:
    using ActionSyntaxError::ActionSyntaxError;
    const char* what() const noexcept override { return "ElseifAfterElse"; }
};

class ElseAfterElse : public ActionSyntaxError {
public:
    using ActionSyntaxError::ActionSyntaxError;
    const char* what() const noexcept override { return "ElseAfterElse"; }
};

// Thrown by the host when the script ends inside an if block.
class MissingEndif : public ActionSyntaxError {
public:
    using ActionSyntaxError::ActionSyntaxError;
    const char* what() const noexcept override { return "MissingEndif"; }
};

class MissingCreateFileDelimiter : public ActionSyntaxError {
public:
    using ActionSyntaxError::ActionSyntaxError;
    const char* what() const noexcept override { return "MissingCreateFileDelimiter"; }
};

class MissingCreateFileEndDelimiter : public ActionSyntaxError {
public:
    using ActionSyntaxError::ActionSyntaxError;
    const char* what() const noexcept override { return "MissingCreateFileEndDelimiter"; }
};

// Thrown by the host when a relevance substitution in a line fails.
class SubstitutionError : public ActionSyntaxError {
public:
    using ActionSyntaxError::ActionSyntaxError;
    const char* what() const noexcept override { return "SubstitutionError"; }
};

class UnknownCommand : public ActionSyntaxError {
public:
    using ActionSyntaxError::ActionSyntaxError;
    const char* what() const noexcept override { return "UnknownCommand"; }
};

class PrefetchCommandSyntaxError : public ActionSyntaxError {
public:
    using ActionSyntaxError::ActionSyntaxError;
    const char* what() const noexcept override { return "PrefetchCommandSyntaxError"; }
};

class DownloadNameError : public ActionSyntaxError {
public:
    using ActionSyntaxError::ActionSyntaxError;
    const char* what() const noexcept override { return "DownloadNameError"; }
};

// The message for the exception being handled; call it inside a handler.
std::string GetActionSyntaxErrorString();
