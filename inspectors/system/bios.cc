#include <optional>
#include <string>

#include "evaluator/errors.h"
#include "framework/fingerprints.h"
#include "framework/memory.h"
#include "framework/prop.h"
#include "inspectors/system/applications.h"
#include "inspectors/system/registry.h"

namespace {

// The value under `key` of the device-tree node at `path`, as a C string.
std::string KeyOfIORegPath(std::string_view key, std::string_view path,
                           registry_node const& deviceTree) {
    registry_node node = named_node_of(AsInspectorString(ConstData(path)), Of(), deviceTree);
    auto value = cstring_of_dictionary(key, PropertiesOf(node));
    if (!value) {
        throw NoSuchObject();
    }
    return *value;
}

std::string FirmwareVersion() {
    std::optional<registry_node> deviceTree;
    try {
        deviceTree.emplace(devicetree_plane(Of(), theroot()));
    } catch (NoSuchObject const&) {
        auto version = platform::DmiBiosVersion(); // a machine without a device tree
        if (!version) {
            throw;
        }
        return *version;
    }
    try {
        return KeyOfIORegPath("BootROM-version", "rom/boot-rom", *deviceTree);
    } catch (NoSuchObject const&) {
        return KeyOfIORegPath("version", "rom", *deviceTree);
    }
}

} // namespace

bios bios_of_world() {
    return {};
}

inspector_string Date_of(Of, bios const&) {
    throw NoSuchObject();
}

inspector_string Version_of(Of, bios const&) {
    return CopyToInspectorString(ConstData(FirmwareVersion()));
}

inspector_string AsString(bios const& firmware) {
    return Version_of(Of(), firmware);
}

namespace {

Type<bios> biosType;
Prop biosOfWorld("bios", "bioses", bios_of_world, nullptr);
Prop dateOfBios("date", "dates", Date_of, nullptr);
Prop versionOfBios("version", "versions", Version_of, nullptr);
Cast<bios, inspector_string> biosAsString("string", AsString, DependsOnlyOnParameters);

} // namespace
