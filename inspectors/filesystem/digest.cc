#include "evaluator/registration.h"
#include "framework/memory.h"
#include "framework/prop.h"
#include "inspectors/filesystem/filesystem.h"
#include "text/read_file.h"
#include "util/hex_encoder.h"
#include "util/openssl_hash.h"

namespace {

// Passes a stream on, giving the host a chance to stop a long read between
// blocks.
class InterruptibleReceiver : public DataReceiver {
public:
    explicit InterruptibleReceiver(DataReceiver& next) : next_(next) {}
    void Start() override { next_.Start(); }
    void Receive(ConstData data) override {
        CheckForInspectorInterruption();
        next_.Receive(data);
    }
    void ReceiveEnd() override { next_.ReceiveEnd(); }

private:
    DataReceiver& next_;
};

inspector_string HexDigest(file const& object, EVP_MD const* algorithm) {
    OpenSSLHash hash(algorithm);
    InterruptibleReceiver receiver(hash);
    ReadFile(LocationOf(object).POSIXPath(), receiver);
    OpenSSLHashValue const value = hash.Value();
    std::size_t const length = 2 * value.Length();
    auto* text = static_cast<unsigned char*>(Allocate_Inspector_Memory(length));
    ConstBuffer in(value.Bytes());
    Buffer out(Data(text, length));
    HexEncoder()(in, out);
    return {text, static_cast<std::uint32_t>(length)};
}

} // namespace

inspector_string sha1_of_file(Of, file const& object) {
    return HexDigest(object, EVPInitializer::The().SHA1());
}

inspector_string sha224_of_file(Of, file const& object) {
    return HexDigest(object, EVPInitializer::The().SHA224());
}

inspector_string sha256_of_file(Of, file const& object) {
    return HexDigest(object, EVPInitializer::The().SHA256());
}

inspector_string sha384_of_file(Of, file const& object) {
    return HexDigest(object, EVPInitializer::The().SHA384());
}

inspector_string sha512_of_file(Of, file const& object) {
    return HexDigest(object, EVPInitializer::The().SHA512());
}

inspector_string md5_of_file(Of, file const& object) {
    return HexDigest(object, EVPInitializer::The().MD5());
}

namespace {

Prop sha1OfFile("sha1", "sha1s", sha1_of_file, nullptr);
Prop sha224OfFile("sha224", "sha224s", sha224_of_file, nullptr);
Prop sha256OfFile("sha256", "sha256s", sha256_of_file, nullptr);
Prop sha384OfFile("sha384", "sha384s", sha384_of_file, nullptr);
Prop sha512OfFile("sha512", "sha512s", sha512_of_file, nullptr);
Prop md5OfFile("md5", "md5s", md5_of_file, nullptr);

} // namespace
