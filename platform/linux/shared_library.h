// A shared library opened at run time, closed once when its owner goes. For
// libraries that most runs never need: loading one costs a process start
// more than a millisecond, so it is opened on first use instead.
#pragma once

#include <stdexcept>
#include <string>

namespace platform {

// The library or one of its symbols could not be found; the text is the
// loader's own explanation.
class LibraryUnavailable : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class SharedLibrary {
public:
    // Whether the library's code and data stay mapped once it is closed.
    // A library that keeps process-wide state it never frees must stay, or
    // that state would be left unreachable (and reported as leaked).
    enum class Unload { Allowed, Never };

    // Opens the library by its file name (searched like a program's own
    // libraries); throws LibraryUnavailable.
    explicit SharedLibrary(std::string const& name, Unload unload = Unload::Allowed);
    ~SharedLibrary();
    SharedLibrary(SharedLibrary const&) = delete;
    SharedLibrary& operator=(SharedLibrary const&) = delete;

    // Points `slot` at the library's function `name`; throws LibraryUnavailable.
    template <typename Function> void Bind(Function*& slot, char const* name) const {
        slot = reinterpret_cast<Function*>(Symbol(name));
    }

private:
    void* Symbol(char const* name) const;

    void* handle_;
};

} // namespace platform
