// Runs a program as a child process and collects what it printed.
#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace zorq::testing {

struct Outcome {
    int status = -1; // the exit status, or 128 + the signal that ended it
    std::string out;
    std::string err;
};

// Runs program with arguments (no shell), feeding input on its standard
// input; extraEnvironment entries ("NAME=value") are added to ours.
Outcome run(std::string const& program, std::vector<std::string> const& arguments,
            std::string const& input = {}, std::vector<std::string> const& extraEnvironment = {});

// zorq with the given arguments.
Outcome zorq(std::vector<std::string> const& arguments, std::string const& input = {});

} // namespace zorq::testing
