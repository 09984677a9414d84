#include "core/env/ZELEnv.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

namespace zel {
namespace {

std::filesystem::path homeDirectory() {
    if (const char* home = std::getenv("HOME"); home != nullptr && home[0] == '/') return home;
    // Services started without a login environment may lack HOME; the password database still knows it.
    long size = sysconf(_SC_GETPW_R_SIZE_MAX);
    std::string buffer(size > 0 ? static_cast<std::size_t>(size) : 16384, '\0');
    passwd entry{};
    passwd* result = nullptr;
    if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &result) == 0 && result != nullptr &&
        result->pw_dir != nullptr && result->pw_dir[0] == '/') {
        return result->pw_dir;
    }
    return {};
}

}  // namespace

std::vector<std::filesystem::path> ZELEnv::userDataDirectories() {
    // Relative values are to be ignored, as the base directory rules say.
    if (const char* dataHome = std::getenv("XDG_DATA_HOME"); dataHome != nullptr && dataHome[0] == '/') {
        return {std::filesystem::path(dataHome)};
    }
    const std::filesystem::path home = homeDirectory();
    if (home.empty()) return {};
    return {home / ".local" / "share"};
}

std::filesystem::path ZELEnv::workingDirectory() {
    const auto directories = userDataDirectories();
    if (directories.empty()) return {};
    return directories.back() / "Ostrelle";
}

}  // namespace zel
