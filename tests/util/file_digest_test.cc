#include "util/file_digest.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tests/files/temp_tree.h"
#include "util/hex_encoder.h"

namespace {

namespace fs = std::filesystem;

struct FileDigest : ::testing::Test {
    TempTree tree_;
};

TEST_F(FileDigest, DigestsAcrossManyBlocksLikeOneShot) {
    std::string content;
    for (std::size_t i = 0; i < 3 * cFileBlockSize + 123; ++i)
        content.push_back(static_cast<char>((i * 131) >> 3));
    std::string path = tree_.Write("big", content);
    unsigned char whole[20];
    EVP_Digest(content.data(), content.size(), whole, nullptr, EVP_sha1(), nullptr);
    EXPECT_EQ(HexDigestOfFile(path, EVPInitializer::The().SHA1()), HexEncode(ConstData(whole, 20)));
}

TEST_F(FileDigest, OpenDescriptorDigestsFromItsOffset) {
    std::string path = tree_.Write("offset", "xxabc");
    AutoFD fd = OpenRegularFile(path);
    ASSERT_EQ(lseek(fd.Get(), 2, SEEK_SET), 2);
    EXPECT_EQ(HexEncode(DigestFile(fd.Get(), path, EVPInitializer::The().MD5()).Bytes()),
              "900150983cd24fb0d6963f7d28e17f72");
}

TEST_F(FileDigest, MissingFileSaysWhy) {
    EVP_MD const* sha1 = EVPInitializer::The().SHA1();
    try {
        DigestFile(tree_.Path("missing"), sha1);
        FAIL() << "no error for a missing file";
    } catch (OpenFileFailed const& e) {
        EXPECT_EQ(e.Errno(), ENOENT);
        EXPECT_NE(std::string(e.what()).find("missing"), std::string::npos);
    }
}

TEST_F(FileDigest, SpecialFilesAreRefusedWithoutBlocking) {
    EVP_MD const* sha1 = EVPInitializer::The().SHA1();
    std::string fifo = tree_.Path("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    // Without a writer, a plain open() or read() of the FIFO would wait forever.
    EXPECT_THROW(DigestFile(fifo, sha1), NotARegularFile);
    EXPECT_THROW(DigestFile(tree_.Path(), sha1), NotARegularFile);
    // Links are followed: what counts is the kind of file they lead to.
    fs::create_symlink(fifo, tree_.Path("to_fifo"));
    EXPECT_THROW(DigestFile(tree_.Path("to_fifo"), sha1), NotARegularFile);
    fs::create_symlink(tree_.Write("target", "abc"), tree_.Path("to_file"));
    EXPECT_EQ(HexEncode(DigestFile(tree_.Path("to_file"), EVPInitializer::The().MD5()).Bytes()),
              "900150983cd24fb0d6963f7d28e17f72");

    int pipeEnds[2];
    ASSERT_EQ(pipe(pipeEnds), 0);
    AutoFD readEnd(pipeEnds[0]), writeEnd(pipeEnds[1]);
    EXPECT_THROW(DigestFile(readEnd.Get(), "pipe", sha1), NotARegularFile);
}

// Changes the file under the reader after the first block arrives.
class Meddler : public DataReceiver {
public:
    Meddler(std::string path, off_t newSize) : path_(std::move(path)), newSize_(newSize) {}
    void Receive(ConstData) override {
        if (++blocks_ == 1) {
            EXPECT_EQ(truncate(path_.c_str(), newSize_), 0);
        }
    }
    void ReceiveEnd() override { ended_ = true; }
    bool ended_ = false;

private:
    std::string path_;
    off_t newSize_;
    int blocks_ = 0;
};

TEST_F(FileDigest, FileThatShrinksOrGrowsWhileReadIsAnError) {
    std::size_t const size = 4 * 4096;
    struct Case {
        off_t newSize;
        std::size_t readSize;
        bool changed;
    } const cases[] = {{4096, 4096 + 100, true}, {size + 1, 4096, true}, {size, 4096, false}};
    for (Case const& c : cases) {
        std::string path = tree_.Write("changing", std::string(size, 'a'));
        Meddler meddler(path, c.newSize);
        if (c.changed) {
            EXPECT_THROW(StreamRegularFile(path, meddler, c.readSize), FileChangedWhileRead);
        } else {
            StreamRegularFile(path, meddler, c.readSize);
        }
        EXPECT_EQ(meddler.ended_, !c.changed) << c.newSize;
    }
}

} // namespace
