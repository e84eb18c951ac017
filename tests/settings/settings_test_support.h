// A private preferences folder per test, and small readers of raw files.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
#include <string>

#include "settings/preference_domain.h"
#include "settings/property_list.h"
#include "tests/files/temp_tree.h"
#include "util/instant.h"

// Instants print as their microseconds in failure messages.
inline void PrintTo(Instant instant, std::ostream* out) {
    *out << instant.Microseconds() << "us";
}

// A fresh folder, removed with everything in it at the end.
class TemporaryFolder : public TempTree {
public:
    using TempTree::TempTree;
    std::filesystem::path Path() const { return TempTree::Path(); }
};

// Killing a process loses nothing of what it wrote to the page cache, so a
// folder in memory answers the same question as one on disk, without the
// cost of fsync.
inline std::filesystem::path FastFolder() {
    std::error_code error;
    return std::filesystem::is_directory("/dev/shm", error)
               ? std::filesystem::path("/dev/shm")
               : std::filesystem::temp_directory_path();
}

// Points the preference layer at a private folder for the test's length,
// from before the derived fixture's stores are built until after they are gone.
class PreferencesFolderTest : public ::testing::Test {
protected:
    explicit PreferencesFolderTest(
        std::filesystem::path const& base = std::filesystem::temp_directory_path())
        : folder_(base) {
        EXPECT_TRUE(SetPreferencesFolder(folder_.Path()));
    }
    ~PreferencesFolderTest() override { SetPreferencesFolder({}); }

    std::filesystem::path DomainFile(std::string const& applicationId) const {
        return folder_.Path() / (applicationId + ".plist");
    }
    // Forgets every cached domain, as a new process would start.
    void StartOver() { ASSERT_TRUE(SetPreferencesFolder(folder_.Path())); }

    TemporaryFolder folder_;
};

inline std::string ReadBytes(std::filesystem::path const& file) {
    std::ifstream in(file, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline void WriteBytes(std::filesystem::path const& file, std::string const& bytes) {
    std::ofstream(file, std::ios::binary) << bytes;
}

// The file parsed by libplist alone, without the store's code.
inline AutoCFPropertyList RawParse(std::filesystem::path const& file) {
    std::string bytes = ReadBytes(file);
    plist_t tree = nullptr;
    plist_from_memory(bytes.data(), static_cast<uint32_t>(bytes.size()), &tree);
    return AutoCFPropertyList(tree);
}
