#include "util/openssl_hash.h"

#include <string>

#include <gtest/gtest.h>

#include "util/hex_encoder.h"

namespace {

std::string HexOf(OpenSSLHash& hash, std::initializer_list<std::string_view> blocks) {
    hash.Start();
    for (std::string_view block : blocks)
        hash.Receive(block);
    hash.ReceiveEnd();
    return HexEncode(hash.Value().Bytes());
}

// The digests of every algorithm are seen end to end; these are the ways
// of feeding one.
TEST(OpenSSLHash, BlocksRestartsAndSwitchedAlgorithms) {
    OpenSSLHash hash(EVPInitializer::The().MD5());
    EXPECT_EQ(hash.Bio(), nullptr);
    HexOf(hash, {"something else"});
    EXPECT_EQ(HexOf(hash, {"abc"}), "900150983cd24fb0d6963f7d28e17f72") << "restarts afresh";
    EXPECT_EQ(HexOf(hash, {"a", "", "b", "", "c"}), "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_EQ(HexOf(hash(EVPInitializer::The().SHA1()), {"abc"}).size(), 40u);
    // A null sink at the end: nothing in the chain holds the stream.
    EXPECT_EQ(BIO_method_type(hash.Bio()), BIO_TYPE_MD);
    ASSERT_NE(BIO_next(hash.Bio()), nullptr);
    EXPECT_EQ(BIO_method_type(BIO_next(hash.Bio())), BIO_TYPE_NULL);

    OpenSSLHash none;
    EXPECT_THROW(none.Start(), NewDigestBIOFailed);
    EXPECT_THROW(NewDigestBIO(nullptr), NewDigestBIOFailed);
}

TEST(OpenSSLHashValue, EqualityNeedsTwoPresentIdenticalValues) {
    std::string const bytes(65, 'x');
    auto value = [&bytes](std::size_t length) {
        return OpenSSLHashValue(ConstData(std::string_view(bytes).substr(0, length)));
    };
    EXPECT_EQ(value(64).Length(), 64u);
    EXPECT_TRUE(value(64) == value(64));
    EXPECT_FALSE(value(64) == value(63));
    EXPECT_FALSE(OpenSSLHashValue(ConstData("abd")) == OpenSSLHashValue(ConstData("abc")));
    // No value (none, or too long to be a digest) equals nothing, not even itself.
    for (OpenSSLHashValue const& absent :
         {value(0), value(65), OpenSSLHashValue(static_cast<BIO*>(nullptr))}) {
        EXPECT_EQ(absent.Length(), 0u);
        EXPECT_FALSE(absent == absent);
    }
}

TEST(AutoBIO, HandsOverOnMoveAndFreesOnce) {
    AutoBIO a = NewBIO(BIO_s_mem());
    BIO* raw = a.Get();
    AutoBIO b;
    b = std::move(a);
    AutoBIO c(std::move(b));
    EXPECT_TRUE(a.Get() == nullptr && b.Get() == nullptr && c.Get() == raw);
    c = NewBIO(BIO_s_null()); // frees the memory BIO; the sanitizer build checks for leaks
    EXPECT_NE(c.Get(), nullptr);
}

TEST(AutoBIODeque, PushBackChainsAndPopFrontDetaches) {
    AutoBIODeque chain;
    EXPECT_EQ(chain.Front(), nullptr);
    EXPECT_EQ(chain.PopFront().Get(), nullptr);
    chain.PushBack(NewDigestBIO(EVPInitializer::The().SHA1()));
    chain.PushBack(NewBIO(BIO_s_mem()));
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

TEST(BIOHelpers, NullBIOAndEmptyDataAreNoOpsAndAFailedWriteRaises) {
    BIO* none = nullptr;
    EXPECT_NO_THROW(none << ConstData("data"));
    EXPECT_NO_THROW(FlushBIO(nullptr));
    AutoBIO memory = NewBIO(BIO_s_mem());
    memory.Get() << ConstData();
    EXPECT_EQ(BIO_ctrl_pending(memory.Get()), 0u);
    // A memory BIO over read-only bytes refuses writes.
    static char const fixed[] = "fixed";
    AutoBIO readOnly(BIO_new_mem_buf(fixed, sizeof fixed));
    EXPECT_THROW(readOnly.Get() << ConstData("more"), BIOWriteFailed);
}

} // namespace
