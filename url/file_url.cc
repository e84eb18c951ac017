#include "url/file_url.h"

NotALocalFileURL::NotALocalFileURL(std::string const& reason, std::string const& url)
    : ExceptionPL(reason + ": \"" + url + "\"") {}

std::string ResolveFileURL(URL const& url) {
    URLInfo const& info = url.Info();
    if (info.scheme != "file")
        throw NotALocalFileURL("not a file URL", url.Text());
    if (!info.host.empty() && info.host != "localhost")
        throw NotALocalFileURL("file URL on another host", url.Text());
    if (info.userInfo || info.port)
        throw NotALocalFileURL("file URL with user or port", url.Text());
    if (info.query)
        throw NotALocalFileURL("file URL with a query", url.Text());
    URLPath path = url.Path().WithoutDotSegments();
    if (!path.IsAbsolute())
        throw NotALocalFileURL("file URL without an absolute path", url.Text());
    std::string out;
    for (std::string const& segment : path.Segments()) {
        if (segment.find_first_of(std::string_view("/\0", 2)) != std::string::npos)
            throw NotALocalFileURL("file URL with an escaped '/' or NUL", url.Text());
        out += "/" + segment;
    }
    return out.empty() ? "/" : out;
}

std::string ResolveFileURL(std::string_view url) {
    return ResolveFileURL(URL::Parse(url));
}
