#include "platform/defaults/ZELUserDefaults.h"

#include "core/log/ZELLog.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace zel {
namespace {

class UserDefaultsTest : public testing::Test {
  protected:
    UserDefaultsTest() {
        dir_ = std::filesystem::temp_directory_path() / ("ostrelle-defaults-" + std::to_string(getpid()));
        std::filesystem::create_directories(dir_);
        previous_ = setLogSink([this](const std::string& line) { log.push_back(line); });
    }
    ~UserDefaultsTest() override {
        setLogSink(previous_);
        std::filesystem::remove_all(dir_);
    }
    ZELUserDefaults read(const std::string& text) {
        std::ofstream(dir_ / "defaults.conf") << text;
        return ZELUserDefaults(dir_ / "defaults.conf");
    }

    std::vector<std::string> log;

  private:
    std::filesystem::path dir_;
    LogSink previous_;
};

TEST_F(UserDefaultsTest, BooleansInTheirUsualSpellings) {
    const ZELUserDefaults defaults = read(
        "# comment\n[Defaults]\nSPIgnoreMediaKeys = YES\nA=true\nB=1\nC=no\nD=False\nE=0\nF= Yes \n"
        "[Other]\nG=YES\n");
    for (const char* key : {"SPIgnoreMediaKeys", "A", "B", "F"}) EXPECT_TRUE(defaults.boolForKey(key)) << key;
    for (const char* key : {"C", "D", "E", "G", "Missing"}) EXPECT_FALSE(defaults.boolForKey(key)) << key;
    EXPECT_TRUE(log.empty());
}

TEST_F(UserDefaultsTest, AnythingElseReadsAsNoWithALogLine) {
    const ZELUserDefaults defaults = read("[Defaults]\nSPIgnoreMediaKeys=maybe\nX=\n");
    EXPECT_FALSE(defaults.boolForKey("SPIgnoreMediaKeys"));
    EXPECT_EQ(log, (std::vector<std::string>{"user defaults: SPIgnoreMediaKeys is not YES or NO: maybe",
                                             "user defaults: X is not YES or NO: "}));

    log.clear();
    EXPECT_FALSE(read("not a key file [[[").boolForKey("SPIgnoreMediaKeys"));
    ASSERT_EQ(log.size(), 1u);
    EXPECT_TRUE(log[0].starts_with("user defaults: cannot read ")) << log[0];

    // No file at all is the usual case and says nothing.
    log.clear();
    EXPECT_FALSE(ZELUserDefaults("/nonexistent/defaults.conf").boolForKey("SPIgnoreMediaKeys"));
    EXPECT_TRUE(log.empty());
}

}  // namespace
}  // namespace zel
