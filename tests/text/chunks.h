// Feeding a text to a receiver in every way it could be split into chunks.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "util/receiver.h"

// Feeds `text` whole, byte by byte, and split at every single position.
template <typename Check>
void ForEachSplit(std::string_view text, DataReceiver& receiver, Check check) {
    auto feed = [&](std::vector<std::string_view> const& chunks) {
        receiver.Start();
        for (std::string_view chunk : chunks)
            receiver.Receive(ConstData(chunk));
        receiver.ReceiveEnd();
        check();
    };
    feed({text});
    std::vector<std::string_view> bytes;
    for (std::size_t i = 0; i < text.size(); ++i)
        bytes.push_back(text.substr(i, 1));
    feed(bytes);
    for (std::size_t at = 0; at <= text.size(); ++at)
        feed({text.substr(0, at), text.substr(at)});
}
