#include "core/cache/CacheVersion.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

namespace zel::cache {
namespace {

// Versions are read in the local time zone; the tests pin one so that expected values can be computed.
class CacheVersionTest : public testing::Test {
  protected:
    void SetUp() override {
        if (const char* tz = std::getenv("TZ")) previous_ = tz;
        setenv("TZ", "CST-8", 1);  // UTC+8, without needing the zone database
        tzset();
    }
    void TearDown() override {
        if (previous_) {
            setenv("TZ", previous_->c_str(), 1);
        } else {
            unsetenv("TZ");
        }
        tzset();
    }

  private:
    std::optional<std::string> previous_;
};

TEST_F(CacheVersionTest, ParsesLocalMidnight) {
    // 2014-03-28 00:00 in UTC+8 is 2014-03-27 16:00 UTC.
    EXPECT_EQ(secondsOfCacheVersion("2014/03/28"), 1395964800 - 8 * 3600);
    EXPECT_EQ(*secondsOfCacheVersion("2014/03/29") - *secondsOfCacheVersion("2014/03/28"), 86400);
    EXPECT_EQ(secondsOfCacheVersion("2014/3/8"), secondsOfCacheVersion("2014/03/08"));
    EXPECT_EQ(secondsOfCacheVersion("2016/02/29").has_value(), true);
    EXPECT_LT(*secondsOfCacheVersion("1969/12/31"), 0);
}

TEST_F(CacheVersionTest, RejectsAnythingButADate) {
    for (const char* text :
         {"", "2014", "2014/03", "2014-03-28", "2014/03/28x", " 2014/03/28", "2014/13/01", "2014/00/10",
          "2014/02/29", "2014/04/31", "2014/03/0", "12345/01/01", "2014/003/01", "0/01/01", "2014//28"}) {
        EXPECT_EQ(secondsOfCacheVersion(text), std::nullopt) << text;
    }
}

TEST_F(CacheVersionTest, TheBundleWinsATie) {
    const auto v28 = secondsOfCacheVersion("2014/03/28");
    const auto v29 = secondsOfCacheVersion("2014/03/29");
    EXPECT_TRUE(isCacheOlderThanBundle(v28, v28));
    EXPECT_FALSE(isCacheOlderThanBundle(v28, v29));
    EXPECT_TRUE(isCacheOlderThanBundle(v29, v28));
    EXPECT_TRUE(isCacheOlderThanBundle(v28, std::nullopt));
    EXPECT_TRUE(isCacheOlderThanBundle(std::nullopt, std::nullopt));
    EXPECT_FALSE(isCacheOlderThanBundle(std::nullopt, v28));
}

}  // namespace
}  // namespace zel::cache
