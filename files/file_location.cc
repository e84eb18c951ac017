#include "files/file_location.h"

#include <vector>

#include "evaluator/errors.h"
#include "url/file_url.h"
#include "url/url_builder.h"

namespace MacintoshPlatform {

namespace {

bool IsComponent(std::string_view name) {
    return !name.empty() && name != "." && name != ".." &&
           name.find_first_of(std::string_view("/\0", 2)) == std::string_view::npos;
}

// Joins the components of `path` after resolving "." and ".." lexically.
std::string Normalise(std::string_view path) {
    std::vector<std::string_view> parts;
    std::size_t start = 0;
    while (start <= path.size()) {
        std::size_t end = path.find('/', start);
        if (end == std::string_view::npos) {
            end = path.size();
        }
        std::string_view part = path.substr(start, end - start);
        if (part == "..") {
            if (!parts.empty()) {
                parts.pop_back();
            }
        } else if (!part.empty() && part != ".") {
            parts.push_back(part);
        }
        start = end + 1;
    }
    std::string normal;
    for (std::string_view part : parts) {
        normal.append("/").append(part);
    }
    return normal.empty() ? "/" : normal;
}

} // namespace

BadFileName::BadFileName(std::string_view name)
    : ExceptionPL("not a valid file name: \"" + std::string(name) + "\"") {}

FileLocation::FileLocation(std::string_view path) {
    if (path.empty() || path.find('\0') != std::string_view::npos) {
        throw BadFileName(path);
    }
    path_ = path.front() == '/' ? Normalise(path)
                                : Normalise(platform::CurrentFolder() + "/" + std::string(path));
}

std::string_view FileLocation::Name() const {
    if (IsRoot()) {
        return path_;
    }
    return std::string_view(path_).substr(path_.rfind('/') + 1);
}

FileLocation FileLocation::Parent() const {
    std::size_t slash = path_.rfind('/');
    return FileLocation(Normal{}, slash == 0 ? "/" : path_.substr(0, slash));
}

FileLocation FileLocation::Child(std::string_view name) const {
    if (!IsComponent(name)) {
        throw BadFileName(name);
    }
    return FileLocation(Normal{}, (IsRoot() ? "" : path_) + "/" + std::string(name));
}

FileLocation MakeFileLocation(std::string_view path) {
    return FileLocation(path);
}

FileLocation MakeFileLocation(URL const& url) {
    return FileLocation(ResolveFileURL(url));
}

FileItem::FileItem(FileLocation location) : location_(std::move(location)) {
    auto status = platform::StatPath(location_.POSIXPath());
    if (!status) {
        throw NoSuchObject();
    }
    status_ = *status;
}

URL FileItem::GetURL() const {
    std::string const& path = location_.POSIXPath();
    return FileURL(IsDirectory() && !location_.IsRoot() ? path + "/" : path);
}

} // namespace MacintoshPlatform
