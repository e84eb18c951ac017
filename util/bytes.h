// Non-owning views of bytes shared by every subsystem.
#pragma once

#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

// A view of bytes [begin, end); never owns them.
class ConstData {
public:
    constexpr ConstData() = default;
    constexpr ConstData(unsigned char const* begin, unsigned char const* end)
        : begin_(begin), end_(end) {}
    ConstData(void const* begin, std::size_t length)
        : begin_(static_cast<unsigned char const*>(begin)), end_(begin_ + length) {}
    ConstData(std::string_view text) // NOLINT: views of text are the common case
        : ConstData(text.data(), text.size()) {}
    ConstData(char const* text) : ConstData(std::string_view(text)) {} // NOLINT

    unsigned char const* begin() const { return begin_; }
    unsigned char const* end() const { return end_; }
    std::size_t Length() const { return static_cast<std::size_t>(end_ - begin_); }
    bool empty() const { return begin_ == end_; }
    std::string_view view() const {
        return {reinterpret_cast<char const*>(begin_), Length()};
    }
    std::string str() const { return std::string(view()); }

    friend bool operator==(ConstData const& a, ConstData const& b) {
        return a.Length() == b.Length() &&
               (a.Length() == 0 || std::memcmp(a.begin_, b.begin_, a.Length()) == 0);
    }

private:
    unsigned char const* begin_ = nullptr;
    unsigned char const* end_ = nullptr;
};

// A view of a NUL-terminated text.
class ConstCString {
public:
    explicit ConstCString(char const* text) : text_(text) {}
    char const* c_str() const { return text_; }
    ConstData Data() const { return ConstData(std::string_view(text_)); }

private:
    char const* text_;
};
