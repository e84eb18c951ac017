// Mutable byte views and the input/output cursors that filters move bytes between.
#pragma once

#include <cstddef>

#include "util/bytes.h"

// A writable view of bytes [begin, end); never owns them.
class Data {
public:
    constexpr Data() = default;
    Data(void* begin, std::size_t length)
        : begin_(static_cast<unsigned char*>(begin)), end_(begin_ + length) {}

    unsigned char* begin() const { return begin_; }
    unsigned char* end() const { return end_; }
    std::size_t Length() const { return static_cast<std::size_t>(end_ - begin_); }
    operator ConstData() const { return ConstData(begin_, end_); } // NOLINT: widening is safe

private:
    unsigned char* begin_ = nullptr;
    unsigned char* end_ = nullptr;
};

// An input cursor: the bytes not yet consumed.
class ConstBuffer {
public:
    explicit ConstBuffer(ConstData data) : next_(data.begin()), end_(data.end()) {}

    std::size_t Length() const { return static_cast<std::size_t>(end_ - next_); }
    bool empty() const { return next_ == end_; }
    unsigned char const* Next() const { return next_; }
    ConstData Rest() const { return ConstData(next_, end_); }
    unsigned char Take() { return *next_++; }
    void Skip(std::size_t count) { next_ += count; }

private:
    unsigned char const* next_;
    unsigned char const* end_;
};

// An output cursor: the room not yet written.
class Buffer {
public:
    explicit Buffer(Data room) : start_(room.begin()), next_(room.begin()), end_(room.end()) {}

    std::size_t Room() const { return static_cast<std::size_t>(end_ - next_); }
    bool full() const { return next_ == end_; }
    unsigned char* Next() const { return next_; }
    void Put(unsigned char byte) { *next_++ = byte; }
    void Advance(std::size_t count) { next_ += count; }
    // The bytes written since construction.
    ConstData Written() const { return ConstData(start_, next_); }

private:
    unsigned char* start_;
    unsigned char* next_;
    unsigned char* end_;
};
