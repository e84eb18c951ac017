#include "util/openssl_hash.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <utility>

AutoBIO& AutoBIO::operator=(AutoBIO&& other) noexcept {
    if (this != &other) {
        BIO_free(bio_);
        bio_ = other.Release();
    }
    return *this;
}

AutoBIO::~AutoBIO() {
    BIO_free(bio_);
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
        BIO_push(bios_.back(), bio.Get());
    bios_.push_back(bio.Release());
}

AutoBIO AutoBIODeque::PopFront() {
    if (bios_.empty())
        return AutoBIO();
    BIO* front = bios_.front();
    bios_.pop_front();
    BIO_pop(front);
    return AutoBIO(front);
}

AutoBIO NewBIO(BIO_METHOD const* method) {
    AutoBIO bio(BIO_new(method));
    if (!bio.Get())
        throw NewBIOFailed();
    return bio;
}

AutoBIO NewDigestBIO(EVP_MD const* digest) {
    AutoBIO bio = NewBIO(BIO_f_md());
    if (BIO_ctrl(bio.Get(), BIO_C_SET_MD, 0, const_cast<EVP_MD*>(digest)) <= 0)
        throw NewDigestBIOFailed();
    return bio;
}

BIO* operator<<(BIO* bio, ConstData data) {
    unsigned char const* next = data.begin();
    std::size_t left = bio ? data.Length() : 0;
    // BIO_write takes an int count, so very large blocks go in slices.
    while (left > 0) {
        int slice = static_cast<int>(std::min<std::size_t>(left, INT_MAX));
        int written = BIO_write(bio, next, slice);
        if (written < 1)
            throw BIOWriteFailed();
        next += written;
        left -= static_cast<std::size_t>(written);
    }
    return bio;
}

void FlushBIO(BIO* bio) {
    if (bio && BIO_ctrl(bio, BIO_CTRL_FLUSH, 0, nullptr) < 1)
        throw FlushBIOFailed();
}

OpenSSLHashValue::OpenSSLHashValue(BIO* bio) {
    int got = bio ? BIO_gets(bio, reinterpret_cast<char*>(buffer_), cMaxLength) : 0;
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
    chain_.PushBack(NewBIO(BIO_s_null()));
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
    if (EVP_add_digest(digest) == 0)
        throw EVP_add_digest_Failed();
    return digest;
}

} // namespace

// Each digest is registered on first use; the guarded static makes that
// happen once even with concurrent callers.
EVP_MD const* EVPInitializer::SHA1() {
    static EVP_MD const* const digest = Registered(EVP_sha1());
    return digest;
}
EVP_MD const* EVPInitializer::MD5() {
    static EVP_MD const* const digest = Registered(EVP_md5());
    return digest;
}
EVP_MD const* EVPInitializer::SHA224() {
    static EVP_MD const* const digest = Registered(EVP_sha224());
    return digest;
}
EVP_MD const* EVPInitializer::SHA256() {
    static EVP_MD const* const digest = Registered(EVP_sha256());
    return digest;
}
EVP_MD const* EVPInitializer::SHA384() {
    static EVP_MD const* const digest = Registered(EVP_sha384());
    return digest;
}
EVP_MD const* EVPInitializer::SHA512() {
    static EVP_MD const* const digest = Registered(EVP_sha512());
    return digest;
}
