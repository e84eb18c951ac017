// Versions as bundles and files give them: the packed 32-bit bundle version
// number, or dotted numbers read from text.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "files/file_location.h"

// The packed form: major version in two BCD digits (bits 31-24), minor and
// bug-fix digits (bits 23-20, 19-16), release stage (bits 15-8: 0x20
// development, 0x40 alpha, 0x60 beta, 0x80 final) and the prerelease
// revision (bits 7-0).
namespace bundle_stage {
inline constexpr std::uint8_t development = 0x20;
inline constexpr std::uint8_t alpha = 0x40;
inline constexpr std::uint8_t beta = 0x60;
inline constexpr std::uint8_t final = 0x80;
} // namespace bundle_stage

class MacVersion {
public:
    // The components of a packed number: major, minor, bug-fix, and when any
    // of the low 16 bits is set also the stage byte and the revision, so that
    // development < alpha < beta < final compare in order.
    explicit MacVersion(std::uint32_t number);
    explicit MacVersion(std::vector<std::uint64_t> components)
        : components_(std::move(components)) {}

    std::vector<std::uint64_t> const& Components() const { return components_; }
    // The packed number this version was made from, if any.
    std::optional<std::uint32_t> Number() const { return number_; }
    // The components joined by ".".
    std::string Text() const;

private:
    std::vector<std::uint64_t> components_;
    std::optional<std::uint32_t> number_;
};

// Packs text of the form major[.minor[.bugfix]][stage revision] (major of
// one or two digits, minor and bug-fix of one digit, stage one of d, a, b, f
// and a revision of at most 255) as the platform packs a bundle version;
// 0 for any other text.
std::uint32_t VersionNumberFromString(std::string_view text);

// The dotted numbers at the start of `text` (after any spaces), up to the
// first character that does not continue them: "2.1.0 (build 5)" is 2.1.0.
// Raises NoSuchObject when the text starts with no number or a component
// does not fit in 64 bits.
MacVersion TextToVersion(std::string_view text);

// The version of a file that is not a folder. Files carry no version
// information on this system except in the names of shared libraries
// ("libz.so.1.2.13" has 1.2.13); other files raise NoSuchObject.
MacVersion version_of_file(MacintoshPlatform::FileItem const& item);
