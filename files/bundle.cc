#include "files/bundle.h"

#include "files/mac_version.h"
#include "text/read_file.h"

namespace {

// Collects a whole stream, refusing to grow past a limit.
class BoundedCollector : public DataReceiver {
public:
    BoundedCollector(std::string const& path, std::size_t limit) : path_(path), limit_(limit) {}

    void Receive(ConstData data) override {
        if (data.Length() > limit_ - bytes_.size()) {
            throw InfoPlistTooLarge(path_, limit_);
        }
        bytes_.append(data.view());
    }
    std::string const& Bytes() const { return bytes_; }

private:
    std::string const& path_;
    std::size_t limit_;
    std::string bytes_;
};

} // namespace

InfoPlistTooLarge::InfoPlistTooLarge(std::string const& path, std::size_t limit)
    : ExceptionPL(path + " is larger than " + std::to_string(limit) +
                  " bytes, too large for a property list") {}

OSXDictionary ReadPropertyListFile(std::string const& path, std::size_t limit) {
    if (!platform::StatPath(path)) {
        return {};
    }
    BoundedCollector collector(path, limit);
    ReadFile(path, collector);
    return ParsePropertyListDictionary(ConstData(std::string_view(collector.Bytes())))
        .value_or(OSXDictionary());
}

Bundle::Bundle(MacintoshPlatform::FileLocation const& folder)
    : info_(ReadPropertyListFile(folder.Child("Contents").Child("Info.plist").POSIXPath(),
                                 cMaxInfoPlistSize)) {}

std::uint32_t Bundle::VersionNumber() const {
    DictionaryValue const* value = info_.Find("CFBundleVersion");
    if (!value) {
        return 0;
    }
    switch (value->kind) {
    case DictionaryValue::Kind::String:
        return VersionNumberFromString(value->text);
    case DictionaryValue::Kind::Integer:
        return static_cast<std::uint32_t>(value->integer);
    default:
        return 0;
    }
}

Bundle MakeBundle(MacintoshPlatform::FileLocation const& folder) {
    return Bundle(folder);
}

Bundle MakeBundle(URL const& url) {
    return Bundle(MacintoshPlatform::MakeFileLocation(url));
}
