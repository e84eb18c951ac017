// Evaluates one bound expression ten million times and prints the peak
// resident set size after one million and after ten million: the two must be
// the same, or evaluation memory is leaking.
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>

#include "evaluator/evaluator.h"

namespace {

long peakKilobytes() {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line))
        if (line.rfind("VmHWM:", 0) == 0)
            return std::stol(line.substr(6));
    return -1;
}

} // namespace

int main(int argc, char** argv) {
    long total = argc > 1 ? std::stol(argv[1]) : 10000000;
    auto expression = zor::Expression::compile(
        "concatenation of (substrings separated by \",\" of \"a,b,c\" as uppercase) & "
        "((1 + 2) as string)");
    std::string last;
    for (long i = 1; i <= total; ++i) {
        expression.evaluate({}, [&](zor::Answer const& a) {
            if (i == total)
                last = a.text();
        });
        if (i == total / 10 || i == total)
            std::printf("after %ld evaluations: peak RSS %ld KiB\n", i, peakKilobytes());
    }
    std::printf("answer: %s\n", last.c_str());
    return last == "ABC3" ? 0 : 1;
}
