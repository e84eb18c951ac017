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

// zorq running on the slave side of a pseudo-terminal, HOME pointing at home.
class TerminalSession {
public:
    explicit TerminalSession(std::filesystem::path const& home) {
        pid_ = forkpty(&master_, nullptr, nullptr, nullptr);
        if (pid_ < 0)
            throw std::runtime_error("forkpty failed");
        if (pid_ == 0) {
            setenv("HOME", home.c_str(), 1);
            setenv("TERM", "dumb", 1);
            execl(ZORQ_PATH, ZORQ_PATH, static_cast<char*>(nullptr));
            _exit(127);
        }
    }
    TerminalSession(TerminalSession const&) = delete;
    TerminalSession& operator=(TerminalSession const&) = delete;
    ~TerminalSession() {
        if (pid_ > 0) {
            kill(pid_, SIGKILL);
            waitpid(pid_, nullptr, 0);
        }
        close(master_);
    }

    void type(std::string const& text) {
        if (write(master_, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
            throw std::runtime_error("cannot type into the terminal");
    }

    // Reads until text appears (or five seconds pass); returns all output so far.
    std::string readUntil(std::string const& text) {
        auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
        while (screen_.find(text, searched_) == std::string::npos &&
               std::chrono::steady_clock::now() < deadline) {
            if (!readWithin(5000))
                break;
        }
        auto const found = screen_.find(text, searched_);
        if (found != std::string::npos)
            searched_ = found + text.size();
        return screen_;
    }

    // Ends input at the next prompt and returns the exit status, or -1 when
    // zorq is still running ten seconds later. The terminal only reads an
    // end-of-file as one once the line editor has switched it out of
    // line-by-line mode (before that it becomes a stray byte in the line),
    // and the prompt can show before the switch, so the switch is awaited.
    int finish() {
        readUntil("Q: ");
        auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (readsLineByLine() && std::chrono::steady_clock::now() < deadline)
            drain(10);
        type("\x04");
        int status = 0;
        while (waitpid(pid_, &status, WNOHANG) == 0) {
            if (std::chrono::steady_clock::now() > deadline)
                return -1;
            drain(100);
        }
        pid_ = -1;
        drain(0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

private:
    bool readsLineByLine() const {
        termios modes{};
        return tcgetattr(master_, &modes) == 0 && (modes.c_lflag & ICANON) != 0;
    }

    // Reads whatever output arrives within the timeout, until none does.
    void drain(int milliseconds) {
        while (readWithin(milliseconds)) {
        }
    }

    bool readWithin(int milliseconds) {
        pollfd fd{master_, POLLIN, 0};
        if (poll(&fd, 1, milliseconds) <= 0)
            return false;
        char buffer[1024];
        auto const count = read(master_, buffer, sizeof buffer);
        if (count <= 0)
            return false;
        screen_.append(buffer, static_cast<std::size_t>(count));
        return true;
    }

    int master_ = -1;
    pid_t pid_ = -1;
    std::string screen_;
    std::size_t searched_ = 0;
};

TEST(ZorqInteractive, PromptsAnswersPointsAtErrorsAndKeepsHistory) {
    auto const home =
        std::filesystem::temp_directory_path() / ("zorq-home-" + std::to_string(getpid()));
    std::filesystem::create_directories(home);
    int status = -1;
    std::string screen;
    {
        TerminalSession session(home);
        session.readUntil("Q: ");
        session.type("6 * 7\n");
        session.readUntil("A: 42");
        session.readUntil("Q: ");
        session.type("// a comment\n");
        session.readUntil("Q: ");
        session.type("2 + )\n");
        session.readUntil("E: column 5");
        status = session.finish();
        screen = session.readUntil("");
    }
    EXPECT_EQ(status, 1) << "one expression failed";
    EXPECT_THAT(screen, HasSubstr("A: 42"));
    // The caret sits under column 5 of the text typed after the three-column prompt.
    EXPECT_THAT(screen, HasSubstr("\n       ^\r\nE: column 5: "));

    std::ifstream history(home / ".zorq_history");
    std::string saved((std::istreambuf_iterator<char>(history)), {});
    EXPECT_THAT(saved, HasSubstr("6"));
    EXPECT_THAT(saved, HasSubstr("7"));
    EXPECT_THAT(saved, ::testing::Not(HasSubstr("a comment"))) << "skipped lines stay out";
    std::filesystem::remove_all(home);
}

} // namespace
} // namespace zorq::testing
