// A message-carrying exception for support code.
#pragma once

#include <string>
#include <utility>

#include "evaluator/errors.h"

class ExceptionPL : public DebuggableException {
public:
    explicit ExceptionPL(std::string message) : message_(std::move(message)) {}
    std::string const& GetErrorMessage() const { return message_; }
    const char* what() const noexcept override { return message_.c_str(); }

private:
    std::string message_;
};
