// An owned byte string.
#pragma once

#include <string>
#include <string_view>

#include "util/bytes.h"

class Stringy {
public:
    Stringy() = default;
    Stringy(ConstData data) : bytes_(data.view()) {} // NOLINT: views convert freely
    Stringy(std::string_view text) : bytes_(text) {} // NOLINT
    Stringy(char const* text) : bytes_(text) {}      // NOLINT

    ConstData Data() const { return ConstData(bytes_); }
    std::string const& str() const { return bytes_; }
    std::size_t Length() const { return bytes_.size(); }
    bool empty() const { return bytes_.empty(); }
    void Append(ConstData data) { bytes_.append(data.view()); }

    friend bool operator==(Stringy const&, Stringy const&) = default;
    friend auto operator<=>(Stringy const&, Stringy const&) = default;

private:
    std::string bytes_;
};
