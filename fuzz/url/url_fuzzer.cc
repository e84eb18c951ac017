// Parses arbitrary text as a URL reference and checks the parser's promises:
// recomposed text parses back to the same components, resolution against a
// base always gives a valid URL, and decoding either succeeds or reports a
// malformed escape.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "fuzz/require.h"
#include "url/file_url.h"
#include "url/url.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string_view text(reinterpret_cast<char const*>(data), size);
    try {
        URLDecoder()(text);
    } catch (MalformedPercentEscape const&) {
    }
    URLInfo info;
    try {
        info = URLInfo::Parse(text);
    } catch (MalformedURL const&) {
        return 0;
    }
    std::string again = info.ToString();
    Require(URLInfo::Parse(again) == info);
    Require(URLInfo::Parse(again).ToString() == again);

    static URL const base = URL::Parse("http://user@host:8080/a/b/c;p?q#f");
    URL resolved = base.Resolve(info);
    Require(URL::Parse(resolved.Text()) == resolved);
    if (!info.IsRelative()) {
        URL url(info);
        try {
            std::string path = ResolveFileURL(url);
            Require(path.starts_with('/'));
        } catch (NotALocalFileURL const&) {
        }
    }
    return 0;
}
