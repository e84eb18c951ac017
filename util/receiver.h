// The streaming interfaces: receivers take bytes block by block, filters
// transform bytes from an input cursor into an output cursor.
#pragma once

#include <cstddef>
#include <vector>

#include "util/buffer.h"

// Takes a stream of bytes: Start, any number of Receive, then ReceiveEnd.
class DataReceiver {
public:
    virtual ~DataReceiver() = default;
    virtual void Start() {}
    virtual void Receive(ConstData data) = 0;
    virtual void ReceiveEnd() {}
};

// Moves as many bytes as it can from `in` to `out`; called again as more input
// or more output room arrives. A filter may hold state between calls.
class DataFilter {
public:
    virtual ~DataFilter() = default;
    virtual void operator()(ConstBuffer& in, Buffer& out) = 0;
};

// Runs every block it receives through a filter and hands the filtered bytes
// on to the next receiver in blocks of at most `blockSize` bytes.
class FilterReceiver : public DataReceiver {
public:
    FilterReceiver(DataFilter& filter, DataReceiver& next, std::size_t blockSize = 16384)
        : filter_(filter), next_(next), block_(blockSize == 0 ? 1 : blockSize) {}

    void Start() override { next_.Start(); }
    void Receive(ConstData data) override {
        ConstBuffer in(data);
        for (;;) {
            Buffer out(Data(block_.data(), block_.size()));
            filter_(in, out);
            if (!out.Written().empty())
                next_.Receive(out.Written());
            // Output that did not fill the block means the filter holds nothing back.
            if (in.empty() && !out.full())
                return;
        }
    }
    void ReceiveEnd() override { next_.ReceiveEnd(); }

private:
    DataFilter& filter_;
    DataReceiver& next_;
    std::vector<unsigned char> block_;
};
