// Packed bundle version numbers and versions read from text.
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "evaluator/errors.h"
#include "files/mac_version.h"

namespace {

using Components = std::vector<std::uint64_t>;

TEST(VersionNumberFromString, PacksAsTheBundleVersionNumber) {
    struct Case {
        char const* text;
        std::uint32_t number;
    } const cases[] = {
        {"1", 0x01008000},      {"1.2", 0x01208000},      {"1.2.3", 0x01238000},
        {"12.3.4", 0x12348000}, {"99.9.9", 0x99998000},   {"0.1", 0x00108000},
        {"1.0a1", 0x01004001},  {"2b255", 0x020060FF},    {"1.0f1", 0x01008001},
        {"3.1b0", 0x03106000},  {"7.0.1d12", 0x0701200C},
    };
    for (Case const& c : cases) {
        EXPECT_EQ(VersionNumberFromString(c.text), c.number) << c.text;
    }
    for (char const* bad : {"", "123", "1.23", "1.2.3.4", "1.2.3x1", "1.0b256", "1.0b", "v1", " 1",
                            "1.", "1.2.3b1234", "1.2.3 ", ".1", "1..2", "1.2d1.3"}) {
        EXPECT_EQ(VersionNumberFromString(bad), 0u) << bad;
    }
}

TEST(MacVersion, ComponentsOfPackedNumbersKeepStagesInOrder) {
    EXPECT_EQ(MacVersion(0x01230000).Components(), (Components{1, 2, 3}));
    EXPECT_EQ(MacVersion(0x01230000).Text(), "1.2.3");
    EXPECT_EQ(MacVersion(0x01232004).Components(), (Components{1, 2, 3, 32, 4}));
    EXPECT_EQ(MacVersion(0x01232004).Number(), 0x01232004u);
    EXPECT_FALSE(TextToVersion("1.2").Number().has_value());

    std::vector<Components> ordered;
    for (char const* text :
         {"1.2.3d9", "1.2.3a1", "1.2.3b1", "1.2.3b2", "1.2.3", "1.2.3f1", "1.2.4d1"}) {
        ordered.push_back(MacVersion(VersionNumberFromString(text)).Components());
    }
    EXPECT_TRUE(std::is_sorted(ordered.begin(), ordered.end()));
}

TEST(TextToVersion, ReadsTheLeadingDottedNumbers) {
    EXPECT_EQ(TextToVersion("2.1.0 (build 5)").Components(), (Components{2, 1, 0}));
    EXPECT_EQ(TextToVersion("  3").Components(), Components{3});
    EXPECT_EQ(TextToVersion("1.").Components(), Components{1});
    EXPECT_EQ(TextToVersion("1..2").Components(), Components{1});
    EXPECT_EQ(TextToVersion("4.2b3").Components(), (Components{4, 2}));
    EXPECT_EQ(TextToVersion("18446744073709551615").Components(),
              Components{18446744073709551615u});
    for (char const* bad : {"", "   ", "abc", "v1.2", ".5", "-1", "18446744073709551616"}) {
        EXPECT_THROW(TextToVersion(bad), NoSuchObject) << bad;
    }
}

} // namespace
