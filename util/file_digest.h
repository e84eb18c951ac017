// Digests of whole files, read in blocks so that any size takes constant memory.
#pragma once

#include <string>

#include "util/file_stream.h"
#include "util/openssl_hash.h"

// The digest of the regular file at `path`; raises the file_stream errors for
// files that cannot be read, are not regular, or change while being read.
OpenSSLHashValue DigestFile(std::string const& path, EVP_MD const* digest);

// The digest of the open regular file `fd` from its current offset on.
OpenSSLHashValue DigestFile(int fd, std::string const& name, EVP_MD const* digest);

// The digest of a whole file as lower-case hex text.
std::string HexDigestOfFile(std::string const& path, EVP_MD const* digest);
