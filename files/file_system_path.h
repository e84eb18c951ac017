// The text forms of a file URL's path.
#pragma once

#include <string>

#include "url/url.h"

enum CFURLPathStyle { kCFURLPOSIXPathStyle = 0, kCFURLHFSPathStyle = 1 };

// The name the HFS form gives the root file system, which has no name of its own.
inline constexpr char cRootVolumeName[] = "Root";

// POSIX style: the absolute path, without a trailing '/' except for the root.
// HFS style: the root volume's name, then the components, each followed by
// ':' except the last of a file (a folder's path ends with ':'); a ':' in a
// name is written '/'. "/usr/bin/" is "Root:usr:bin:", "/etc/a:b" is
// "Root:etc:a/b". Whether the URL names a folder is told by its trailing '/'.
std::string FileSystemPath(URL const& url, CFURLPathStyle style);
