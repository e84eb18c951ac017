#include "text/header_maker.h"

namespace {

bool IsTokenChar(unsigned char c) {
    if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9'))
        return true;
    return std::string_view("!#$%&'*+-.^_`|~").find(static_cast<char>(c)) != std::string_view::npos;
}

bool IsBlank(char c) {
    return c == ' ' || c == '\t';
}

std::string_view Trimmed(std::string_view text) {
    while (!text.empty() && IsBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back()))
        text.remove_suffix(1);
    return text;
}

bool HasControl(std::string_view value) {
    for (char c : value) {
        auto byte = static_cast<unsigned char>(c);
        if ((byte < 0x20 && c != '\t') || byte == 0x7F)
            return true;
    }
    return false;
}

} // namespace

HeaderFormatError::HeaderFormatError(std::string const& reason, std::size_t lineNumber)
    : ExceptionPL(reason + " in header line " + std::to_string(lineNumber)), line_(lineNumber) {}

HeaderMaker::HeaderMaker(FieldHandler onField, EndHandler onEnd, BodyHandler onBody,
                         std::size_t limit)
    : onField_(std::move(onField)), onEnd_(std::move(onEnd)), onBody_(std::move(onBody)),
      limit_(limit), lines_([this](ConstData line) { Line(line.view()); }, limit) {}

void HeaderMaker::Start() {
    lines_.Start();
    name_.clear();
    value_.clear();
    hasField_ = false;
    ended_ = false;
}

void HeaderMaker::Receive(ConstData data) {
    if (!ended_) {
        std::size_t used = lines_.Feed(data);
        data = ConstData(data.begin() + used, data.end());
    }
    if (!data.empty())
        Body(data);
}

void HeaderMaker::ReceiveEnd() {
    if (ended_)
        return;
    lines_.ReceiveEnd();
    if (!ended_)
        End();
}

void HeaderMaker::Line(std::string_view line) {
    if (line.empty())
        End();
    else if (IsBlank(line.front()))
        Continue(line);
    else
        StartField(line);
}

void HeaderMaker::StartField(std::string_view line) {
    FlushField();
    std::size_t colon = line.find(':');
    if (colon == std::string_view::npos)
        Fail("no ':'");
    std::string_view name = line.substr(0, colon);
    if (name.empty())
        Fail("empty field name");
    for (char c : name) {
        if (!IsTokenChar(static_cast<unsigned char>(c)))
            Fail("malformed field name");
    }
    std::string_view value = Trimmed(line.substr(colon + 1));
    if (HasControl(value))
        Fail("control character in field value");
    name_ = name;
    value_ = value;
    hasField_ = true;
}

void HeaderMaker::Continue(std::string_view line) {
    if (!hasField_)
        Fail("continuation line without a field");
    std::string_view more = Trimmed(line);
    if (HasControl(more))
        Fail("control character in field value");
    if (more.empty())
        return;
    if (value_.size() + 1 + more.size() > limit_)
        throw MessageTooLong("header field", limit_);
    if (!value_.empty())
        value_.push_back(' ');
    value_.append(more);
}

void HeaderMaker::FlushField() {
    if (!hasField_)
        return;
    hasField_ = false;
    onField_(name_, value_);
}

void HeaderMaker::End() {
    FlushField();
    ended_ = true;
    lines_.Stop();
    if (onEnd_)
        onEnd_();
}

void HeaderMaker::Body(ConstData bytes) {
    if (!onBody_)
        throw HeaderFormatError("data after the end of the header block", lines_.LineCount() + 1);
    onBody_(bytes);
}

void HeaderMaker::Fail(std::string const& reason) const {
    throw HeaderFormatError(reason, lines_.LineCount());
}
