#include "evaluator/errors.h"
#include "framework/memory.h"
#include "framework/prop.h"
#include "inspectors/system/applications.h"
#include "platform/linux/console_user.h"

OSXCurrentUser current_user() {
    auto name = platform::ConsoleUserName();
    if (!name) {
        throw NoSuchObject();
    }
    return {CopyToInspectorString(ConstData(*name))};
}

inspector_string Name_of(Of, OSXCurrentUser const& user) {
    return user.name;
}

namespace {

Type<OSXCurrentUser> currentUserType;
Prop currentUser("current user", "current users", current_user, nullptr);
Prop nameOfCurrentUser("name", "names", Name_of, nullptr);

} // namespace
