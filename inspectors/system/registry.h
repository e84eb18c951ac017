// The device registry as inspector values: the registry root, the top node
// of each of its six planes, nodes by registry path ("Plane:/relative/path")
// or by name below a node, a node's children, and its name, class name,
// path and property dictionary.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "files/file_values.h"
#include "framework/registration.h"
#include "platform/linux/device_registry.h"

// One registry entry's descriptor shared by a ring of copies: a copy joins
// the ring of its source, and the last one to go closes the descriptor, so
// it is released exactly once without a count. A handle may be opened
// after it was copied; the whole ring then shares what was opened.
class RegistryHandle {
public:
    RegistryHandle() : fd_(-1), next_(this), previous_(this) {} // not open yet
    explicit RegistryHandle(platform::Descriptor entry);
    RegistryHandle(RegistryHandle const& source);
    // Takes the source's place in its ring; the source is left holding
    // nothing.
    RegistryHandle(RegistryHandle&& source) noexcept;
    ~RegistryHandle();
    RegistryHandle& operator=(RegistryHandle const&) = delete;

    int get() const { return fd_; }
    bool IsOpen() const { return fd_ >= 0; }
    // Gives every copy in the ring the entry opened for it.
    void Adopt(platform::Descriptor entry) const;

private:
    mutable int fd_;
    mutable RegistryHandle const* next_;
    mutable RegistryHandle const* previous_;
};

inline constexpr std::size_t kRegistryNameRoom = 128;
inline constexpr std::size_t kRegistryPathRoom = 512;

// The sysfs root, opened when its dictionary is asked for.
struct registry_root {
    static char const* TypeName() { return "registryroot"; }
    RegistryHandle handle;
};

struct registry_node {
    static char const* TypeName() { return "registrynode"; }

    // A node whose entry is open.
    registry_node(platform::Descriptor entry, platform::RegistryPlane const& inPlane,
                  std::string below);
    // A child found in its parent's listing, opened from the parent's entry
    // when first needed: counting or naming children opens nothing.
    registry_node(RegistryHandle const& parentEntry, platform::RegistryPlane const& inPlane,
                  std::string below);

    // The open entry; NoSuchObject when it went away before it was opened.
    int Entry() const;

    RegistryHandle handle;
    RegistryHandle parent;                // the parent's entry until this one is open
    platform::RegistryPlane const* plane; // the plane the node is seen in
    std::string relative;                 // below the plane's top, '/'-separated
};

registry_root theroot();
registry_node service_plane(Of, registry_root const&);
registry_node power_plane(Of, registry_root const&);
registry_node devicetree_plane(Of, registry_root const&);
registry_node audio_plane(Of, registry_root const&);
registry_node firewire_plane(Of, registry_root const&);
registry_node usb_plane(Of, registry_root const&);

// A full registry path; one longer than 512 bytes is looked up as "".
registry_node node_by_path(inspector_string const& path, Of, registry_root const&);
// A name or relative path (it may hold "/") below the node, in its plane.
registry_node named_node_of(inspector_string const& name, Of, registry_node const& node);
// Strings up to 127 bytes for names and class names, 511 for paths.
inspector_string name_of(Of, registry_node const& node);
inspector_string classname_of(Of, registry_node const& node);
inspector_string path_of(Of, registry_node const& node);
dictionary dictionary_of(Of, registry_node const& node);
dictionary root_dictionary_of(Of, registry_root const& root);

// The node's properties as read now.
OSXDictionary PropertiesOf(registry_node const& node);

// A node's children in its plane, sorted by name, listed at First; each is
// opened when first needed.
class OSXRegistryIterator {
public:
    registry_node First(Of, registry_node const& parent);
    registry_node Next(Of, registry_node const& parent);

private:
    std::vector<std::string> names_;
    std::size_t next_ = 0;
};
