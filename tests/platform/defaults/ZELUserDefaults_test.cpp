#include "platform/defaults/ZELUserDefaults.h"

#include "core/fs/Files.h"
#include "core/support/TestSupport.h"

#include <gtest/gtest.h>

namespace zel {

TEST(UserDefaultsTest, BooleansInTheirUsualSpellingsAnythingElseIsNoWithALogLine) {
    test::ScratchDirectory scratch;
    test::LogCapture log;
    const auto read = [&](const std::string& text) {
        EXPECT_TRUE(fs::writeFileAtomically(scratch.path() / "defaults.conf", text));
        return ZELUserDefaults(scratch.path() / "defaults.conf");
    };
    const ZELUserDefaults defaults = read(
        "# comment\n[Defaults]\nSPIgnoreMediaKeys = YES\nA=true\nB=1\nC=no\nD=False\n"
        "E=0\nF= Yes \nM=maybe\n[Other]\nG=YES\n");
    for (const char* key : {"SPIgnoreMediaKeys", "A", "B", "F"}) EXPECT_TRUE(defaults.boolForKey(key)) << key;
    for (const char* key : {"C", "D", "E", "G", "M", "Missing"})
        EXPECT_FALSE(defaults.boolForKey(key)) << key;
    EXPECT_EQ(log.lines, std::vector<std::string>{"user defaults: M is not YES or NO: maybe"});

    EXPECT_FALSE(read("not a key file [[[").boolForKey("SPIgnoreMediaKeys"));
    EXPECT_TRUE(log.lines.back().starts_with("user defaults: cannot read ")) << log.lines.back();
    // No file at all is the usual case and says nothing.
    EXPECT_FALSE(ZELUserDefaults("/nonexistent/defaults.conf").boolForKey("SPIgnoreMediaKeys"));
    EXPECT_EQ(log.lines.size(), 2u);
}

}  // namespace zel
