// Cutting a byte stream, fed in chunks of any size, into header fields.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

#include "text/line_maker.h"

// A header line that is no field; LineNumber() counts from 1.
class HeaderFormatError : public ExceptionPL {
public:
    HeaderFormatError(std::string const& reason, std::size_t lineNumber);
    std::size_t LineNumber() const { return line_; }

private:
    std::size_t line_;
};

// Reads a block of "Name: value" lines, ended by an empty line or by the end
// of the stream (the last line needs no line end). A line that starts with a
// space or tab continues the previous field: it is joined to its value with
// one space. Names are tokens (letters, digits and !#$%&'*+-.^_`|~) and
// nothing may stand between name and colon; values lose their surrounding
// spaces and tabs and may hold no control characters but tab. Bytes after the
// empty line go to the body handler; without one they are an error.
class HeaderMaker : public DataReceiver {
public:
    using FieldHandler = std::function<void(std::string_view name, std::string_view value)>;
    using EndHandler = std::function<void()>;
    using BodyHandler = std::function<void(ConstData bytes)>;

    explicit HeaderMaker(FieldHandler onField, EndHandler onEnd = {}, BodyHandler onBody = {},
                         std::size_t limit = LineMaker::cDefaultLimit);

    // The line maker calls back into this object, so it stays where it was made.
    HeaderMaker(HeaderMaker const&) = delete;
    HeaderMaker& operator=(HeaderMaker const&) = delete;

    void Start() override;
    void Receive(ConstData data) override;
    void ReceiveEnd() override;

    // True once the header block is complete.
    bool Ended() const { return ended_; }

private:
    void Line(std::string_view line);
    void StartField(std::string_view line);
    void Continue(std::string_view line);
    void FlushField();
    void End();
    void Body(ConstData bytes);
    [[noreturn]] void Fail(std::string const& reason) const;

    FieldHandler onField_;
    EndHandler onEnd_;
    BodyHandler onBody_;
    std::size_t limit_;
    LineMaker lines_;
    std::string name_;
    std::string value_;
    bool hasField_ = false;
    bool ended_ = false;
};
