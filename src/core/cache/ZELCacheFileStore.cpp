#include "core/cache/ZELCacheFileStore.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <string>
#include <system_error>
#include <utility>

namespace zel {
namespace {

bool writeAll(int fd, std::string_view data) {
    while (!data.empty()) {
        const ssize_t n = ::write(fd, data.data(), data.size());
        if (n < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        data.remove_prefix(static_cast<std::size_t>(n));
    }
    return true;
}

}  // namespace

ZELCacheFileStore::ZELCacheFileStore(std::filesystem::path basePath)
    : base_(std::move(basePath)), staging_(base_ / ".incoming") {}

bool ZELCacheFileStore::writeFile(const std::filesystem::path& target, std::string_view data) const {
    static std::atomic<unsigned> counter{0};
    std::error_code ec;
    std::filesystem::create_directories(target.parent_path(), ec);
    if (ec) return false;
    std::filesystem::create_directories(staging_, ec);
    if (ec) return false;

    const std::filesystem::path temporary =
        staging_ / (std::to_string(::getpid()) + "-" + std::to_string(counter++));
    const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (fd < 0) return false;
    const bool written = writeAll(fd, data);
    const bool closed = ::close(fd) == 0;
    if (!written || !closed || ::rename(temporary.c_str(), target.c_str()) != 0) {
        ::unlink(temporary.c_str());
        return false;
    }
    return true;
}

void ZELCacheFileStore::sync() const {
    const int fd = ::open(base_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return;
    ::syncfs(fd);
    ::close(fd);
}

void ZELCacheFileStore::discardStaging() const {
    std::error_code ec;
    std::filesystem::remove_all(staging_, ec);
}

void ZELCacheFileStore::removeAll() const {
    std::error_code ec;
    std::filesystem::remove_all(base_, ec);
}

}  // namespace zel
