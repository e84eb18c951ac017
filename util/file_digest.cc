#include "util/file_digest.h"

#include "util/hex_encoder.h"

OpenSSLHashValue DigestFile(std::string const& path, EVP_MD const* digest) {
    AutoFD fd = OpenRegularFile(path);
    return DigestFile(fd.Get(), path, digest);
}

OpenSSLHashValue DigestFile(int fd, std::string const& name, EVP_MD const* digest) {
    OpenSSLHash hash(digest);
    StreamRegularFile(fd, name, hash);
    return hash.Value();
}

std::string HexDigestOfFile(std::string const& path, EVP_MD const* digest) {
    return HexEncode(DigestFile(path, digest).Bytes());
}
