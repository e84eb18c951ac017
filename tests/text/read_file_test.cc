#include "text/read_file.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "text/line_maker.h"

namespace {

namespace fs = std::filesystem;

class ReadFileTest : public ::testing::Test {
protected:
    void SetUp() override {
        folder_ = fs::temp_directory_path() / ("zor_read_file_" + std::to_string(getpid()));
        fs::create_directories(folder_);
    }
    void TearDown() override { fs::remove_all(folder_); }
    fs::path folder_;
};

TEST_F(ReadFileTest, LinesSpanningBlocksArriveWhole) {
    std::string content;
    std::vector<std::string> expected;
    for (int i = 0; i < 500; ++i) {
        expected.push_back(std::string(static_cast<std::size_t>(i % 37), 'x') + std::to_string(i));
        content += expected.back() + (i % 3 == 0 ? "\r\n" : i % 3 == 1 ? "\n" : "\r");
    }
    std::string path = (folder_ / "lines").string();
    std::ofstream(path, std::ios::binary) << content;
    for (std::size_t blockSize : {1u, 7u, 4096u}) {
        std::vector<std::string> got;
        LineMaker lines([&](ConstData line) { got.push_back(line.str()); });
        ReadFile(path, lines, blockSize);
        EXPECT_EQ(got, expected) << "block size " << blockSize;
    }
}

} // namespace
