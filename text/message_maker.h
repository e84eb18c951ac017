// Cutting a byte stream, fed in chunks of any size, into delimited messages.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "util/exception.h"
#include "util/receiver.h"

// A message (or line, or header field) grew past the maker's limit; the
// stream is abandoned rather than buffered without bound.
class MessageTooLong : public ExceptionPL {
public:
    MessageTooLong(char const* what, std::size_t limit);
    std::size_t Limit() const { return limit_; }

private:
    std::size_t limit_;
};

// Collects the bytes of an unfinished message between chunks, under a limit.
class PendingBytes {
public:
    PendingBytes(char const* what, std::size_t limit) : what_(what), limit_(limit) {}

    bool empty() const { return bytes_.empty(); }
    std::string const& Bytes() const { return bytes_; }
    void Clear() { bytes_.clear(); }
    // Appends, raising MessageTooLong when the total would pass the limit.
    void Append(std::string_view more);
    // Raises MessageTooLong when a complete message passes the limit.
    void Check(std::size_t length) const;

private:
    char const* what_;
    std::size_t limit_;
    std::string bytes_;
};

// Hands each message to the handler without its delimiter. Messages wholly
// inside one chunk are passed without copying. At the end of the stream the
// bytes after the last delimiter, if any, are the final message.
class MessageMaker : public DataReceiver {
public:
    using Handler = std::function<void(ConstData message)>;
    static constexpr std::size_t cDefaultLimit = 1 << 20;

    // The delimiter must not be empty.
    MessageMaker(std::string delimiter, Handler handler, std::size_t limit = cDefaultLimit);

    void Start() override;
    void Receive(ConstData data) override;
    void ReceiveEnd() override;

private:
    // Finishes a message whose start is pending, if the delimiter straddles
    // the chunk boundary; returns the bytes of `in` it used.
    std::size_t FinishStraddling(std::string_view in);
    void Deliver(std::string_view message);

    std::string delimiter_;
    Handler handler_;
    PendingBytes pending_;
};
