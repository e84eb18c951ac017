#include "files/file_system_path.h"

#include <algorithm>

#include "files/file_location.h"

namespace {

std::string HFSPath(std::string const& posix, bool folder) {
    std::string hfs = cRootVolumeName;
    std::size_t start = 1;
    while (start < posix.size()) {
        std::size_t end = std::min(posix.find('/', start), posix.size());
        std::string name = posix.substr(start, end - start);
        std::replace(name.begin(), name.end(), ':', '/');
        hfs += ':' + name;
        start = end + 1;
    }
    if (folder || posix == "/") {
        hfs += ':';
    }
    return hfs;
}

} // namespace

std::string FileSystemPath(URL const& url, CFURLPathStyle style) {
    std::string posix = MacintoshPlatform::MakeFileLocation(url).POSIXPath();
    if (style == kCFURLPOSIXPathStyle) {
        return posix;
    }
    std::string const& encoded = url.EncodedPath();
    return HFSPath(posix, !encoded.empty() && encoded.back() == '/');
}
