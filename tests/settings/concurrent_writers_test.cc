// Four processes change one store at once while writers are killed at
// random: every change a writer reported as written is in the file, and
// where writers compete for a setting the latest date wins.
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <random>
#include <sstream>

#include "settings/agent_settings.h"
#include "settings_test_support.h"
#include "tools/zorsettings/zorsettings.h"

namespace {

constexpr int kWriters = 4;
constexpr int kChanges = 500;

struct Change {
    std::string section, name, value;
    Instant date;
};

// Unique dates, not in the order of writing (index * 263 scrambles 0..499).
Instant DateOf(int writer, int index) {
    return Instant(1000000000000 + (index * 263 % kChanges) * kWriters + writer);
}

// A third each: the writer's own section, its own names in a shared
// section, and 16 settings that every writer changes.
Change ChangeOf(int writer, int index) {
    std::string value = std::to_string(writer) + "/" + std::to_string(index);
    std::string sections[] = {"Own" + std::to_string(writer), "Shared", "Contested"};
    std::string names[] = {value, value, "c" + std::to_string(index % 16)};
    return {sections[index % 3], names[index % 3], value, DateOf(writer, index)};
}

// Even writers keep one store for their life, as the agent does; odd ones
// run the command once per change. Each change written (not refused for
// its date) is reported as its index down the pipe.
[[noreturn]] void Write(std::filesystem::path const& folder, int writer, int from, int report) {
    SetPreferencesFolder(folder);
    CFPreferenceSettingStore store(kSettingsPreferenceKey, AgentPreferenceDomain,
                                   kCFPreferencesAnyUser, kCFPreferencesCurrentHost);
    for (int index = from; index < kChanges; ++index) {
        Change c = ChangeOf(writer, index);
        bool written;
        if (writer % 2 == 0) {
            store.Set(std::string_view(c.section), std::string_view(c.name),
                      std::string_view(c.value), c.date);
            written = store.Changed();
            store.Flush();
            written = written && PreferenceDomainFor(AgentPreferenceDomain).PendingKeys().empty();
        } else {
            std::ostringstream ignored;
            written = RunZorSettings({"--folder", folder.string(), "set", c.section, c.name,
                                      c.value, FormatInstant(c.date)},
                                     ignored, ignored) == 0;
        }
        if (written && ::write(report, &index, sizeof index) != sizeof index) {
            ::_exit(1);
        }
    }
    ::_exit(0);
}

class ConcurrentWritersTest : public PreferencesFolderTest {
protected:
    ConcurrentWritersTest() : PreferencesFolderTest(FastFolder()) {}

    void Start(int writer) {
        int ends[2];
        ASSERT_EQ(::pipe(ends), 0);
        pid_t child = ::fork();
        if (child == 0) {
            ::close(ends[0]);
            Write(folder_.Path(), writer, next_[writer], ends[1]);
        }
        ::close(ends[1]);
        pids_[writer] = child;
        pipes_[writer] = ends[0];
    }

    // Takes one report; false once the writer has ended.
    bool Collect(int writer) {
        int index;
        if (::read(pipes_[writer], &index, sizeof index) == sizeof index) {
            reported_[writer].insert(index);
            next_[writer] = index + 1;
            return true;
        }
        ::close(pipes_[writer]);
        ::waitpid(pids_[writer], nullptr, 0);
        pids_[writer] = -1;
        return false;
    }

    // The writer starts again after its last reported change.
    void Kill(int writer) {
        ::kill(pids_[writer], SIGKILL);
        while (Collect(writer)) {
        }
        EXPECT_TRUE(RawParse(DomainFile(AgentPreferenceDomain))) << "the file always parses";
        Start(writer);
    }

    std::array<pid_t, kWriters> pids_{};
    std::array<int, kWriters> pipes_{};
    std::array<int, kWriters> next_{};
    std::array<std::set<int>, kWriters> reported_;
};

} // namespace

TEST_F(ConcurrentWritersTest, EveryReportedChangeIsKeptAndTheLatestDateWins) {
    for (int writer = 0; writer < kWriters; ++writer) {
        Start(writer);
    }
    std::mt19937 random(20261122);
    int kills = 0;
    for (int running = kWriters; running > 0 && !HasFailure();) {
        std::array<pollfd, kWriters> polled{};
        for (int writer = 0; writer < kWriters; ++writer) {
            polled[writer] = {pids_[writer] > 0 ? pipes_[writer] : -1, POLLIN, 0};
        }
        ASSERT_GT(::poll(polled.data(), kWriters, 10000), 0) << "the writers stopped";
        for (int writer = 0; writer < kWriters; ++writer) {
            running -= polled[writer].revents != 0 && !Collect(writer) ? 1 : 0;
        }
        int victim = static_cast<int>(random() % kWriters);
        if (kills < 40 && random() % 50 == 0 && pids_[victim] > 0) {
            ++kills;
            Kill(victim);
        }
    }

    AutoCFPropertyList raw = RawParse(DomainFile(AgentPreferenceDomain));
    ASSERT_TRUE(raw);
    auto file = ConvertCFPropertyList<CFPreferenceSectionMap>(
        plist_dict_get_item(raw.Get(), kSettingsPreferenceKey));
    std::map<std::string, Instant> latest; // of each contested setting, as reported
    for (int writer = 0; writer < kWriters; ++writer) {
        EXPECT_EQ(std::count_if(reported_[writer].begin(), reported_[writer].end(),
                                [](int index) { return index % 3 != 2; }),
                  kChanges - kChanges / 3)
            << "uncontested changes are never refused, so each must have been written";
        for (int index : reported_[writer]) {
            Change c = ChangeOf(writer, index);
            if (c.section != "Contested") {
                EXPECT_EQ(file[c.section][c.name], CFPreferenceSetting(c.value, c.date)) << c.value;
            } else if (latest[c.name] < c.date) {
                latest[c.name] = c.date;
            }
        }
    }
    for (auto const& [name, date] : latest) {
        // The value names the change it came from, which fixes its date.
        std::string const& value = file["Contested"][name].Value();
        Instant stored = file["Contested"][name].Date();
        EXPECT_FALSE(stored < date) << name << " lost a later date";
        EXPECT_EQ(stored, DateOf(std::stoi(value), std::stoi(value.substr(value.find('/') + 1))));
    }
    for (auto const& entry : std::filesystem::directory_iterator(folder_.Path())) {
        EXPECT_EQ(entry.path().string().find(".unreadable."), std::string::npos) << entry.path();
    }
}
