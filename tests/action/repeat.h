// Long and deeply nested scripts for the parser tests.
#pragma once

#include <cstddef>
#include <string>

inline std::string Repeat(std::string const& piece, std::size_t times) {
    std::string text;
    for (std::size_t i = 0; i < times; ++i)
        text += piece;
    return text;
}
