#include "inspectors/system/registry.h"

#include <unistd.h>

#include <algorithm>
#include <utility>

#include "evaluator/errors.h"
#include "framework/memory.h"
#include "framework/prop.h"

RegistryHandle::RegistryHandle(platform::Descriptor entry)
    : fd_(entry.release()), next_(this), previous_(this) {}

RegistryHandle::RegistryHandle(RegistryHandle const& source)
    : fd_(source.fd_), next_(source.next_), previous_(&source) {
    source.next_->previous_ = this;
    source.next_ = this;
}

RegistryHandle::RegistryHandle(RegistryHandle&& source) noexcept
    : fd_(std::exchange(source.fd_, -1)), next_(this), previous_(this) {
    if (source.next_ != &source) {
        next_ = std::exchange(source.next_, &source);
        previous_ = std::exchange(source.previous_, &source);
        next_->previous_ = this;
        previous_->next_ = this;
    }
}

RegistryHandle::~RegistryHandle() {
    if (next_ == this) {
        if (fd_ >= 0) {
            ::close(fd_);
        }
        return;
    }
    previous_->next_ = next_;
    next_->previous_ = previous_;
}

void RegistryHandle::Adopt(platform::Descriptor entry) const {
    fd_ = entry.release();
    for (RegistryHandle const* copy = next_; copy != this; copy = copy->next_) {
        copy->fd_ = fd_;
    }
}

registry_node::registry_node(platform::Descriptor entry, platform::RegistryPlane const& inPlane,
                             std::string below)
    : handle(std::move(entry)), plane(&inPlane), relative(std::move(below)) {}

registry_node::registry_node(RegistryHandle const& parentEntry,
                             platform::RegistryPlane const& inPlane, std::string below)
    : parent(parentEntry), plane(&inPlane), relative(std::move(below)) {}

int registry_node::Entry() const {
    if (!handle.IsOpen()) {
        std::size_t const slash = relative.rfind('/');
        std::string_view const name =
            slash == std::string::npos ? relative : std::string_view(relative).substr(slash + 1);
        platform::Descriptor entry =
            platform::OpenRegistryChild(*plane, parent.get(), name, slash == std::string::npos);
        if (!entry.valid()) {
            throw NoSuchObject();
        }
        handle.Adopt(std::move(entry));
    }
    return handle.get();
}

namespace {

std::string_view View(inspector_string const& text) {
    return AsConstData(text).view();
}

inspector_string Copy(std::string_view text) {
    return CopyToInspectorString(ConstData(text));
}

// The node at `relative` below the plane's top; NoSuchObject where there is
// none or the path would leave the plane's tree.
registry_node NodeAt(platform::RegistryPlane const& plane, std::string_view relative) {
    platform::Descriptor entry = platform::OpenRegistryEntry(plane, relative);
    if (!entry.valid()) {
        throw NoSuchObject();
    }
    // The node's own path names each component once, without empty ones.
    std::string normal;
    for (std::size_t start = 0; start < relative.size();) {
        std::size_t end = std::min(relative.find('/', start), relative.size());
        if (end > start) {
            normal.append(normal.empty() ? "" : "/").append(relative.substr(start, end - start));
        }
        start = end + 1;
    }
    return registry_node(std::move(entry), plane, std::move(normal));
}

registry_node chooseplane(char const* name) {
    return NodeAt(*platform::PlaneNamed(name), "");
}

std::string RegistryPath(registry_node const& node) {
    return std::string(node.plane->name) + ":/" + node.relative;
}

// A name or class name as it would fit a 128-byte buffer with its NUL.
inspector_string FittingName(std::string_view name) {
    if (name.size() >= kRegistryNameRoom) {
        throw NoSuchObject();
    }
    return Copy(name);
}

OSXDictionary AttributeDictionary(int entry, bool binary) {
    std::vector<OSXDictionary::Entry> entries;
    for (auto& [name, bytes] : platform::ReadAttributes(entry, binary)) {
        entries.emplace_back(std::move(name), binary ? DictionaryValue::Data(std::move(bytes))
                                                     : DictionaryValue::String(std::move(bytes)));
    }
    return OSXDictionary(std::move(entries));
}

} // namespace

registry_root theroot() {
    return {};
}

registry_node service_plane(Of, registry_root const&) {
    return chooseplane("IOService");
}

registry_node power_plane(Of, registry_root const&) {
    return chooseplane("IOPower");
}

registry_node devicetree_plane(Of, registry_root const&) {
    return chooseplane("IODeviceTree");
}

registry_node audio_plane(Of, registry_root const&) {
    return chooseplane("IOAudio");
}

registry_node firewire_plane(Of, registry_root const&) {
    return chooseplane("IOFireWire");
}

registry_node usb_plane(Of, registry_root const&) {
    return chooseplane("IOUSB");
}

registry_node node_by_path(inspector_string const& path, Of, registry_root const&) {
    std::string_view text = path.length > kRegistryPathRoom ? std::string_view() : View(path);
    text = text.substr(0, text.find('\0')); // the lookup reads a C string
    std::size_t colon = text.find(':');
    if (colon == std::string_view::npos || colon + 1 > kRegistryNameRoom) {
        throw NoSuchObject();
    }
    platform::RegistryPlane const* plane = platform::PlaneNamed(text.substr(0, colon));
    if (!plane) {
        throw NoSuchObject();
    }
    return NodeAt(*plane, text.substr(colon + 1));
}

registry_node named_node_of(inspector_string const& name, Of, registry_node const& node) {
    std::string path = RegistryPath(node);
    if (path.back() != '/') {
        path += '/';
    }
    // The whole path with its NUL must fit the 512-byte buffer.
    if (path.size() + name.length >= kRegistryPathRoom) {
        throw NoSuchObject();
    }
    std::string_view below = View(name);
    below = below.substr(0, below.find('\0'));
    std::string relative = node.relative;
    if (!relative.empty()) {
        relative += '/';
    }
    return NodeAt(*node.plane, relative.append(below));
}

inspector_string name_of(Of, registry_node const& node) {
    std::string_view whole = node.relative.empty() ? std::string_view(node.plane->tree)
                                                   : std::string_view(node.relative);
    return FittingName(whole.substr(whole.rfind('/') + 1));
}

inspector_string classname_of(Of, registry_node const& node) {
    auto subsystem = platform::SubsystemOf(node.Entry());
    return FittingName(subsystem ? *subsystem : std::string(node.plane->name));
}

inspector_string path_of(Of, registry_node const& node) {
    std::string path = RegistryPath(node);
    if (path.size() >= kRegistryPathRoom) {
        throw NoSuchObject();
    }
    return Copy(path);
}

OSXDictionary PropertiesOf(registry_node const& node) {
    return AttributeDictionary(node.Entry(), node.plane->binaryValues);
}

dictionary dictionary_of(Of, registry_node const& node) {
    return dictionary(PropertiesOf(node));
}

dictionary root_dictionary_of(Of, registry_root const& root) {
    if (!root.handle.IsOpen()) {
        platform::Descriptor entry = platform::OpenRegistryRoot();
        if (!entry.valid()) {
            throw NoSuchObject();
        }
        root.handle.Adopt(std::move(entry));
    }
    return dictionary(AttributeDictionary(root.handle.get(), false));
}

registry_node OSXRegistryIterator::First(Of, registry_node const& parent) {
    names_ = platform::RegistryChildNames(*parent.plane, parent.Entry(), parent.relative.empty());
    next_ = 0;
    return Next(Of(), parent);
}

registry_node OSXRegistryIterator::Next(Of, registry_node const& parent) {
    if (next_ >= names_.size()) {
        throw NoSuchObject();
    }
    std::string const& name = names_[next_++];
    return registry_node(parent.handle, *parent.plane,
                         parent.relative.empty() ? name : parent.relative + "/" + name);
}

namespace {

Type<registry_node> registryNodeType;
Type<registry_root> registryRootType;
Prop iokitRegistry("iokit registry", "iokit registries", theroot, nullptr);
Prop servicePlane("service plane", "service planes", service_plane, nullptr);
Prop powerPlane("power plane", "power planes", power_plane, nullptr);
Prop devicetreePlane("devicetree plane", "devicetree planes", devicetree_plane, nullptr);
Prop audioPlane("audio plane", "audio planes", audio_plane, nullptr);
Prop firewirePlane("firewire plane", "firewire planes", firewire_plane, nullptr);
Prop usbPlane("usb plane", "usb planes", usb_plane, nullptr);
Prop nodeByPath("node", "nodes", node_by_path, nullptr);
Prop namedNodeOf("node", "nodes", named_node_of, nullptr);
Prop nameOfNode("name", "names", name_of, nullptr);
Prop classnameOfNode("classname", "classnames", classname_of, nullptr);
Prop pathOfNode("path", "paths", path_of, nullptr);
Prop dictionaryOfNode("dictionary", "dictionaries", dictionary_of, nullptr);
Prop dictionaryOfRoot("dictionary", "dictionaries", root_dictionary_of, nullptr);
Prop nodesOfNode("node", "nodes", &OSXRegistryIterator::First, &OSXRegistryIterator::Next, nullptr);

} // namespace
