// The agent's administrators, kept as settings of the client's
// "Administrators" section, and the administrative-rights marker.
#include "framework/memory.h"
#include "framework/prop.h"
#include "inspectors/agent/client.h"
#include "inspectors/settings/settings.h"
#include "settings/agent_settings.h"

namespace {

// The value is read once so that a cleared entry is no such object.
setting administrator_of_client(inspector_string const& name, Of, client const&) {
    setting found =
        setting_of_section(GetSettingStore(), AdministratorsSettingSection(), AsConstData(name));
    value_of(found);
    return found;
}

// The section's settings whose value can be read; cleared ones are passed over.
class administrator_iterator : public setting_iterator {
public:
    setting First(Of, client const&) {
        return Readable(setting_iterator::First(GetSettingStore(), AdministratorsSettingSection()));
    }
    setting Next(Of, client const&) { return Readable(setting_iterator::Next()); }

private:
    setting Readable(setting item) {
        for (;;) {
            try {
                value_of(item);
                return item;
            } catch (NoSuchObject const&) {
                item = setting_iterator::Next();
            }
        }
    }
};

// A noun without data: every client has administrative rights to ask about.
struct administrative_rights {
    static char const* TypeName() { return "administrative rights"; }
    char unused = 0;
};

administrative_rights administrative_rights_of(Of, client const&) {
    return {};
}

boolean enabled_of(Of, administrative_rights const&) {
    return true;
}

Type<administrative_rights> rightsType;
Prop administratorByName("administrator", "administrators", administrator_of_client, nullptr);
Prop administrators("administrator", "administrators", &administrator_iterator::First,
                    &administrator_iterator::Next, nullptr);
Prop rights("administrative rights", "administrative rightss", administrative_rights_of, nullptr);
Prop rightsEnabled("enabled", "enableds", enabled_of, nullptr);

} // namespace
