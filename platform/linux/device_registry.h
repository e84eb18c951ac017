// The device registry over sysfs: six planes, each one folder tree; a node
// is a folder of its plane's tree, named by its entry name, with its
// readable attribute files as properties. Nothing here writes, and no
// lookup leaves the plane's tree.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/linux/descriptor.h"

namespace platform {

struct RegistryPlane {
    char const* name; // as registry paths spell it before the ":"
    char const* tree; // under the sysfs root
    // The tree is a bus or class listing: its entries are links to device
    // folders, and those links are its members.
    bool listing;
    // Attribute files hold binary data rather than text lines.
    bool binaryValues;
};

// The plane of that name; none for any other text.
RegistryPlane const* PlaneNamed(std::string_view name);

// A system path under $ZOR_SYSTEM_ROOT, which stands for "/" (the tests
// point it at a fake tree); unset or empty, the path itself. The registry's
// planes are reached through the sysfs root as it was at their first use.
std::string SystemPath(std::string_view absolute);

// An attribute file is read only when it holds at most this many bytes.
inline constexpr std::size_t kLargestAttribute = 4096;

// The sysfs root folder; an invalid descriptor when absent. Node folders are
// open for reading where this process may list them, else O_PATH ones.
Descriptor OpenRegistryRoot();

// The folder at `relative` ('/'-separated, empty components ignored) below
// the plane's top, as a node folder descriptor. Invalid when the tree is absent,
// a component is "." or "..", is no folder, or is a link: links are never
// followed, except a listing plane's members, and only to a folder of the
// device tree (the service plane's tree).
Descriptor OpenRegistryEntry(RegistryPlane const& plane, std::string_view relative);

// One step down from a node's folder to its child `name` (no "/"), under
// the same rules.
Descriptor OpenRegistryChild(RegistryPlane const& plane, int folder, std::string_view name,
                             bool top);

// The names of the children of a node in bytewise order: its subfolders
// that are no links, and at a listing plane's top its members.
std::vector<std::string> RegistryChildNames(RegistryPlane const& plane, int folder, bool top);

// The basename of the entry's "subsystem" link; none without one.
std::optional<std::string> SubsystemOf(int folder);

// The readable regular files of the entry with their contents, in bytewise
// order of their names. Files larger than kLargestAttribute, without read
// permission, or failing to read are left out; reads never block. Text
// attributes lose one trailing newline.
std::vector<std::pair<std::string, std::string>> ReadAttributes(int folder, bool binary);

// The firmware version DMI reports (class/dmi/id/bios_version under the
// sysfs root), without its newline; none when absent or empty.
std::optional<std::string> DmiBiosVersion();

} // namespace platform
