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
constexpr int kContested = 16;

struct Change {
    std::string section;
    std::string name;
    std::string value;
    Instant date;
};

// Dates are unique and not in the order of writing: i * 263 runs through
// 0..499 in a scrambled order.
Instant DateOf(int writer, int index) {
    return Instant(1000000000000 + (index * 263 % kChanges) * kWriters + writer);
}

// A third each: the writer's own section, its own names in a shared
// section, and a few settings that every writer changes.
Change ChangeOf(int writer, int index) {
    std::string value = std::to_string(writer) + "/" + std::to_string(index);
    switch (index % 3) {
    case 0:
        return {"Own" + std::to_string(writer), "n" + std::to_string(index), value,
                DateOf(writer, index)};
    case 1:
        return {"Shared", value, value, DateOf(writer, index)};
    default:
        return {"Contested", "c" + std::to_string(index % kContested), value,
                DateOf(writer, index)};
    }
}

// Even writers keep one store for their life, as the agent does; odd ones
// run the command once per change. A change written is reported as its
// index down the pipe; a change refused for its date is not.
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

    struct Writer {
        pid_t pid = -1;
        int pipe = -1; // the read end
        int next = 0;  // the change after the last one reported
    };

    void Start(int number) {
        int ends[2];
        ASSERT_EQ(::pipe(ends), 0);
        pid_t child = ::fork();
        if (child == 0) {
            ::close(ends[0]);
            Write(folder_.Path(), number, writers_[number].next, ends[1]);
        }
        ::close(ends[1]);
        writers_[number].pid = child;
        writers_[number].pipe = ends[0];
    }

    // Takes the reports a writer sent; false once it has ended.
    bool Collect(int number) {
        Writer& writer = writers_[number];
        int index;
        ssize_t got = ::read(writer.pipe, &index, sizeof index);
        if (got == sizeof index) {
            reported_[number].insert(index);
            writer.next = index + 1;
            return true;
        }
        ::close(writer.pipe);
        int status = 0;
        ::waitpid(writer.pid, &status, 0);
        writer.pid = -1;
        return false;
    }

    void Kill(int number) {
        ::kill(writers_[number].pid, SIGKILL);
        while (Collect(number)) {
        }
        EXPECT_TRUE(RawParse(DomainFile(AgentPreferenceDomain))) << "the file always parses";
        Start(number);
    }

    std::array<Writer, kWriters> writers_;
    std::array<std::set<int>, kWriters> reported_;
};

} // namespace

TEST_F(ConcurrentWritersTest, EveryReportedChangeIsKeptAndTheLatestDateWins) {
    for (int number = 0; number < kWriters; ++number) {
        Start(number);
    }
    std::mt19937 random(20261122);
    int kills = 0;
    for (int running = kWriters; running > 0 && !HasFailure();) {
        std::array<pollfd, kWriters> polled{};
        for (int number = 0; number < kWriters; ++number) {
            polled[number] = {writers_[number].pid > 0 ? writers_[number].pipe : -1, POLLIN, 0};
        }
        ASSERT_GT(::poll(polled.data(), kWriters, 10000), 0) << "the writers stopped";
        for (int number = 0; number < kWriters; ++number) {
            if (polled[number].revents != 0 && !Collect(number)) {
                --running;
            }
        }
        int victim = static_cast<int>(random() % kWriters);
        if (kills < 40 && random() % 50 == 0 && writers_[victim].pid > 0) {
            ++kills;
            Kill(victim);
        }
    }
    RecordProperty("writers_killed", kills);

    AutoCFPropertyList raw = RawParse(DomainFile(AgentPreferenceDomain));
    ASSERT_TRUE(raw);
    auto file = ConvertCFPropertyList<CFPreferenceSectionMap>(
        plist_dict_get_item(raw.Get(), kSettingsPreferenceKey));
    std::map<std::string, Instant> latest; // contested name -> latest reported date
    for (int number = 0; number < kWriters; ++number) {
        EXPECT_EQ(std::count_if(reported_[number].begin(), reported_[number].end(),
                                [](int index) { return index % 3 != 2; }),
                  kChanges - kChanges / 3)
            << "uncontested changes are never refused, so each must have been written";
        for (int index : reported_[number]) {
            Change c = ChangeOf(number, index);
            CFPreferenceSetting const& stored = file[c.section][c.name];
            if (c.section != "Contested") {
                EXPECT_EQ(stored, CFPreferenceSetting(c.value, c.date)) << c.value;
            } else if (latest[c.name] < c.date) {
                latest[c.name] = c.date;
            }
        }
    }
    for (auto const& [name, date] : latest) {
        CFPreferenceSetting const& stored = file["Contested"][name];
        EXPECT_FALSE(stored.Date() < date) << name << " lost a later date";
        // The value names the change it came from, which fixes its date.
        int writer = std::stoi(stored.Value());
        int index = std::stoi(stored.Value().substr(stored.Value().find('/') + 1));
        EXPECT_EQ(stored.Date(), DateOf(writer, index)) << name;
    }
    for (auto const& entry : std::filesystem::directory_iterator(folder_.Path())) {
        EXPECT_EQ(entry.path().string().find(".unreadable."), std::string::npos) << entry.path();
    }
}
