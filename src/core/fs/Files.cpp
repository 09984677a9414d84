#include "core/fs/Files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <string>
#include <system_error>
#include <utility>

namespace zel::fs {
namespace {

class FileDescriptor {
  public:
    explicit FileDescriptor(int fd) : fd_(fd) {}
    ~FileDescriptor() {
        if (fd_ >= 0) ::close(fd_);
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    int get() const { return fd_; }
    bool close() {
        const int fd = std::exchange(fd_, -1);
        return ::close(fd) == 0;
    }

  private:
    int fd_;
};

// O_EXCL on a fresh name, not mkstemp: the new file then gets the mode that the umask allows, like any other
// file the program writes, instead of mkstemp's 0600.
FileDescriptor createTemporaryBeside(const std::filesystem::path& target, std::filesystem::path& temporary) {
    static std::atomic<unsigned> counter{0};
    for (int attempt = 0; attempt < 100; ++attempt) {
        temporary = target;
        temporary += "." + std::to_string(::getpid()) + "." + std::to_string(counter++) + ".tmp";
        const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd >= 0 || errno != EEXIST) return FileDescriptor(fd);
    }
    return FileDescriptor(-1);
}

void syncDirectory(const std::filesystem::path& directory) {
    // Makes the rename itself durable; a file system that cannot sync directories loses only that guarantee.
    FileDescriptor fd(
        ::open(directory.empty() ? "." : directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (fd.get() >= 0) ::fsync(fd.get());
}

}  // namespace

std::optional<std::string> readFile(const std::filesystem::path& path) {
    FileDescriptor fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (fd.get() < 0) return std::nullopt;
    struct stat info {};
    if (::fstat(fd.get(), &info) != 0 || !S_ISREG(info.st_mode)) return std::nullopt;
    std::string contents;
    char buffer[64 * 1024];
    for (;;) {
        const ssize_t n = ::read(fd.get(), buffer, sizeof buffer);
        if (n < 0) {
            if (errno == EINTR) continue;
            return std::nullopt;
        }
        if (n == 0) break;
        contents.append(buffer, static_cast<std::size_t>(n));
    }
    return contents;
}

bool writeFileAtomically(const std::filesystem::path& path, std::string_view contents) {
    if (path.empty() || !path.has_filename()) return false;
    const std::filesystem::path directory = path.parent_path();
    if (!directory.empty()) {
        std::error_code ec;
        std::filesystem::create_directories(directory, ec);
        if (ec) return false;
    }
    std::filesystem::path temporary;
    FileDescriptor fd = createTemporaryBeside(path, temporary);
    if (fd.get() < 0) return false;
    const bool written = writeAll(fd.get(), contents) && ::fsync(fd.get()) == 0;
    const bool closed = fd.close();
    if (!written || !closed || ::rename(temporary.c_str(), path.c_str()) != 0) {
        ::unlink(temporary.c_str());
        return false;
    }
    syncDirectory(directory);
    return true;
}

bool writeAll(int fd, std::string_view contents) {
    while (!contents.empty()) {
        const ssize_t n = ::write(fd, contents.data(), contents.size());
        if (n < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        contents.remove_prefix(static_cast<std::size_t>(n));
    }
    return true;
}

}  // namespace zel::fs
