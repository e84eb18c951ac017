// A scratch folder for file-system tests, removed with everything in it.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <sys/stat.h>

class TempTree {
public:
    explicit TempTree(std::filesystem::path const& base = std::filesystem::temp_directory_path()) {
        std::string pattern = (base / "zor_files_XXXXXX").string();
        if (!mkdtemp(pattern.data())) {
            throw std::runtime_error("cannot make a scratch folder");
        }
        root_ = pattern;
        // Other users (a test that drops its privileges) may walk it.
        std::filesystem::permissions(root_, std::filesystem::perms(0755));
    }
    ~TempTree() {
        std::error_code ignored;
        std::filesystem::remove_all(root_, ignored);
    }
    TempTree(TempTree const&) = delete;
    TempTree& operator=(TempTree const&) = delete;

    std::string Path(std::string_view relative = {}) const {
        return relative.empty() ? root_.string() : (root_ / relative).string();
    }

    // Writes a file, making the folders on its way.
    std::string Write(std::string_view relative, std::string_view content) const {
        std::filesystem::path path = root_ / relative;
        std::filesystem::create_directories(path.parent_path());
        std::ofstream(path, std::ios::binary | std::ios::trunc)
            .write(content.data(), static_cast<std::streamsize>(content.size()));
        return path.string();
    }

    std::string Folder(std::string_view relative) const {
        std::filesystem::path path = root_ / relative;
        std::filesystem::create_directories(path);
        return path.string();
    }

private:
    std::filesystem::path root_;
};
