// Any bytes either read as a host-selector record or are refused as
// truncated; a record read is written back and reads again to the same bytes.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "fuzz/require.h"
#include "inspectors/selected_server/host_selector.h"

namespace {

std::vector<unsigned char> Written(HostSelectorEntry const& entry) {
    std::vector<unsigned char> bytes(FlattenedLength(entry));
    Buffer out(Data(bytes.data(), bytes.size()));
    out << entry;
    bytes.resize(out.Written().Length());
    return bytes;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    ConstBuffer in(ConstData(data, size));
    HostSelectorEntry entry;
    try {
        in >> entry;
    } catch (RecordTruncated const&) {
        return 0;
    }
    auto const first = Written(entry);
    ConstBuffer again(ConstData(first.data(), first.size()));
    HostSelectorEntry reread;
    again >> reread;
    Require(again.empty() && Written(reread) == first);
    return 0;
}
