#include "util/file_stream.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace {

std::string Describe(std::string const& what, std::string const& path, int error) {
    return what + " \"" + path + "\": " + std::strerror(error);
}

struct stat StatOf(int fd, std::string const& name) {
    struct stat info {};
    if (fstat(fd, &info) != 0)
        throw ReadFileFailed(name, errno);
    if (!S_ISREG(info.st_mode))
        throw NotARegularFile(name);
    return info;
}

// Reads up to `length` bytes, retrying after signals; returns 0 at the end.
std::size_t ReadSome(int fd, unsigned char* into, std::size_t length, std::string const& name) {
    for (;;) {
        ssize_t got = read(fd, into, length);
        if (got >= 0)
            return static_cast<std::size_t>(got);
        if (errno != EINTR)
            throw ReadFileFailed(name, errno);
    }
}

} // namespace

OpenFileFailed::OpenFileFailed(std::string const& path, int error)
    : ExceptionPL(Describe("cannot open", path, error)), errno_(error) {}

NotARegularFile::NotARegularFile(std::string const& path)
    : ExceptionPL("not a regular file: \"" + path + "\"") {}

ReadFileFailed::ReadFileFailed(std::string const& path, int error)
    : ExceptionPL(Describe("cannot read", path, error)), errno_(error) {}

FileChangedWhileRead::FileChangedWhileRead(std::string const& path)
    : ExceptionPL("file changed while it was read: \"" + path + "\"") {}

AutoFD& AutoFD::operator=(AutoFD&& other) noexcept {
    if (this != &other) {
        if (fd_ >= 0)
            close(fd_);
        fd_ = other.Release();
    }
    return *this;
}

AutoFD::~AutoFD() {
    if (fd_ >= 0)
        close(fd_);
}

int AutoFD::Release() {
    return std::exchange(fd_, -1);
}

AutoFD OpenRegularFile(std::string const& path) {
    // Opening some devices has side effects (a tape rewinds, a modem hangs
    // up), so special files are refused before they are opened at all.
    struct stat before {};
    if (stat(path.c_str(), &before) != 0)
        throw OpenFileFailed(path, errno);
    if (!S_ISREG(before.st_mode))
        throw NotARegularFile(path);
    // The path may be replaced between stat and open: O_NONBLOCK keeps open() itself from waiting
    // for a FIFO's writer; the descriptor is checked before anything is read from it.
    AutoFD fd(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (fd.Get() < 0)
        throw OpenFileFailed(path, errno);
    StatOf(fd.Get(), path);
    int flags = fcntl(fd.Get(), F_GETFL);
    if (flags < 0 || fcntl(fd.Get(), F_SETFL, flags & ~O_NONBLOCK) < 0)
        throw OpenFileFailed(path, errno);
    return fd;
}

void StreamRegularFile(int fd, std::string const& name, DataReceiver& receiver,
                       std::size_t blockSize) {
    struct stat info = StatOf(fd, name);
    off_t offset = lseek(fd, 0, SEEK_CUR);
    if (offset < 0)
        throw ReadFileFailed(name, errno);
    // Read exactly the size the file had when we started; a short read means
    // it shrank, a byte beyond it means it grew. Either way the bytes are no
    // consistent snapshot, and stopping at the size also bounds the work.
    std::size_t left = info.st_size > offset ? static_cast<std::size_t>(info.st_size - offset) : 0;
    if (blockSize == 0)
        blockSize = cFileBlockSize;
    auto block = std::make_unique_for_overwrite<unsigned char[]>(blockSize);
    posix_fadvise(fd, offset, 0, POSIX_FADV_SEQUENTIAL);
    receiver.Start();
    while (left > 0) {
        std::size_t got = ReadSome(fd, block.get(), std::min(left, blockSize), name);
        if (got == 0)
            throw FileChangedWhileRead(name);
        receiver.Receive(ConstData(block.get(), got));
        left -= got;
    }
    unsigned char probe;
    if (ReadSome(fd, &probe, 1, name) != 0)
        throw FileChangedWhileRead(name);
    receiver.ReceiveEnd();
}

void StreamRegularFile(std::string const& path, DataReceiver& receiver, std::size_t blockSize) {
    AutoFD fd = OpenRegularFile(path);
    StreamRegularFile(fd.Get(), path, receiver, blockSize);
}
