// Installed applications (by name, or all of them), the user at the console
// and the boot firmware's version.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "files/file_values.h"
#include "framework/registration.h"
#include "platform/linux/xdg.h"

// The program of the first installed application whose Name matches the
// name ignoring ASCII case, or whose desktop file id is the name (with or
// without ".desktop").
filesystem_object ApplicationByName(inspector_string const& name);
// Linux programs carry no creator codes: never an object.
filesystem_object ApplicationBySignature(file_signature const& signature);

// Every installed application's program once, in the order the desktop
// entries are found, as it was when its entry was read.
class regapp_iterator {
public:
    filesystem_object First();
    filesystem_object Next();

private:
    std::vector<platform::FoundProgram> programs_;
    std::size_t index_ = 0;
};

struct OSXCurrentUser {
    static char const* TypeName() { return "current user"; }
    inspector_string name;
};

OSXCurrentUser current_user();
inspector_string Name_of(Of, OSXCurrentUser const& user);

struct bios {
    static char const* TypeName() { return "bios"; }
    unsigned char unused;
};

bios bios_of_world();
inspector_string Date_of(Of, bios const&);
// The device tree's rom/boot-rom "BootROM-version", else rom "version";
// without a device tree, DMI's BIOS version.
inspector_string Version_of(Of, bios const&);
inspector_string AsString(bios const& firmware);
