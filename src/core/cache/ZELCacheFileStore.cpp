#include "core/cache/ZELCacheFileStore.h"

#include "core/fs/Files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <string>
#include <system_error>
#include <utility>

namespace zel {

ZELCacheFileStore::ZELCacheFileStore(std::filesystem::path basePath)
    : base_(std::move(basePath)), staging_(base_ / ".incoming") {}

bool ZELCacheFileStore::ensureDirectory(const std::filesystem::path& directory) {
    if (knownDirectories_.count(directory.native()) != 0) return true;
    std::error_code ec;
    std::filesystem::create_directories(base_, ec);
    // Made one level at a time below the base, each a real folder: a link planted in the cache must not lead
    // a write (or a new folder) out of it.
    std::filesystem::path current = base_;
    for (const std::filesystem::path& part : directory.lexically_relative(base_)) {
        if (part == ".") continue;
        if (part == "..") return false;
        current /= part;
        struct stat status {};
        if ((::mkdir(current.c_str(), 0777) != 0 && errno != EEXIST) ||
            ::lstat(current.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) {
            return false;
        }
    }
    knownDirectories_.insert(directory.native());
    return true;
}

bool ZELCacheFileStore::writeFile(const std::filesystem::path& target, std::string_view data) {
    static std::atomic<unsigned> counter{0};
    if (!ensureDirectory(target.parent_path()) || !ensureDirectory(staging_)) return false;

    const std::filesystem::path temporary =
        staging_ / (std::to_string(::getpid()) + "-" + std::to_string(counter++));
    const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (fd < 0) {
        // The folders may have gone behind this store's back (removed by hand); look again next time.
        knownDirectories_.clear();
        return false;
    }
    const bool written = fs::writeAll(fd, data);
    const bool closed = ::close(fd) == 0;
    if (!written || !closed || ::rename(temporary.c_str(), target.c_str()) != 0) {
        ::unlink(temporary.c_str());
        knownDirectories_.clear();
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

void ZELCacheFileStore::discardStaging() {
    knownDirectories_.erase(staging_.native());
    std::error_code ec;
    std::filesystem::remove_all(staging_, ec);
}

void ZELCacheFileStore::removeAll() {
    knownDirectories_.clear();
    std::error_code ec;
    std::filesystem::remove_all(base_, ec);
}

}  // namespace zel
