// An open file descriptor, closed once when its owner goes.
#pragma once

#include <unistd.h>

#include <utility>

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
    Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        Descriptor old(std::exchange(fd_, std::exchange(other.fd_, -1)));
        return *this;
    }

    int get() const { return fd_; }
    bool valid() const { return fd_ >= 0; }
    // Hands the descriptor to a new owner.
    int release() { return std::exchange(fd_, -1); }

private:
    int fd_;
};

} // namespace platform
