// Reading a regular file block by block into a receiver, in constant memory.
#pragma once

#include <cstddef>
#include <string>

#include "util/exception.h"
#include "util/receiver.h"

// A file could not be opened; Errno() tells why (ENOENT, EACCES, ...).
class OpenFileFailed : public ExceptionPL {
public:
    OpenFileFailed(std::string const& path, int error);
    int Errno() const { return errno_; }

private:
    int errno_;
};

// The path names a FIFO, device, socket or folder: reading it could block or
// never end, so it is refused.
class NotARegularFile : public ExceptionPL {
public:
    explicit NotARegularFile(std::string const& path);
};

class ReadFileFailed : public ExceptionPL {
public:
    ReadFileFailed(std::string const& path, int error);
    int Errno() const { return errno_; }

private:
    int errno_;
};

// The file grew or shrank while it was read, so what was read is no snapshot.
class FileChangedWhileRead : public ExceptionPL {
public:
    explicit FileChangedWhileRead(std::string const& path);
};

// An open file descriptor, closed once on destruction.
class AutoFD {
public:
    AutoFD() = default;
    explicit AutoFD(int fd) : fd_(fd) {}
    AutoFD(AutoFD&& other) noexcept : fd_(other.Release()) {}
    AutoFD& operator=(AutoFD&& other) noexcept;
    AutoFD(AutoFD const&) = delete;
    AutoFD& operator=(AutoFD const&) = delete;
    ~AutoFD();

    int Get() const { return fd_; }
    int Release();

private:
    int fd_ = -1;
};

inline constexpr std::size_t cFileBlockSize = 128 * 1024;

// Opens a regular file for reading without ever blocking on a FIFO or device.
AutoFD OpenRegularFile(std::string const& path);

// Streams the open regular file `fd` from its current offset to its end:
// Start, Receive per block, ReceiveEnd. `name` is used in error messages.
void StreamRegularFile(int fd, std::string const& name, DataReceiver& receiver,
                       std::size_t blockSize = cFileBlockSize);

// Opens `path` and streams it as above.
void StreamRegularFile(std::string const& path, DataReceiver& receiver,
                       std::size_t blockSize = cFileBlockSize);
