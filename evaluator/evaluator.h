// The host's side of the evaluator: compile an expression once, evaluate it
// many times, list what is registered.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "evaluator/values.h"

class InspectorContext;

namespace zor {

// A syntax, binding or evaluation failure. column() is the 1-based column of
// the offending text for syntax and binding errors, 0 otherwise.
class ExpressionError : public std::runtime_error {
public:
    enum class Kind { Syntax, Binding, Evaluation };
    ExpressionError(Kind kind, int column, std::string const& message)
        : std::runtime_error(message), kind_(kind), column_(column) {}
    Kind kind() const { return kind_; }
    int column() const { return column_; }

private:
    Kind kind_;
    int column_;
};

// Limits for one evaluation; zero means unlimited.
struct Budget {
    std::chrono::microseconds time{0};
    std::uint64_t steps = 0;
};

struct EvaluationOptions {
    InspectorContext* context = nullptr;
    Budget budget;
};

// One value of a result, valid only during the callback that receives it.
class Answer {
public:
    std::string const& typeName() const;
    std::string text() const;          // the value's text form
    integer asInteger() const;         // requires an integer
    bool asBoolean() const;            // requires a boolean
    std::string_view asString() const; // requires a string or a type derived from it
    void const* bytes() const { return bytes_; }

    Answer(void const* type, void const* bytes) : type_(type), bytes_(bytes) {}

private:
    void const* type_;
    void const* bytes_;
};

class Expression {
public:
    // Parses and binds against the registrations live now; throws ExpressionError.
    static Expression compile(std::string_view text);

    std::string const& text() const;
    std::string const& typeName() const;
    bool plural() const;
    // True when every phrase it uses declares what its value depends on.
    bool cacheable() const;
    // Hash of what the expression's values depend on (for cacheable ones).
    std::uint64_t fingerprint(EvaluationOptions const& options = {}) const;

    // Calls onAnswer for each value in order; throws ExpressionError on failure
    // (answers already delivered stay delivered). A singular expression yields
    // exactly one value or fails.
    void evaluate(EvaluationOptions const& options,
                  std::function<void(Answer const&)> const& onAnswer) const;
    // The text of every answer.
    std::vector<std::string> answers(EvaluationOptions const& options = {}) const;

    struct Impl;
    explicit Expression(std::shared_ptr<Impl> impl) : impl_(std::move(impl)) {}

private:
    std::shared_ptr<Impl> impl_;
};

// One entry of the registration tables, for listings.
struct PhraseInfo {
    std::string kind;   // "type", "property", "iterated property", "cast", "operator", "aggregate"
    std::string phrase; // for a type, its name; for an operator, its symbol
    std::string plural;
    std::string indexType;
    std::string objectType; // empty for a property of the world
    std::string resultType;
};
std::vector<PhraseInfo> listRegistrations();

} // namespace zor
