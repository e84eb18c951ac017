// Exception classes shared by the evaluator and every inspector library.
#pragma once

#include <exception>

// Base of every exception that crosses the evaluator/inspector boundary.
// Carries no data: the evaluator tells the classes apart by type and names
// them in its error messages.
class DebuggableException : public std::exception {
public:
    const char* what() const noexcept override { return "DebuggableException"; }
};

// The object asked for does not exist; from an iterator, the sequence ended.
class NoSuchObject : public DebuggableException {
public:
    const char* what() const noexcept override { return "NoSuchObject"; }
};

// No inspector context is installed, or it lacks the kind an inspector needs.
class NoInspectorContext : public DebuggableException {
public:
    const char* what() const noexcept override { return "no agent context is available"; }
};

// The value cannot be computed during this evaluation.
class CannotEvaluateNow : public DebuggableException {
public:
    const char* what() const noexcept override { return "CannotEvaluateNow"; }
};

// Thrown by Check_For_Inspector_Interruption when the host's budget is spent.
class EvaluationInterrupted : public DebuggableException {
public:
    const char* what() const noexcept override {
        return "the evaluation ran past its time or step budget";
    }
};

// Integer or time-interval division (or mod) by zero.
class DivisionByZero : public DebuggableException {
public:
    const char* what() const noexcept override { return "division by zero"; }
};
