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
// input. The environment entries ("NAME=value") are added to ours, or with
// inherit false are the child's whole environment.
Outcome run(std::string const& program, std::vector<std::string> const& arguments,
            std::string const& input = {}, std::vector<std::string> const& environment = {},
            bool inherit = true);

} // namespace zorq::testing
