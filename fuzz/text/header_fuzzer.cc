// Feeds arbitrary bytes to the header framing, whole and cut into chunks at
// positions taken from the input, and requires the same fields, body and
// outcome either way.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/require.h"
#include "text/header_maker.h"

namespace {

struct Outcome {
    std::vector<std::string> fields;
    std::string body;
    std::string error;
    bool operator==(Outcome const&) const = default;
};

Outcome Frame(std::string_view text, std::vector<std::size_t> const& cuts) {
    Outcome outcome;
    HeaderMaker maker(
        [&](std::string_view name, std::string_view value) {
            outcome.fields.push_back(std::string(name) + ":" + std::string(value));
        },
        [&] { outcome.fields.push_back("<end>"); },
        [&](ConstData bytes) { outcome.body.append(bytes.view()); }, 256);
    try {
        maker.Start();
        std::size_t at = 0;
        for (std::size_t cut : cuts) {
            maker.Receive(ConstData(text.substr(at, cut - at)));
            at = cut;
        }
        maker.Receive(ConstData(text.substr(at)));
        maker.ReceiveEnd();
    } catch (HeaderFormatError const& e) {
        outcome.error = e.what();
    } catch (MessageTooLong const& e) {
        outcome.error = e.what();
    }
    return outcome;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    if (size < 2)
        return 0;
    // The first two bytes choose where to cut the rest.
    std::string_view text(reinterpret_cast<char const*>(data) + 2, size - 2);
    std::vector<std::size_t> cuts;
    std::size_t step = 1 + (data[0] % 7);
    for (std::size_t at = data[1] % (text.size() + 1); at < text.size(); at += step)
        cuts.push_back(at);
    Require(Frame(text, {}) == Frame(text, cuts));
    return 0;
}
