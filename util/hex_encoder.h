// Streaming hex encoding: two digits per byte, high nibble first.
#pragma once

#include <string>

#include "util/receiver.h"

class HexEncoder : public DataFilter {
public:
    static char Digit1(unsigned char byte);
    static char Digit0(unsigned char byte);

    // Writes as many digits as fit; a byte whose second digit does not fit
    // keeps that digit pending for the next call.
    void operator()(ConstBuffer& in, Buffer& out) override;

private:
    char pending_ = 0;
};

// The hex text of a whole byte range.
std::string HexEncode(ConstData bytes);
