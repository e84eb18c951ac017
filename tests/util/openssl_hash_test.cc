#include "util/openssl_hash.h"

#include <string>

#include <gtest/gtest.h>

#include "util/hex_encoder.h"

namespace {

std::string HexOf(EVP_MD const* digest, std::initializer_list<std::string_view> blocks) {
    OpenSSLHash hash(digest);
    hash.Start();
    for (std::string_view block : blocks)
        hash.Receive(block);
    hash.ReceiveEnd();
    return HexEncode(hash.Value().Bytes());
}

// The digests of every algorithm are seen end to end.
TEST(OpenSSLHash, BlocksAndEmptyBlocksDigestLikeTheWhole) {
    EVP_MD const* sha1 = EVPInitializer::The().SHA1();
    EXPECT_EQ(HexOf(sha1, {"a", "", "b", "", "c"}), HexOf(sha1, {"abc"}));
    EXPECT_NE(HexOf(sha1, {"ab"}), HexOf(sha1, {"abc"}));
}

TEST(OpenSSLHash, RestartingDigestsAfresh) {
    OpenSSLHash hash(EVPInitializer::The().MD5());
    hash.Start();
    hash.Receive("something else");
    hash.ReceiveEnd();
    hash.Start();
    hash.Receive("abc");
    hash.ReceiveEnd();
    EXPECT_EQ(HexEncode(hash.Value().Bytes()), "900150983cd24fb0d6963f7d28e17f72");
    // The algorithm can be switched between runs.
    hash(EVPInitializer::The().SHA1()).Start();
    hash.Receive("abc");
    hash.ReceiveEnd();
    EXPECT_EQ(hash.Value().Length(), 20u);
}

// A null sink at the end: nothing in the chain holds the stream.
TEST(OpenSSLHash, ChainIsDigestThenNullSink) {
    OpenSSLHash hash(EVPInitializer::The().SHA1());
    EXPECT_EQ(hash.Bio(), nullptr);
    hash.Start();
    ASSERT_NE(hash.Bio(), nullptr);
    EXPECT_EQ(BIO_method_type(hash.Bio()), BIO_TYPE_MD);
    ASSERT_NE(BIO_next(hash.Bio()), nullptr);
    EXPECT_EQ(BIO_method_type(BIO_next(hash.Bio())), BIO_TYPE_NULL);
}

TEST(OpenSSLHash, WithoutAlgorithmStartFails) {
    OpenSSLHash hash;
    EXPECT_THROW(hash.Start(), NewDigestBIOFailed);
    EXPECT_THROW(NewDigestBIO(nullptr), NewDigestBIOFailed);
}

TEST(OpenSSLHashValue, EqualityNeedsTwoPresentIdenticalValues) {
    std::string const bytes64(64, 'x');
    OpenSSLHashValue a{ConstData(bytes64)};
    OpenSSLHashValue b{ConstData(bytes64)};
    EXPECT_EQ(a.Length(), 64u);
    EXPECT_TRUE(a == b);
    EXPECT_FALSE(a == OpenSSLHashValue(ConstData(std::string_view(bytes64).substr(0, 63))));
    EXPECT_FALSE(OpenSSLHashValue(ConstData("abd")) == OpenSSLHashValue(ConstData("abc")));

    OpenSSLHashValue emptyA{ConstData("")};
    OpenSSLHashValue emptyB{ConstData("")};
    EXPECT_EQ(emptyA.Length(), 0u);
    EXPECT_FALSE(emptyA == emptyB);
    EXPECT_FALSE(emptyA == emptyA);

    std::string const bytes65(65, 'x');
    OpenSSLHashValue tooLong{ConstData(bytes65)};
    EXPECT_EQ(tooLong.Length(), 0u);
    EXPECT_FALSE(tooLong == tooLong);
    EXPECT_EQ(OpenSSLHashValue(static_cast<BIO*>(nullptr)).Length(), 0u);
}

TEST(AutoBIO, HandsOverOnMoveAndFreesOnce) {
    AutoBIO a = NewBIO(BIO_s_mem());
    BIO* raw = a.Get();
    AutoBIO b;
    b = std::move(a);
    EXPECT_EQ(a.Get(), nullptr);
    EXPECT_EQ(b.Get(), raw);
    AutoBIO c(std::move(b));
    EXPECT_EQ(b.Get(), nullptr);
    EXPECT_EQ(c.Get(), raw);
    c = NewBIO(BIO_s_null()); // frees the memory BIO; the sanitizer build checks for leaks
    EXPECT_NE(c.Get(), nullptr);
}

TEST(AutoBIODeque, PushBackChainsAndPopFrontDetaches) {
    AutoBIODeque chain;
    EXPECT_EQ(chain.Front(), nullptr);
    EXPECT_EQ(chain.PopFront().Get(), nullptr);
    chain.PushBack(NewDigestBIO(EVPInitializer::The().SHA1()));
    chain.PushBack(NewBIO(BIO_s_mem()));
    ASSERT_EQ(chain.size(), 2u);
    BIO* memory = BIO_next(chain.Front());
    ASSERT_NE(memory, nullptr);

    // Bytes written at the front pass through the digest into the memory BIO.
    chain.Front() << ConstData("hello");
    FlushBIO(chain.Front());
    char* stored = nullptr;
    long length = BIO_get_mem_data(memory, &stored);
    EXPECT_EQ(std::string(stored, static_cast<std::size_t>(length)), "hello");

    AutoBIO digest = chain.PopFront();
    EXPECT_EQ(BIO_next(digest.Get()), nullptr);
    EXPECT_EQ(chain.Front(), memory);
    EXPECT_EQ(chain.size(), 1u);
}

TEST(BIOHelpers, NullBIOAndEmptyDataAreNoOps) {
    BIO* none = nullptr;
    EXPECT_NO_THROW(none << ConstData("data"));
    EXPECT_NO_THROW(FlushBIO(nullptr));
    AutoBIO memory = NewBIO(BIO_s_mem());
    memory.Get() << ConstData();
    EXPECT_EQ(BIO_ctrl_pending(memory.Get()), 0u);
}

TEST(BIOHelpers, FailedWriteRaises) {
    // A memory BIO over read-only bytes refuses writes.
    static char const fixed[] = "fixed";
    AutoBIO readOnly(BIO_new_mem_buf(fixed, sizeof fixed));
    EXPECT_THROW(readOnly.Get() << ConstData("more"), BIOWriteFailed);
}

} // namespace
