#include "files/file_system_path.h"
#include "framework/memory.h"
#include "framework/prop.h"
#include "inspectors/filesystem/filesystem.h"

namespace {

inspector_string Path(filesystem_object const& object, CFURLPathStyle style) {
    return CopyToInspectorString(ConstData(FileSystemPath(ItemOf(object).GetURL(), style)));
}

} // namespace

inspector_string HFSPathOfObject(Of, filesystem_object const& object) {
    return Path(object, kCFURLHFSPathStyle);
}

inspector_string POSIXPathOfObject(Of, filesystem_object const& object) {
    return Path(object, kCFURLPOSIXPathStyle);
}

inspector_string AsString(filesystem_object const& object) {
    return Path(object, kCFURLPOSIXPathStyle);
}

namespace {

Prop hfsPathOfObject("hfs path", "hfs paths", HFSPathOfObject, nullptr);
Prop posixPathOfObject("posix path", "posix paths", POSIXPathOfObject, nullptr);
Prop pathnameOfObject("pathname", "pathnames", POSIXPathOfObject, nullptr);
Cast<filesystem_object, inspector_string> objectAsString("string", AsString, nullptr);

} // namespace
