#include "core/env/ZELBundle.h"

#include <system_error>
#include <utility>

namespace zel {
namespace {

bool holdsWebApp(const std::filesystem::path& directory) {
    std::error_code ec;
    return std::filesystem::is_directory(directory / "www", ec);
}

}  // namespace

ZELBundle::ZELBundle(std::filesystem::path resourcesDirectory) : resources_(std::move(resourcesDirectory)) {}

std::optional<std::filesystem::path> ZELBundle::locateResources(const std::filesystem::path& exePath) {
    const std::filesystem::path exeDirectory = exePath.parent_path();
    // The build tree first, so a program run from there never picks up an older installed copy.
    const std::filesystem::path candidates[] = {
        exeDirectory / "resources",
        exeDirectory / ".." / OSTRELLE_INSTALL_DATADIR,
    };
    for (const auto& candidate : candidates) {
        if (holdsWebApp(candidate)) return candidate.lexically_normal();
    }
    return std::nullopt;
}

std::filesystem::path ZELBundle::executablePath() {
    std::error_code ec;
    std::filesystem::path path = std::filesystem::read_symlink("/proc/self/exe", ec);
    return ec ? std::filesystem::path() : path;
}

std::optional<std::string> ZELBundle::infoValue(const std::string& key) const {
    if (key == "CFBundleName") return "Ostrelle";
    if (key == "CFBundleShortVersionString") return OSTRELLE_VERSION;
    return std::nullopt;
}

}  // namespace zel
