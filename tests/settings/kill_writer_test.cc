// Writers killed at random moments never leave a file that does not parse
// or that mixes two versions.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <random>

#include "settings/setting_store.h"
#include "settings_test_support.h"

namespace {

constexpr char const* kDomain = "kill.domain";
constexpr char const* kKey = "Settings";
constexpr int kSettingsPerVersion = 200;

// One version: every setting of section "S" holds the same tag, with padding
// that changes the file's length from version to version.
CFPreferenceSectionMap Version(std::string const& tag) {
    CFPreferenceSectionMap sections;
    std::string padding(tag.size() * 7 % 500, 'p');
    for (int i = 0; i < kSettingsPerVersion; ++i) {
        sections["S"]["setting" + std::to_string(i)] = CFPreferenceSetting(tag, Instant(i));
    }
    sections["Padding"]["p"] = CFPreferenceSetting(padding, Instant(0));
    return sections;
}

// Writes versions "<writer>-1", "<writer>-2", ... until killed, and sends
// a byte down the pipe after each flush.
[[noreturn]] void WriteUntilKilled(std::filesystem::path const& folder, char writer, int flushed) {
    SetPreferencesFolder(folder);
    CFPreferenceSettingStore store(kKey, kDomain, kCFPreferencesAnyUser, kCFPreferencesCurrentHost);
    for (int generation = 1; generation < 100000; ++generation) {
        std::string tag = std::string(1, writer) + "-" + std::to_string(generation);
        CFPreferenceSectionMap version = Version(tag);
        // One date for the whole version: writes merge by date, so the
        // later version then wins every setting and versions never mix.
        Instant date = Instant::Now();
        for (auto const& [name, setting] : version.at("S")) {
            store.Set("S", std::string_view(name), std::string_view(setting.Value()), date);
        }
        store.Flush();
        if (::write(flushed, &writer, 1) != 1) {
            ::_exit(1);
        }
    }
    ::_exit(0);
}

// Fails the test unless the file holds one whole version.
void ExpectWholeVersionIn(std::filesystem::path const& file) {
    AutoCFPropertyList raw = RawParse(file);
    ASSERT_TRUE(raw) << "the file must always parse";
    auto sections =
        ConvertCFPropertyList<CFPreferenceSectionMap>(plist_dict_get_item(raw.Get(), kKey));
    auto const& settings = sections.at("S");
    EXPECT_EQ(settings.size(), static_cast<size_t>(kSettingsPerVersion));
    for (auto const& [name, setting] : settings) {
        EXPECT_EQ(setting.Value(), settings.begin()->second.Value()) << "a mix of versions";
    }
}

class KillWriterTest : public PreferencesFolderTest {
protected:
    KillWriterTest() : PreferencesFolderTest(FastFolder()) {}

    // Each round starts from a whole version and starts the writers. Once a
    // writer has flushed twice (which gives the length of one flush cycle),
    // they are killed after a random part of a further cycle, so the kills
    // fall on every step of a write. The file must then hold one whole version.
    void KillRounds(int rounds, std::string const& writers) {
        std::filesystem::path file = DomainFile(kDomain);
        std::mt19937 random(20261121);
        std::uniform_real_distribution<double> partOfCycle(0.0, 1.0);
        for (int round = 0; round < rounds && !HasFailure(); ++round) {
            AutoCFPropertyList root(plist_new_dict());
            plist_dict_set_item(root.Get(), kKey, MakeCFDictionary(Version("start")).Release());
            WriteBytes(file, SerializeBinaryPropertyList(root.Get()));
            int flushed[2];
            ASSERT_EQ(::pipe(flushed), 0);
            std::vector<pid_t> children;
            for (char writer : writers) {
                pid_t child = ::fork();
                if (child == 0) {
                    WriteUntilKilled(folder_.Path(), writer, flushed[1]);
                }
                children.push_back(child);
            }
            // Once only the writers hold it, a writer that dies early ends the wait.
            ::close(flushed[1]);
            char byte;
            bool twice = ::read(flushed[0], &byte, 1) == 1;
            TimeMark first = TimeMark::Now();
            twice = twice && ::read(flushed[0], &byte, 1) == 1;
            auto cycle = (TimeMark::Now() - first).Microseconds();
            ::usleep(static_cast<useconds_t>(partOfCycle(random) * static_cast<double>(cycle)));
            for (pid_t child : children) {
                ::kill(child, SIGKILL);
                ::waitpid(child, nullptr, 0);
            }
            ::close(flushed[0]);
            ASSERT_TRUE(twice) << "a writer died before its second flush";
            ExpectWholeVersionIn(file);
        }
    }
};

} // namespace

TEST_F(KillWriterTest, KilledWritersLeaveAWholeVersionNeverAMix) {
    KillRounds(250, "A");
    KillRounds(60, "AB");

    // The next writer clears what the killed ones left behind.
    CFPreferenceSettingStore store(kKey, kDomain, kCFPreferencesAnyUser, kCFPreferencesCurrentHost);
    store.Set("S", "setting0", "final", Instant::Now() + TimeInterval::Seconds(60));
    store.Flush();
    for (auto const& entry : std::filesystem::directory_iterator(folder_.Path())) {
        EXPECT_EQ(entry.path().filename().string().find(".tmp."), std::string::npos)
            << entry.path();
    }
}
