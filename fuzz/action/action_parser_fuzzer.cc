// Walks arbitrary scripts through GetCommand and ProcessBlockControl as a host
// would; every fault must be an ActionSyntaxError and every step must advance.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "action/action_shell_parser.h"

namespace {

// Takes or skips branches by the condition text, so both paths are explored.
class FuzzParser : public ActionShellParser {
public:
    bool EvaluateCondition(Stringy const& condition) override {
        return condition.Length() % 2 == 0;
    }
};

void Require(bool condition) {
    if (!condition)
        std::abort();
}

void RunLikeHost(std::string const& script) {
    FuzzParser parser;
    ConstData text(script);
    std::uint16_t lines = 0;
    for (;;) {
        std::size_t const before = text.Length();
        if (!parser.GetCommand(text))
            break;
        Require(text.Length() < before);
        bool isDownload = false;
        bool const skip = parser.ProcessBlockControl(text, lines, isDownload);
        if (!skip && parser.GetCurrentCommand() == ActionShellParser::cCreateFileUntil)
            parser.SkipCreateFile(text, lines);
    }
}

template <class Call> void Survive(Call call) {
    try {
        call();
    } catch (ActionSyntaxError const&) {
        Require(GetActionSyntaxErrorString() != "Unknown ActionSyntaxError.");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string const script(reinterpret_cast<char const*>(data), size);
    Survive([&] { RunLikeHost(script); });
    Survive([&] { ActionShellParser::GetNumberOfActionLines(script); });
    Survive([&] {
        std::vector<std::string> lines;
        ActionShellParser::BuildCommandLineList(script, lines);
    });
    return 0;
}
