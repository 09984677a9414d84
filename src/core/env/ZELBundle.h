// The program's resources: the web app folder "www", the bundled "cache_version", images; and the program's
// information entries ("CFBundleName", "CFBundleShortVersionString").
//
// Located beside the executable ("<exe dir>/resources", the build tree) or installed
// ("<exe dir>/../share/ostrelle"), unless a folder is named explicitly. Immutable after construction; any
// thread.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace zel {

class ZELBundle {
  public:
    explicit ZELBundle(std::filesystem::path resourcesDirectory);

    // The resources folder for an executable at exePath; nullopt when neither candidate has a "www" folder.
    static std::optional<std::filesystem::path> locateResources(const std::filesystem::path& exePath);
    // The running executable's path (/proc/self/exe), empty when unknown.
    static std::filesystem::path executablePath();

    const std::filesystem::path& resourcePath() const { return resources_; }
    std::filesystem::path wwwDirectory() const { return resources_ / "www"; }
    std::filesystem::path pathForResource(const std::string& name) const { return resources_ / name; }

    std::optional<std::string> infoValue(const std::string& key) const;

  private:
    std::filesystem::path resources_;
};

}  // namespace zel
