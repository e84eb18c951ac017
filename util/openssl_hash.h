// Streaming message digests through OpenSSL BIO chains.
#pragma once

#include <cstddef>
#include <deque>

#include <openssl/bio.h>
#include <openssl/evp.h>

#include "evaluator/errors.h"
#include "util/receiver.h"

class NewBIOFailed : public DebuggableException {
public:
    const char* what() const noexcept override { return "NewBIOFailed"; }
};
class NewDigestBIOFailed : public DebuggableException {
public:
    const char* what() const noexcept override { return "NewDigestBIOFailed"; }
};
class BIOWriteFailed : public DebuggableException {
public:
    const char* what() const noexcept override { return "BIOWriteFailed"; }
};
class FlushBIOFailed : public DebuggableException {
public:
    const char* what() const noexcept override { return "FlushBIOFailed"; }
};
// Raised when OpenSSL refuses to register a digest.
class EVP_add_digest_Failed {};

// Owns one BIO (or none); frees it once. Assignment hands the BIO over.
class AutoBIO {
public:
    AutoBIO() = default;
    explicit AutoBIO(BIO* bio) : bio_(bio) {}
    AutoBIO(AutoBIO&& other) noexcept : bio_(other.Release()) {}
    AutoBIO& operator=(AutoBIO&& other) noexcept;
    AutoBIO(AutoBIO const&) = delete;
    AutoBIO& operator=(AutoBIO const&) = delete;
    ~AutoBIO();

    BIO* Get() const { return bio_; }
    BIO* Release();

private:
    BIO* bio_ = nullptr;
};

// Owns a chain of BIOs, front first: data written to the front flows to the back.
class AutoBIODeque {
public:
    AutoBIODeque() = default;
    AutoBIODeque(AutoBIODeque const&) = delete;
    AutoBIODeque& operator=(AutoBIODeque const&) = delete;
    ~AutoBIODeque();

    void PushBack(AutoBIO bio);
    AutoBIO PopFront();
    BIO* Front() const { return bios_.empty() ? nullptr : bios_.front(); }
    bool empty() const { return bios_.empty(); }
    std::size_t size() const { return bios_.size(); }
    void Clear();

private:
    std::deque<BIO*> bios_;
};

AutoBIO NewBIO(BIO_METHOD const* method);
AutoBIO NewDigestBIO(EVP_MD const* digest);
BIO* operator<<(BIO* bio, ConstData data);
void FlushBIO(BIO* bio);

// A digest value of up to 64 bytes; length 0 means no value.
class OpenSSLHashValue {
public:
    static constexpr std::size_t cMaxLength = 64;

    OpenSSLHashValue() = default;
    // Reads the final digest out of a digest BIO.
    explicit OpenSSLHashValue(BIO* bio);
    // Copies at most cMaxLength bytes; a longer input gives no value.
    explicit OpenSSLHashValue(ConstData bytes);

    std::size_t Length() const { return length_; }
    ConstData Bytes() const { return ConstData(buffer_, length_); }

    // Two values are equal only when both are present and identical.
    friend bool operator==(OpenSSLHashValue const& a, OpenSSLHashValue const& b);

private:
    unsigned char buffer_[cMaxLength] = {};
    std::size_t length_ = 0;
};

// Digests the bytes it receives with the algorithm set by operator().
class OpenSSLHash : public DataReceiver {
public:
    OpenSSLHash() = default;
    explicit OpenSSLHash(EVP_MD const* digest) : digest_(digest) {}

    OpenSSLHash& operator()(EVP_MD const* digest);

    void Start() override;
    void Receive(ConstData data) override;
    void ReceiveEnd() override;

    BIO* Bio() const { return chain_.Front(); }
    OpenSSLHashValue Value() const { return OpenSSLHashValue(Bio()); }

private:
    EVP_MD const* digest_ = nullptr;
    AutoBIODeque chain_;
};

// Registers the digests with OpenSSL once per process and releases OpenSSL's
// tables when the process ends.
class EVPInitializer {
public:
    static EVPInitializer& The();

    EVP_MD const* SHA1();
    EVP_MD const* MD5();
    EVP_MD const* SHA224();
    EVP_MD const* SHA256();
    EVP_MD const* SHA384();
    EVP_MD const* SHA512();

    EVPInitializer(EVPInitializer const&) = delete;
    EVPInitializer& operator=(EVPInitializer const&) = delete;

private:
    EVPInitializer() = default;
    ~EVPInitializer();
};
