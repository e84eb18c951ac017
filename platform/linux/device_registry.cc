#include "platform/linux/device_registry.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/linux/files.h"

namespace platform {

namespace {

constexpr std::array<RegistryPlane, 6> kPlanes{{
    {"IOService", "/devices", false, false},
    {"IODeviceTree", "/firmware/devicetree/base", false, true},
    {"IOUSB", "/bus/usb/devices", true, false},
    {"IOAudio", "/class/sound", true, false},
    {"IOFireWire", "/bus/firewire/devices", true, false},
    {"IOPower", "/class/power_supply", true, false},
}};

constexpr int kPathFlags = O_PATH | O_CLOEXEC;

// A node's folder, open for reading so that listing its children needs no
// second open; one this process may not read is still a node, held by an
// O_PATH descriptor.
Descriptor OpenNodeFolder(int at, char const* path, int flags) {
    Descriptor folder(::openat(at, path, O_RDONLY | O_CLOEXEC | O_DIRECTORY | flags));
    if (folder.valid() || errno != EACCES) {
        return folder;
    }
    return Descriptor(::openat(at, path, kPathFlags | O_DIRECTORY | flags));
}

std::string SysfsPath(std::string_view below) {
    return SystemPath("/sys") + std::string(below);
}

// The sysfs root, opened once per process and kept until it ends, as the
// port through which the kernel's registry is reached; -1 without one.
// Planes are opened relative to it, which spares a walk from "/" each time.
int SysfsRoot() {
    static int const root = ::open(SysfsPath("").c_str(), kPathFlags | O_DIRECTORY);
    return root;
}

std::optional<std::string> RealPath(std::string const& path) {
    char resolved[PATH_MAX];
    if (!::realpath(path.c_str(), resolved)) {
        return std::nullopt;
    }
    return std::string(resolved);
}

// The device folder a listing plane's member links to, if it lies inside
// the device tree.
std::optional<std::string> MemberTarget(RegistryPlane const& plane, std::string_view name) {
    auto devices = RealPath(SysfsPath("/devices"));
    auto target = RealPath(SysfsPath(plane.tree) + "/" + std::string(name));
    if (!devices || !target || target->rfind(*devices + "/", 0) != 0) {
        return std::nullopt;
    }
    return target;
}

// Whether an entry of a listing is a folder (asking only when the listing
// does not say).
bool EntryIsFolder(int folder, FolderEntry const& entry) {
    if (entry.type != EntryType::Unknown) {
        return entry.type == EntryType::Folder;
    }
    struct stat info {};
    return ::fstatat(folder, entry.name.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0 &&
           S_ISDIR(info.st_mode);
}

} // namespace

RegistryPlane const* PlaneNamed(std::string_view name) {
    auto plane = std::find_if(kPlanes.begin(), kPlanes.end(),
                              [&](RegistryPlane const& p) { return name == p.name; });
    return plane == kPlanes.end() ? nullptr : &*plane;
}

std::string SystemPath(std::string_view absolute) {
    char const* root = std::getenv("ZOR_SYSTEM_ROOT");
    return (root ? std::string(root) : std::string()) + std::string(absolute);
}

Descriptor OpenRegistryRoot() {
    return OpenNodeFolder(AT_FDCWD, SysfsPath("").c_str(), 0);
}

Descriptor OpenRegistryChild(RegistryPlane const& plane, int folder, std::string_view name,
                             bool top) {
    if (name.empty() || name == "." || name == "..") {
        return Descriptor(-1);
    }
    std::string const component(name);
    // O_NOFOLLOW with O_DIRECTORY refuses a link as not being a folder.
    Descriptor step = OpenNodeFolder(folder, component.c_str(), O_NOFOLLOW);
    if (step.valid() || !(plane.listing && top)) {
        return step;
    }
    auto target = MemberTarget(plane, name);
    return target ? OpenNodeFolder(AT_FDCWD, target->c_str(), O_NOFOLLOW) : Descriptor(-1);
}

Descriptor OpenRegistryEntry(RegistryPlane const& plane, std::string_view relative) {
    Descriptor at = OpenNodeFolder(SysfsRoot(), plane.tree + 1, 0);
    bool top = true;
    while (at.valid() && !relative.empty()) {
        std::size_t slash = relative.find('/');
        std::string_view name = relative.substr(0, slash);
        relative =
            slash == std::string_view::npos ? std::string_view() : relative.substr(slash + 1);
        if (name.empty()) {
            continue;
        }
        at = OpenRegistryChild(plane, at.get(), name, top);
        top = false;
    }
    return at;
}

std::vector<std::string> RegistryChildNames(RegistryPlane const& plane, int folder, bool top) {
    std::vector<FolderEntry> entries = ListOpenFolder(folder);
    std::vector<std::string> names;
    names.reserve(entries.size());
    for (FolderEntry& entry : entries) {
        bool const member = plane.listing && top && entry.type == EntryType::Link &&
                            MemberTarget(plane, entry.name);
        if (member || EntryIsFolder(folder, entry)) {
            names.push_back(std::move(entry.name));
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::optional<std::string> SubsystemOf(int folder) {
    char target[PATH_MAX];
    ssize_t length = ::readlinkat(folder, "subsystem", target, sizeof target);
    if (length <= 0 || static_cast<std::size_t>(length) >= sizeof target) {
        return std::nullopt;
    }
    std::string_view link(target, static_cast<std::size_t>(length));
    return std::string(link.substr(link.rfind('/') + 1));
}

std::optional<std::string> DmiBiosVersion() {
    auto version =
        ReadSmallFile(AT_FDCWD, SysfsPath("/class/dmi/id/bios_version").c_str(), kLargestAttribute);
    if (version && !version->empty() && version->back() == '\n') {
        version->pop_back();
    }
    return version && !version->empty() ? version : std::nullopt;
}

std::vector<std::pair<std::string, std::string>> ReadAttributes(int folder, bool binary) {
    std::vector<std::pair<std::string, std::string>> attributes;
    for (FolderEntry& entry : ListOpenFolder(folder)) {
        if (entry.type != EntryType::Regular && entry.type != EntryType::Unknown) {
            continue;
        }
        auto value = ReadSmallFile(folder, entry.name.c_str(), kLargestAttribute);
        if (!value) {
            continue;
        }
        if (!binary && !value->empty() && value->back() == '\n') {
            value->pop_back();
        }
        attributes.emplace_back(std::move(entry.name), std::move(*value));
    }
    std::sort(attributes.begin(), attributes.end());
    return attributes;
}

} // namespace platform
