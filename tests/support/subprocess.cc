#include "tests/support/subprocess.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <tuple>
#include <unistd.h>

extern char** environ;

namespace zorq::testing {
namespace {

// Both ends of a pipe, closed when the owner goes.
class Pipe {
public:
    Pipe() {
        if (pipe2(ends_.data(), O_CLOEXEC) != 0)
            throw std::runtime_error("pipe failed");
    }
    Pipe(Pipe const&) = delete;
    Pipe& operator=(Pipe const&) = delete;
    ~Pipe() {
        closeRead();
        closeWrite();
    }
    int read() const { return ends_[0]; }
    int write() const { return ends_[1]; }
    void closeRead() { close(0); }
    void closeWrite() { close(1); }

private:
    void close(int end) {
        if (ends_[end] >= 0)
            ::close(ends_[end]);
        ends_[end] = -1;
    }
    std::array<int, 2> ends_{-1, -1};
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

std::vector<std::string> environmentWith(std::vector<std::string> const& extra, bool inherit) {
    std::vector<std::string> environment;
    for (char** entry = environ; inherit && *entry != nullptr; ++entry)
        environment.emplace_back(*entry);
    environment.insert(environment.end(), extra.begin(), extra.end());
    return environment;
}

// Feeds input and drains both outputs together so neither side blocks.
void exchange(Pipe& in, Pipe& out, Pipe& err, std::string const& input, Outcome& outcome) {
    std::size_t written = 0;
    if (input.empty())
        in.closeWrite();
    std::array<char, 4096> buffer;
    while (out.read() >= 0 || err.read() >= 0) {
        std::array<pollfd, 3> fds{
            {{in.write(), POLLOUT, 0}, {out.read(), POLLIN, 0}, {err.read(), POLLIN, 0}}};
        if (poll(fds.data(), fds.size(), 10000) <= 0)
            throw std::runtime_error("child process stalled");
        if (fds[0].revents != 0) {
            auto const count = ::write(in.write(), input.data() + written, input.size() - written);
            written += count > 0 ? static_cast<std::size_t>(count) : input.size();
            if (written >= input.size())
                in.closeWrite();
        }
        for (auto [index, pipe, text] :
             {std::tuple{1, &out, &outcome.out}, std::tuple{2, &err, &outcome.err}}) {
            if (fds[index].revents == 0)
                continue;
            auto const count = ::read(pipe->read(), buffer.data(), buffer.size());
            if (count > 0)
                text->append(buffer.data(), static_cast<std::size_t>(count));
            else
                pipe->closeRead();
        }
    }
}

} // namespace

Outcome run(std::string const& program, std::vector<std::string> const& arguments,
            std::string const& input, std::vector<std::string> const& extraEnvironment,
            bool inherit) {
    // A child that exits before reading all its input must not kill us.
    signal(SIGPIPE, SIG_IGN);
    Pipe in, out, err;
    SpawnActions actions;
    actions.redirect(in.read(), STDIN_FILENO);
    actions.redirect(out.write(), STDOUT_FILENO);
    actions.redirect(err.write(), STDERR_FILENO);

    std::vector<std::string> argv{program};
    argv.insert(argv.end(), arguments.begin(), arguments.end());
    auto environment = environmentWith(extraEnvironment, inherit);
    pid_t pid = 0;
    if (posix_spawn(&pid, program.c_str(), actions.get(), nullptr, pointers(argv).data(),
                    pointers(environment).data()) != 0)
        throw std::runtime_error("cannot start " + program);
    in.closeRead();
    out.closeWrite();
    err.closeWrite();

    Outcome outcome;
    exchange(in, out, err, input, outcome);
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return outcome;
}


} // namespace zorq::testing
