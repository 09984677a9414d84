#include "core/env/ZELEnv.h"
#include "core/env/ZELBundle.h"

#include "core/support/TestSupport.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>

namespace zel {
namespace {

class EnvironmentVariable {
  public:
    EnvironmentVariable(const char* name, const char* value) : name_(name) {
        if (const char* old = std::getenv(name)) old_ = old;
        value ? setenv(name, value, 1) : unsetenv(name);
    }
    ~EnvironmentVariable() { old_ ? setenv(name_, old_->c_str(), 1) : unsetenv(name_); }

  private:
    const char* name_;
    std::optional<std::string> old_;
};

TEST(ZELEnvTest, WorkingDirectoryFollowsTheDataHome) {
    EnvironmentVariable home("HOME", "/home/u");
    {
        EnvironmentVariable data("XDG_DATA_HOME", "/data/u");
        EXPECT_EQ(ZELEnv::workingDirectory(), "/data/u/Ostrelle");
    }
    for (const char* ignored : {"relative/dir", "", static_cast<const char*>(nullptr)}) {
        EnvironmentVariable data("XDG_DATA_HOME", ignored);
        EXPECT_EQ(ZELEnv::userDataDirectories(), std::vector<std::filesystem::path>{"/home/u/.local/share"});
        EXPECT_EQ(ZELEnv::workingDirectory(), "/home/u/.local/share/Ostrelle");
    }
}

TEST(ZELBundleTest, LocatesResourcesBesideOrInstalled) {
    test::ScratchDirectory root;
    const auto bin = root.path() / "bin";
    std::filesystem::create_directories(bin);
    EXPECT_EQ(ZELBundle::locateResources(bin / "ostrelle"), std::nullopt);

    std::filesystem::create_directories(root.path() / "share" / "ostrelle" / "www");
    EXPECT_EQ(ZELBundle::locateResources(bin / "ostrelle"), root.path() / "share" / "ostrelle");

    std::filesystem::create_directories(bin / "resources");  // without www it does not count
    EXPECT_EQ(ZELBundle::locateResources(bin / "ostrelle"), root.path() / "share" / "ostrelle");
    std::filesystem::create_directories(bin / "resources" / "www");
    EXPECT_EQ(ZELBundle::locateResources(bin / "ostrelle"), bin / "resources");
}

}  // namespace
}  // namespace zel
