#include "util/openssl_hash.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <utility>

#include <openssl/opensslv.h>

#include "platform/linux/shared_library.h"

namespace {

// libcrypto is opened on the first digest: most runs never take one, and
// loading it would cost every process start more than a millisecond.
struct CryptoFunctions {
    decltype(&::BIO_new) BIO_new;
    decltype(&::BIO_free) BIO_free;
    decltype(&::BIO_push) BIO_push;
    decltype(&::BIO_pop) BIO_pop;
    decltype(&::BIO_ctrl) BIO_ctrl;
    decltype(&::BIO_write) BIO_write;
    decltype(&::BIO_gets) BIO_gets;
    decltype(&::BIO_f_md) BIO_f_md;
    decltype(&::BIO_s_null) BIO_s_null;
    decltype(&::EVP_add_digest) EVP_add_digest;
    decltype(&::EVP_md5) EVP_md5;
    decltype(&::EVP_sha1) EVP_sha1;
    decltype(&::EVP_sha224) EVP_sha224;
    decltype(&::EVP_sha256) EVP_sha256;
    decltype(&::EVP_sha384) EVP_sha384;
    decltype(&::EVP_sha512) EVP_sha512;
};

#define ZOR_STRINGIFY_VALUE(x) #x
#define ZOR_STRINGIFY(x) ZOR_STRINGIFY_VALUE(x)
#define ZOR_BIND(name) library.Bind(functions.name, #name)

CryptoFunctions BindCrypto(platform::SharedLibrary const& library) {
    CryptoFunctions functions;
    ZOR_BIND(BIO_new);
    ZOR_BIND(BIO_free);
    ZOR_BIND(BIO_push);
    ZOR_BIND(BIO_pop);
    ZOR_BIND(BIO_ctrl);
    ZOR_BIND(BIO_write);
    ZOR_BIND(BIO_gets);
    ZOR_BIND(BIO_f_md);
    ZOR_BIND(BIO_s_null);
    ZOR_BIND(EVP_add_digest);
    ZOR_BIND(EVP_md5);
    ZOR_BIND(EVP_sha1);
    ZOR_BIND(EVP_sha224);
    ZOR_BIND(EVP_sha256);
    ZOR_BIND(EVP_sha384);
    ZOR_BIND(EVP_sha512);
    return functions;
}

CryptoFunctions const& Crypto() {
    static platform::SharedLibrary const library("libcrypto.so." ZOR_STRINGIFY(OPENSSL_SHLIB_VERSION));
    static CryptoFunctions const functions = BindCrypto(library);
    return functions;
}

// Freeing no BIO needs no library.
void FreeBIO(BIO* bio) {
    if (bio != nullptr)
        Crypto().BIO_free(bio);
}

} // namespace

AutoBIO& AutoBIO::operator=(AutoBIO&& other) noexcept {
    if (this != &other) {
        FreeBIO(bio_);
        bio_ = other.Release();
    }
    return *this;
}

AutoBIO::~AutoBIO() {
    FreeBIO(bio_);
}

BIO* AutoBIO::Release() {
    return std::exchange(bio_, nullptr);
}

AutoBIODeque::~AutoBIODeque() {
    Clear();
}

void AutoBIODeque::Clear() {
    while (!bios_.empty())
        PopFront();
}

void AutoBIODeque::PushBack(AutoBIO bio) {
    if (!bios_.empty())
        Crypto().BIO_push(bios_.back(), bio.Get());
    bios_.push_back(bio.Release());
}

AutoBIO AutoBIODeque::PopFront() {
    if (bios_.empty())
        return AutoBIO();
    BIO* front = bios_.front();
    bios_.pop_front();
    Crypto().BIO_pop(front);
    return AutoBIO(front);
}

AutoBIO NewBIO(BIO_METHOD const* method) {
    AutoBIO bio(Crypto().BIO_new(method));
    if (!bio.Get())
        throw NewBIOFailed();
    return bio;
}

AutoBIO NewDigestBIO(EVP_MD const* digest) {
    AutoBIO bio = NewBIO(Crypto().BIO_f_md());
    if (Crypto().BIO_ctrl(bio.Get(), BIO_C_SET_MD, 0, const_cast<EVP_MD*>(digest)) <= 0)
        throw NewDigestBIOFailed();
    return bio;
}

BIO* operator<<(BIO* bio, ConstData data) {
    unsigned char const* next = data.begin();
    std::size_t left = bio ? data.Length() : 0;
    // BIO_write takes an int count, so very large blocks go in slices.
    while (left > 0) {
        int slice = static_cast<int>(std::min<std::size_t>(left, INT_MAX));
        int written = Crypto().BIO_write(bio, next, slice);
        if (written < 1)
            throw BIOWriteFailed();
        next += written;
        left -= static_cast<std::size_t>(written);
    }
    return bio;
}

void FlushBIO(BIO* bio) {
    if (bio && Crypto().BIO_ctrl(bio, BIO_CTRL_FLUSH, 0, nullptr) < 1)
        throw FlushBIOFailed();
}

OpenSSLHashValue::OpenSSLHashValue(BIO* bio) {
    int got = bio ? Crypto().BIO_gets(bio, reinterpret_cast<char*>(buffer_), cMaxLength) : 0;
    length_ = got > 0 ? static_cast<std::size_t>(got) : 0;
}

OpenSSLHashValue::OpenSSLHashValue(ConstData bytes) {
    if (bytes.Length() > cMaxLength)
        return;
    std::copy(bytes.begin(), bytes.end(), buffer_);
    length_ = bytes.Length();
}

bool operator==(OpenSSLHashValue const& a, OpenSSLHashValue const& b) {
    return a.length_ != 0 && b.length_ != 0 && a.Bytes() == b.Bytes();
}

OpenSSLHash& OpenSSLHash::operator()(EVP_MD const* digest) {
    digest_ = digest;
    return *this;
}

void OpenSSLHash::Start() {
    chain_.Clear();
    chain_.PushBack(NewDigestBIO(digest_));
    chain_.PushBack(NewBIO(Crypto().BIO_s_null()));
}

void OpenSSLHash::Receive(ConstData data) {
    chain_.Front() << data;
}

void OpenSSLHash::ReceiveEnd() {
    FlushBIO(chain_.Front());
}

EVPInitializer& EVPInitializer::The() {
    static EVPInitializer initializer;
    return initializer;
}

EVPInitializer::~EVPInitializer() {
    EVP_cleanup();
}

namespace {

EVP_MD const* Registered(EVP_MD const* digest) {
    if (Crypto().EVP_add_digest(digest) == 0)
        throw EVP_add_digest_Failed();
    return digest;
}

} // namespace

// Each digest is registered on first use; the guarded static makes that
// happen once even with concurrent callers.
EVP_MD const* EVPInitializer::SHA1() {
    static EVP_MD const* const digest = Registered(Crypto().EVP_sha1());
    return digest;
}
EVP_MD const* EVPInitializer::MD5() {
    static EVP_MD const* const digest = Registered(Crypto().EVP_md5());
    return digest;
}
EVP_MD const* EVPInitializer::SHA224() {
    static EVP_MD const* const digest = Registered(Crypto().EVP_sha224());
    return digest;
}
EVP_MD const* EVPInitializer::SHA256() {
    static EVP_MD const* const digest = Registered(Crypto().EVP_sha256());
    return digest;
}
EVP_MD const* EVPInitializer::SHA384() {
    static EVP_MD const* const digest = Registered(Crypto().EVP_sha384());
    return digest;
}
EVP_MD const* EVPInitializer::SHA512() {
    static EVP_MD const* const digest = Registered(Crypto().EVP_sha512());
    return digest;
}
