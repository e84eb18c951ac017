#include "text/line_maker.h"

#include <string>

LineMaker::LineMaker(Handler handler, std::size_t limit)
    : handler_(std::move(handler)), pending_("line", limit) {}

void LineMaker::Start() {
    pending_.Clear();
    sawCR_ = false;
    lines_ = 0;
}

void LineMaker::Deliver(std::string_view line) {
    if (pending_.empty()) {
        pending_.Check(line.size());
        ++lines_;
        handler_(ConstData(line));
        return;
    }
    pending_.Append(line);
    DeliverPending();
}

void LineMaker::DeliverPending() {
    std::string line = pending_.Bytes();
    pending_.Clear();
    ++lines_;
    handler_(ConstData(line));
}

std::size_t LineMaker::Feed(ConstData data) {
    std::string_view in = data.view();
    std::size_t used = 0;
    stopped_ = false;
    while (used < in.size() && !stopped_) {
        if (sawCR_) {
            sawCR_ = false;
            if (in[used] == '\n')
                ++used;
            DeliverPending();
            continue;
        }
        std::size_t end = in.find_first_of("\r\n", used);
        if (end == std::string_view::npos) {
            pending_.Append(in.substr(used));
            return in.size();
        }
        if (in[end] == '\r' && end + 1 == in.size()) {
            pending_.Append(in.substr(used, end - used));
            sawCR_ = true;
            return in.size();
        }
        std::size_t next = end + 1 + (in[end] == '\r' && in[end + 1] == '\n' ? 1 : 0);
        Deliver(in.substr(used, end - used));
        used = next;
    }
    return used;
}

void LineMaker::Receive(ConstData data) {
    for (std::size_t used = 0; used < data.Length();)
        used += Feed(ConstData(data.begin() + used, data.end()));
}

void LineMaker::ReceiveEnd() {
    if (sawCR_ || !pending_.empty()) {
        sawCR_ = false;
        DeliverPending();
    }
}
