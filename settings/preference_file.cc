#include "settings/preference_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string_view>
#include <system_error>

namespace {

constexpr std::string_view kTemporaryInfix = ".tmp.";
constexpr mode_t kNewFileMode = 0600;

[[noreturn]] void Fail(std::string_view what, std::filesystem::path const& file, int error) {
    throw PreferenceFileError(std::string(what) + " " + file.string() + ": " +
                              std::strerror(error));
}

// Closes a descriptor once.
class AutoDescriptor {
public:
    explicit AutoDescriptor(int descriptor) : descriptor_(descriptor) {}
    AutoDescriptor(AutoDescriptor const&) = delete;
    AutoDescriptor& operator=(AutoDescriptor const&) = delete;
    ~AutoDescriptor() {
        if (descriptor_ >= 0) {
            ::close(descriptor_);
        }
    }
    int Get() const { return descriptor_; }
    // Closes now so that a failing close is seen (it can report a lost write).
    int Close() {
        int result = ::close(descriptor_);
        descriptor_ = -1;
        return result;
    }

private:
    int descriptor_;
};

int OpenOrFail(std::filesystem::path const& file, int flags, mode_t mode = 0) {
    int descriptor;
    do {
        descriptor = ::open(file.c_str(), flags | O_CLOEXEC, mode);
    } while (descriptor < 0 && errno == EINTR);
    if (descriptor < 0) {
        Fail("cannot open", file, errno);
    }
    return descriptor;
}

void WriteAll(int descriptor, std::string const& bytes, std::filesystem::path const& file) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        ssize_t written = ::write(descriptor, bytes.data() + done, bytes.size() - done);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written < 0) {
            Fail("cannot write", file, errno);
        }
        done += static_cast<std::size_t>(written);
    }
}

void SyncOrFail(int descriptor, std::filesystem::path const& file) {
    if (::fsync(descriptor) != 0) {
        Fail("cannot sync", file, errno);
    }
}

std::filesystem::path FolderOf(std::filesystem::path const& file) {
    return file.has_parent_path() ? file.parent_path() : std::filesystem::path(".");
}

void CreateFolder(std::filesystem::path const& folder) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) {
        Fail("cannot create folder", folder, error.value());
    }
}

mode_t ModeForReplacement(std::filesystem::path const& file) {
    struct stat status {};
    return ::stat(file.c_str(), &status) == 0 ? (status.st_mode & 07777) : kNewFileMode;
}

// Writes a temporary file beside file and returns its name.
std::filesystem::path WriteTemporary(std::filesystem::path const& file, std::string const& bytes) {
    std::string pattern = file.string() + std::string(kTemporaryInfix) + "XXXXXX";
    AutoDescriptor descriptor(::mkostemp(pattern.data(), O_CLOEXEC));
    std::filesystem::path temporary(pattern);
    if (descriptor.Get() < 0) {
        Fail("cannot create a temporary file for", file, errno);
    }
    try {
        if (::fchmod(descriptor.Get(), ModeForReplacement(file)) != 0) {
            Fail("cannot set the permissions of", temporary, errno);
        }
        WriteAll(descriptor.Get(), bytes, temporary);
        SyncOrFail(descriptor.Get(), temporary);
        if (descriptor.Close() != 0) {
            Fail("cannot close", temporary, errno);
        }
    } catch (PreferenceFileError const&) {
        ::unlink(temporary.c_str());
        throw;
    }
    return temporary;
}

} // namespace

bool operator==(FileIdentity const& a, FileIdentity const& b) {
    return a.exists == b.exists && a.device == b.device && a.inode == b.inode && a.size == b.size &&
           a.modified.tv_sec == b.modified.tv_sec && a.modified.tv_nsec == b.modified.tv_nsec;
}

FileIdentity IdentityOf(std::filesystem::path const& file) {
    struct stat status {};
    if (::stat(file.c_str(), &status) != 0) {
        return {};
    }
    return {true, status.st_dev, status.st_ino, status.st_size, status.st_mtim};
}

std::optional<std::string> ReadFileIfPresent(std::filesystem::path const& file) {
    int descriptor = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0 && errno == ENOENT) {
        return std::nullopt;
    }
    if (descriptor < 0) {
        Fail("cannot open", file, errno);
    }
    AutoDescriptor owner(descriptor);
    std::string bytes;
    struct stat status {};
    if (::fstat(descriptor, &status) == 0 && status.st_size > 0) {
        bytes.reserve(static_cast<std::size_t>(status.st_size));
    }
    char block[65536];
    for (;;) {
        ssize_t count = ::read(descriptor, block, sizeof block);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            Fail("cannot read", file, errno);
        }
        if (count == 0) {
            return bytes;
        }
        bytes.append(block, static_cast<std::size_t>(count));
    }
}

void WriteFileAtomically(std::filesystem::path const& file, std::string const& bytes) {
    std::filesystem::path folder = FolderOf(file);
    CreateFolder(folder);
    std::filesystem::path temporary = WriteTemporary(file, bytes);
    if (::rename(temporary.c_str(), file.c_str()) != 0) {
        int error = errno;
        ::unlink(temporary.c_str());
        Fail("cannot replace", file, error);
    }
    AutoDescriptor folderDescriptor(OpenOrFail(folder, O_RDONLY | O_DIRECTORY));
    SyncOrFail(folderDescriptor.Get(), folder);
}

void RemoveStaleTemporaries(std::filesystem::path const& file) {
    std::string prefix = file.filename().string() + std::string(kTemporaryInfix);
    std::error_code error;
    for (auto const& entry : std::filesystem::directory_iterator(FolderOf(file), error)) {
        if (entry.path().filename().string().starts_with(prefix)) {
            std::filesystem::remove(entry.path(), error);
        }
    }
}

std::filesystem::path KeepAside(std::filesystem::path const& file) {
    for (int number = 1;; ++number) {
        std::filesystem::path aside = file.string() + ".unreadable." + std::to_string(number);
        if (::link(file.c_str(), aside.c_str()) == 0) {
            return aside;
        }
        if (errno != EEXIST) {
            Fail("cannot keep aside", file, errno);
        }
    }
}

FileLock::FileLock(std::filesystem::path const& file) {
    std::filesystem::path lockFile = file.string() + ".lock";
    CreateFolder(FolderOf(lockFile));
    descriptor_ = OpenOrFail(lockFile, O_RDWR | O_CREAT, 0644);
    while (::flock(descriptor_, LOCK_EX) != 0) {
        if (errno != EINTR) {
            int error = errno;
            ::close(descriptor_);
            Fail("cannot lock", lockFile, error);
        }
    }
}

FileLock::~FileLock() {
    ::close(descriptor_);
}
