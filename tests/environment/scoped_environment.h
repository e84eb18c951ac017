// Replaces the process environment for the lifetime of a test scope.
#pragma once

#include <string>
#include <unistd.h>
#include <vector>

class ScopedEnvironment {
public:
    explicit ScopedEnvironment(std::vector<std::string> entries)
        : entries_(std::move(entries)), saved_(environ) {
        for (std::string& entry : entries_) {
            pointers_.push_back(entry.data());
        }
        pointers_.push_back(nullptr);
        environ = pointers_.data();
    }
    ~ScopedEnvironment() { environ = saved_; }
    ScopedEnvironment(ScopedEnvironment const&) = delete;
    ScopedEnvironment& operator=(ScopedEnvironment const&) = delete;

    // The bytes of entry i, as the process sees them.
    char const* Entry(std::size_t i) const { return pointers_[i]; }

private:
    std::vector<std::string> entries_;
    std::vector<char*> pointers_;
    char** saved_;
};
