#include "tests/support/subprocess.h"

#include <cerrno>
#include <csignal>
#include <spawn.h>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char** environ;

namespace zorq::testing {
namespace {

// An anonymous file in memory for one of the child's standard streams, so
// neither side ever waits on the other; closed with its owner.
class MemoryFile {
public:
    explicit MemoryFile(std::string const& contents = {})
        : fd_(memfd_create("subprocess", MFD_CLOEXEC)) {
        if (fd_ < 0 || pwrite(fd_, contents.data(), contents.size(), 0) !=
                           static_cast<ssize_t>(contents.size()))
            throw std::runtime_error("cannot make a file for a child's stream");
    }
    MemoryFile(MemoryFile const&) = delete;
    MemoryFile& operator=(MemoryFile const&) = delete;
    ~MemoryFile() { close(fd_); }
    int fd() const { return fd_; }

    std::string contents() const {
        std::string text;
        char buffer[4096];
        for (ssize_t count;
             (count = pread(fd_, buffer, sizeof buffer, static_cast<off_t>(text.size()))) > 0;)
            text.append(buffer, static_cast<std::size_t>(count));
        return text;
    }

private:
    int fd_;
};

class SpawnActions {
public:
    SpawnActions() { posix_spawn_file_actions_init(&actions_); }
    SpawnActions(SpawnActions const&) = delete;
    SpawnActions& operator=(SpawnActions const&) = delete;
    ~SpawnActions() { posix_spawn_file_actions_destroy(&actions_); }
    void redirect(int from, int to) { posix_spawn_file_actions_adddup2(&actions_, from, to); }
    posix_spawn_file_actions_t const* get() const { return &actions_; }

private:
    posix_spawn_file_actions_t actions_;
};

std::vector<char*> pointers(std::vector<std::string>& strings) {
    std::vector<char*> result;
    for (auto& text : strings)
        result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

// The child's exit status; a child still running after a minute is killed.
int waitFor(pid_t pid) {
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    int status = 0;
    for (pid_t done = 0; done == 0 || (done < 0 && errno == EINTR);) {
        done = waitpid(pid, &status, WNOHANG);
        if (done == 0 && std::chrono::steady_clock::now() > deadline) {
            kill(pid, SIGKILL);
            waitpid(pid, &status, 0);
            throw std::runtime_error("child process stalled");
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

} // namespace

Outcome run(std::string const& program, std::vector<std::string> const& arguments,
            std::string const& input, std::vector<std::string> const& extraEnvironment,
            bool inherit) {
    MemoryFile in(input), out, err;
    SpawnActions actions;
    actions.redirect(in.fd(), STDIN_FILENO);
    actions.redirect(out.fd(), STDOUT_FILENO);
    actions.redirect(err.fd(), STDERR_FILENO);

    std::vector<std::string> argv{program};
    argv.insert(argv.end(), arguments.begin(), arguments.end());
    std::vector<std::string> environment;
    for (char** entry = environ; inherit && *entry != nullptr; ++entry)
        environment.emplace_back(*entry);
    environment.insert(environment.end(), extraEnvironment.begin(), extraEnvironment.end());
    pid_t pid = 0;
    if (posix_spawn(&pid, program.c_str(), actions.get(), nullptr, pointers(argv).data(),
                    pointers(environment).data()) != 0)
        throw std::runtime_error("cannot start " + program);
    int const status = waitFor(pid);
    return {status, out.contents(), err.contents()};
}

} // namespace zorq::testing
