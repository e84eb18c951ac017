// Cutting a byte stream, fed in chunks of any size, into lines.
#pragma once

#include <cstddef>
#include <functional>

#include "text/message_maker.h"

// Lines end at LF, CRLF or a lone CR, in any mix; the handler gets each line
// without its ending. A CR at the end of a chunk waits for the next byte to
// tell CR from CRLF. At the end of the stream an unterminated last line is
// delivered too.
class LineMaker : public DataReceiver {
public:
    using Handler = std::function<void(ConstData line)>;
    static constexpr std::size_t cDefaultLimit = 64 * 1024;

    explicit LineMaker(Handler handler, std::size_t limit = cDefaultLimit);

    void Start() override;
    void Receive(ConstData data) override;
    void ReceiveEnd() override;

    // Cuts lines until the handler calls Stop(); returns the bytes of `data`
    // used, up to and including the ending of the last line delivered.
    std::size_t Feed(ConstData data);
    void Stop() { stopped_ = true; }
    // The number of lines delivered since Start.
    std::size_t LineCount() const { return lines_; }

private:
    void Deliver(std::string_view line);
    void DeliverPending();

    Handler handler_;
    PendingBytes pending_;
    bool sawCR_ = false;
    bool stopped_ = false;
    std::size_t lines_ = 0;
};
