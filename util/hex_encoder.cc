#include "util/hex_encoder.h"

#include <algorithm>

#include "util/ascii.h"

char HexEncoder::Digit1(unsigned char byte) {
    return Ascii::HexDigit(byte >> 4);
}

char HexEncoder::Digit0(unsigned char byte) {
    return Ascii::HexDigit(byte & 0xF);
}

void HexEncoder::operator()(ConstBuffer& in, Buffer& out) {
    if (pending_ != 0 && !out.full()) {
        out.Put(static_cast<unsigned char>(pending_));
        pending_ = 0;
    }
    std::size_t count = std::min(out.Room() / 2, in.Length());
    unsigned char const* from = in.Next();
    unsigned char* to = out.Next();
    for (std::size_t i = 0; i < count; ++i) {
        to[2 * i] = static_cast<unsigned char>(Digit1(from[i]));
        to[2 * i + 1] = static_cast<unsigned char>(Digit0(from[i]));
    }
    in.Skip(count);
    out.Advance(2 * count);
    if (!in.empty() && !out.full()) {
        unsigned char byte = in.Take();
        out.Put(static_cast<unsigned char>(Digit1(byte)));
        pending_ = Digit0(byte);
    }
}

std::string HexEncode(ConstData bytes) {
    std::string text(2 * bytes.Length(), '\0');
    ConstBuffer in(bytes);
    Buffer out(Data(text.data(), text.size()));
    HexEncoder()(in, out);
    return text;
}
