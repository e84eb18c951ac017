// A forward cursor over text for the strict readers of the core value forms.
// Every failed expectation throws MalformedText.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "evaluator/helpers.h"
#include "util/bytes.h"

namespace zor::core {

class TextReader {
public:
    explicit TextReader(ConstData text) : at_(text.begin()), end_(text.end()) {}

    bool AtEnd() const { return at_ == end_; }
    bool Peek(char c) const { return at_ != end_ && *at_ == static_cast<unsigned char>(c); }
    // Whether c comes `offset` bytes ahead.
    bool PeekAt(std::size_t offset, char c) const {
        return static_cast<std::size_t>(end_ - at_) > offset &&
               at_[offset] == static_cast<unsigned char>(c);
    }
    bool PeekDigit() const { return at_ != end_ && Ascii::IsDigit(*at_); }
    bool PeekLetter() const { return at_ != end_ && Ascii::IsAlpha(*at_); }

    // Consumes c when it comes next.
    bool Skip(char c) {
        if (!Peek(c))
            return false;
        ++at_;
        return true;
    }
    void Expect(char c) {
        if (!Skip(c))
            Fail();
    }
    void ExpectEnd() const {
        if (!AtEnd())
            Fail();
    }
    // One or more blanks.
    void Blanks() {
        Expect(' ');
        while (Skip(' ')) {
        }
    }

    // The number of decimal digits that come next.
    std::size_t DigitsAhead() const {
        std::size_t count = 0;
        while (at_ + count != end_ && Ascii::IsDigit(at_[count]))
            ++count;
        return count;
    }
    // The next digits, at most max of them (max at most 18, so the value
    // always fits); fails when fewer than min come next.
    std::uint64_t Digits(std::size_t min, std::size_t max) {
        std::size_t count = std::min(DigitsAhead(), max);
        if (count < min)
            Fail();
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < count; ++i)
            value = value * 10 + (*at_++ - '0');
        return value;
    }
    // One or more digits whose value fits in 64 bits.
    std::uint64_t Number() {
        std::size_t count = DigitsAhead();
        if (count == 0)
            Fail();
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < count; ++i) {
            if (__builtin_mul_overflow(value, 10u, &value) ||
                __builtin_add_overflow(value, static_cast<unsigned>(*at_++ - '0'), &value))
                Fail();
        }
        return value;
    }
    // A run of ASCII letters, possibly empty.
    std::string_view Letters() {
        auto begin = at_;
        while (at_ != end_ && Ascii::IsAlpha(*at_))
            ++at_;
        return {reinterpret_cast<char const*>(begin), static_cast<std::size_t>(at_ - begin)};
    }

    [[noreturn]] static void Fail() { throw MalformedText(); }

private:
    unsigned char const* at_;
    unsigned char const* end_;
};

} // namespace zor::core
