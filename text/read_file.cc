#include "text/read_file.h"

void ReadFile(std::string const& path, DataReceiver& receiver, std::size_t blockSize) {
    StreamRegularFile(path, receiver, blockSize);
}
