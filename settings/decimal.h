// Decimal text for numbers kept in settings.
#pragma once

#include <cstdint>
#include <string>

#include "evaluator/errors.h"
#include "util/bytes.h"

// The text is empty, has a byte other than digits (and, for signed numbers,
// one leading '-'), or names a number out of range.
class NotADecimalNumeral : public DebuggableException {
public:
    const char* what() const noexcept override { return "NotADecimalNumeral"; }
};

std::string DecimalNumeral(std::uint64_t value);
std::string DecimalNumeral(std::int64_t value);
std::uint32_t ReadDecimalUInt32(ConstData text);
std::int64_t ReadDecimalInt64(ConstData text);
