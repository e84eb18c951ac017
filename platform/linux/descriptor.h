// An open file descriptor, closed once when its owner goes.
#pragma once

#include <unistd.h>

namespace platform {

class Descriptor {
public:
    explicit Descriptor(int fd) : fd_(fd) {}
    ~Descriptor() {
        if (fd_ >= 0) {
            ::close(fd_);
        }
    }
    Descriptor(Descriptor const&) = delete;
    Descriptor& operator=(Descriptor const&) = delete;

    int get() const { return fd_; }

private:
    int fd_;
};

} // namespace platform
