// Reading a file into a receiver (a LineMaker, a HeaderMaker, a digest, ...).
#pragma once

#include <cstddef>
#include <string>

#include "util/file_stream.h"

// Streams the regular file at `path` into `receiver` in blocks of
// `blockSize` bytes: Start, Receive per block, ReceiveEnd. Memory stays
// constant whatever the file's size. FIFOs, devices and folders are refused
// (NotARegularFile) without blocking; a file that changes size while it is
// read raises FileChangedWhileRead; OpenFileFailed and ReadFileFailed carry
// the system's reason.
void ReadFile(std::string const& path, DataReceiver& receiver,
              std::size_t blockSize = cFileBlockSize);
