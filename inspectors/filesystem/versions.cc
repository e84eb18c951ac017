#include <cstdint>
#include <string>

#include "evaluator/errors.h"
#include "files/bundle.h"
#include "framework/prop.h"
#include "inspectors/filesystem/filesystem.h"
#include "platform/linux/xdg.h"

namespace {

// The low 16 bits of a packed version hold the release stage and revision.
constexpr std::uint32_t kStageAndRevision = 0xFFFF;

// A folder's version from its bundle: the packed number (whole, or without
// stage and revision), else the text of `textKey`, else none.
version BundleVersion(filesystem_object const& object, bool keepStage, char const* textKey) {
    Bundle bundle = MakeBundle(ItemOf(object).GetURL());
    if (std::uint32_t number = bundle.VersionNumber(); number != 0) {
        return MakeVersion(MacVersion(keepStage ? number : number & ~kStageAndRevision));
    }
    auto text = bundle.InfoString(textKey);
    if (!text) {
        throw NoSuchObject();
    }
    return MakeVersion(TextToVersion(*text));
}

version FolderVersion(filesystem_object const& object) {
    return BundleVersion(object, false, "CFBundleShortVersionString");
}

version FolderBundleVersion(filesystem_object const& object) {
    return BundleVersion(object, true, "CFBundleVersion");
}

} // namespace

version VersionOfFolder(Of, folder const& bundle) {
    return FolderVersion(bundle);
}

version VersionOfObject(Of, filesystem_object const& object) {
    if (!IsDirectory(object)) {
        return MakeVersion(version_of_file(ItemOf(object)));
    }
    return FolderVersion(object);
}

version BundleVersionOfFolder(Of, folder const& bundle) {
    return FolderBundleVersion(bundle);
}

version BundleVersionOfObject(Of, filesystem_object const& object) {
    if (!IsDirectory(object)) {
        throw NoSuchObject();
    }
    return FolderBundleVersion(object);
}

nothing nonexistent() {
    throw NoSuchObject();
}

dummy nonexistent_by_name(inspector_string const&) {
    throw NoSuchObject();
}

inspector_string nonexistentOfDummy(Of, dummy const&) {
    throw NoSuchObject();
}

filesystem_object DefaultWebBrowser() {
    std::string const handler = "x-scheme-handler/" + URL::Parse(cWebBrowserProbeAddress).Scheme();
    auto entry =
        platform::DefaultApplicationEntry(platform::XdgSearchPathsFromEnvironment(), handler);
    if (!entry) {
        throw NoSuchObject();
    }
    return filesystem_object(
        MacintoshPlatform::FileItem(MacintoshPlatform::MakeFileLocation(*entry)));
}

namespace {

Prop versionOfFolder("version", "versions", VersionOfFolder, nullptr);
Prop versionOfObject("version", "versions", VersionOfObject, nullptr);
Prop bundleVersionOfFolder("bundle version", "bundle versions", BundleVersionOfFolder, nullptr);
Prop bundleVersionOfObject("bundle version", "bundle versions", BundleVersionOfObject, nullptr);
Type<nothing> nothingType;
Prop relayService("relay service", "relay services", nonexistent, nullptr);
Prop mainGatherService("main gather service", "main gather services", nonexistent, nullptr);
Prop serviceByName("service", "services", nonexistent_by_name, nullptr);
Prop stateOfDummy("state", "states", nonexistentOfDummy, nullptr);
Type<dummy> dummyType;
Prop defaultWebBrowser("default web browser", "default web browsers", DefaultWebBrowser, nullptr);

} // namespace
