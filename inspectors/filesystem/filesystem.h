// Paths, digests and bundle versions of file-system objects, the default web
// browser, and the nouns that exist in the language but never have a value
// here.
#pragma once

#include "files/file_values.h"
#include "framework/registration.h"

// Content-free values for nouns without data.
struct nothing {
    static char const* TypeName() { return "nothing"; }
    unsigned char unused;
};
struct dummy {
    static char const* TypeName() { return "dummy"; }
    unsigned char unused;
};
static_assert(sizeof(nothing) == 1 && sizeof(dummy) == 1, "content-free values are one byte");

// The http address whose handler is asked for as the default web browser.
inline constexpr char cWebBrowserProbeAddress[] = "http://www.example.com/";

version VersionOfFolder(Of, folder const& bundle);
version VersionOfObject(Of, filesystem_object const& object);
version BundleVersionOfFolder(Of, folder const& bundle);
version BundleVersionOfObject(Of, filesystem_object const& object);
nothing nonexistent();
dummy nonexistent_by_name(inspector_string const& name);
inspector_string nonexistentOfDummy(Of, dummy const&);
filesystem_object DefaultWebBrowser();

inspector_string HFSPathOfObject(Of, filesystem_object const& object);
inspector_string POSIXPathOfObject(Of, filesystem_object const& object);
inspector_string AsString(filesystem_object const& object);

// Hex text (lower case) of digests of a file's contents, read in blocks.
inspector_string sha1_of_file(Of, file const& object);
inspector_string sha224_of_file(Of, file const& object);
inspector_string sha256_of_file(Of, file const& object);
inspector_string sha384_of_file(Of, file const& object);
inspector_string sha512_of_file(Of, file const& object);
inspector_string md5_of_file(Of, file const& object);
