// Strings that must outlive the call that built them.
#include <cstdint>
#include <cstring>
#include <stdexcept>

#include "evaluator/core/registrar.h"

namespace zor::core {

unsigned char* AllocateString(std::size_t length) {
    // A string's length is 32 bits wide.
    if (length > UINT32_MAX)
        throw std::length_error("string longer than 4 GiB");
    static unsigned char empty[1];
    if (length == 0)
        return empty;
    return static_cast<unsigned char*>(Allocate_Inspector_Memory(length));
}

inspector_string CopyToEvaluation(std::string_view bytes) {
    unsigned char* copy = AllocateString(bytes.size());
    if (!bytes.empty())
        std::memcpy(copy, bytes.data(), bytes.size());
    return {copy, static_cast<std::uint32_t>(bytes.size())};
}

} // namespace zor::core
