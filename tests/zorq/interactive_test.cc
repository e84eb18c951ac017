// zorq's interactive mode, driven through a pseudo-terminal.
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

namespace zorq::testing {
namespace {

using ::testing::HasSubstr;
using Clock = std::chrono::steady_clock;

// zorq on the slave side of a pseudo-terminal, HOME pointing at home; killed
// if still running when the test ends.
struct TerminalSession {
    explicit TerminalSession(std::filesystem::path const& home)
        : pid(forkpty(&master, nullptr, nullptr, nullptr)) {
        if (pid == 0) {
            setenv("HOME", home.c_str(), 1);
            setenv("TERM", "dumb", 1);
            execl(ZORQ_PATH, ZORQ_PATH, static_cast<char*>(nullptr));
            _exit(127);
        }
    }
    TerminalSession(TerminalSession const&) = delete;
    TerminalSession& operator=(TerminalSession const&) = delete;
    ~TerminalSession() {
        if (pid > 0 && waitpid(pid, nullptr, WNOHANG) == 0) {
            kill(pid, SIGKILL);
            waitpid(pid, nullptr, 0);
        }
        close(master);
    }

    // Adds what zorq prints within the timeout to the screen; false when nothing came.
    bool read(int milliseconds) {
        pollfd fd{master, POLLIN, 0};
        char buffer[1024];
        if (poll(&fd, 1, milliseconds) <= 0)
            return false;
        auto const count = ::read(master, buffer, sizeof buffer);
        if (count > 0)
            screen.append(buffer, static_cast<std::size_t>(count));
        return count > 0;
    }

    // Whether the line editor has switched the terminal out of line-by-line
    // mode; before that an end-of-file byte would be a stray byte in the line.
    bool editing() const {
        termios modes{};
        return tcgetattr(master, &modes) == 0 && (modes.c_lflag & ICANON) == 0;
    }

    int master = -1;
    pid_t pid;
    std::string screen;
};

TEST(ZorqInteractive, PromptsAnswersPointsAtErrorsAndKeepsHistory) {
    auto const home =
        std::filesystem::temp_directory_path() / ("zorq-home-" + std::to_string(getpid()));
    std::filesystem::create_directories(home);
    TerminalSession session(home);
    ASSERT_GT(session.pid, 0);
    // Each line is typed at a new prompt; the last one ends the input.
    std::size_t seen = 0;
    for (std::string const line :
         {"6 * 7\n", "// a comment\n", "2 + )\n", "character 9 of \"abc\"\n", "\x04"}) {
        auto const deadline = Clock::now() + std::chrono::seconds(10);
        while (Clock::now() < deadline && !(session.screen.size() > seen &&
                                            session.screen.ends_with("Q: ") && session.editing()))
            session.read(10);
        seen = session.screen.size();
        ASSERT_EQ(write(session.master, line.data(), line.size()), std::ssize(line))
            << session.screen;
    }
    int status = -1;
    for (auto const deadline = Clock::now() + std::chrono::seconds(10);
         waitpid(session.pid, &status, WNOHANG) == 0 && Clock::now() < deadline;)
        session.read(100);
    while (session.read(0)) {
    }
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 1) << "one expression failed";
    EXPECT_THAT(session.screen, HasSubstr("A: 42"));
    // The caret sits under column 5 of the text typed after the three-column prompt.
    EXPECT_THAT(session.screen, HasSubstr("\n       ^\r\nE: column 5: "));
    // An evaluation error has no column to point at.
    EXPECT_THAT(session.screen, HasSubstr("\"abc\"\r\nE: Singular expression refers to"));

    std::ifstream history(home / ".zorq_history");
    std::string saved((std::istreambuf_iterator<char>(history)), {});
    EXPECT_THAT(saved, HasSubstr("6"));
    EXPECT_THAT(saved, HasSubstr("7"));
    EXPECT_THAT(saved, ::testing::Not(HasSubstr("a comment"))) << "skipped lines stay out";
    std::filesystem::remove_all(home);
}

} // namespace
} // namespace zorq::testing
