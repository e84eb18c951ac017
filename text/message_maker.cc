#include "text/message_maker.h"

#include <algorithm>
#include <stdexcept>

MessageTooLong::MessageTooLong(char const* what, std::size_t limit)
    : ExceptionPL(std::string(what) + " longer than " + std::to_string(limit) + " bytes"),
      limit_(limit) {}

void PendingBytes::Append(std::string_view more) {
    Check(bytes_.size() + more.size());
    bytes_.append(more);
}

void PendingBytes::Check(std::size_t length) const {
    if (length > limit_)
        throw MessageTooLong(what_, limit_);
}

MessageMaker::MessageMaker(std::string delimiter, Handler handler, std::size_t limit)
    : delimiter_(std::move(delimiter)), handler_(std::move(handler)), pending_("message", limit) {
    if (delimiter_.empty())
        throw std::invalid_argument("MessageMaker needs a delimiter");
}

void MessageMaker::Start() {
    pending_.Clear();
}

void MessageMaker::Deliver(std::string_view message) {
    pending_.Check(message.size());
    handler_(ConstData(message));
}

std::size_t MessageMaker::FinishStraddling(std::string_view in) {
    std::string const& held = pending_.Bytes();
    std::size_t keep = std::min(held.size(), delimiter_.size() - 1);
    std::size_t take = std::min(in.size(), delimiter_.size() - 1);
    std::string window = held.substr(held.size() - keep);
    window.append(in.substr(0, take));
    std::size_t at = window.find(delimiter_);
    if (at == std::string::npos || at >= keep)
        return 0;
    std::string message = held.substr(0, held.size() - keep + at);
    pending_.Clear();
    Deliver(message);
    return at + delimiter_.size() - keep;
}

void MessageMaker::Receive(ConstData data) {
    std::string_view in = data.view();
    while (!in.empty()) {
        if (!pending_.empty()) {
            std::size_t used = FinishStraddling(in);
            if (used > 0) {
                in.remove_prefix(used);
                continue;
            }
        }
        std::size_t at = in.find(delimiter_);
        if (at == std::string_view::npos) {
            pending_.Append(in);
            return;
        }
        if (pending_.empty()) {
            Deliver(in.substr(0, at));
        } else {
            pending_.Append(in.substr(0, at));
            std::string message = pending_.Bytes();
            pending_.Clear();
            Deliver(message);
        }
        in.remove_prefix(at + delimiter_.size());
    }
}

void MessageMaker::ReceiveEnd() {
    if (pending_.empty())
        return;
    std::string message = pending_.Bytes();
    pending_.Clear();
    Deliver(message);
}
