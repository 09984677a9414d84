#include "core/cache/CacheURL.h"
#include "core/cache/CacheVersion.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

namespace zel::cache {

TEST(CacheURLTest, SplitsAndDecodesThePath) {
    const auto parts = splitURL("ostrelle://h:8080/player/mac/www/js/a.js?v=/x#frag");
    ASSERT_TRUE(parts);
    EXPECT_EQ((std::vector<std::string_view>{parts->scheme, parts->authority, parts->path, parts->query}),
              (std::vector<std::string_view>{"ostrelle", "h:8080", "/player/mac/www/js/a.js", "v=/x"}));
    EXPECT_FALSE(splitURL("/relative/path"));
    EXPECT_FALSE(splitURL("1http://h/"));
    const std::pair<const char*, const char*> paths[] = {
        {"http://h/a%20b/c.js", "/a b/c.js"},
        {"http://h/dir/", "/dir"},
        {"http://h/", "/"},
        {"http://h", ""},
        {"http://h/100%/x%zz", "/100%/x%zz"},  // malformed escapes stay
        {"file:///tmp/www/index.html", "/tmp/www/index.html"},
    };
    for (const auto& [url, path] : paths) EXPECT_EQ(urlPath(url), path) << url;
    const std::pair<const char*, const char*> extensions[] = {
        {"/js/app.min.js", "js"}, {"/v1.2/readme", ""}, {"/.hidden", ""}};
    for (const auto& [path, ext] : extensions) EXPECT_EQ(pathExtension(path), ext) << path;
}

TEST(CacheURLTest, SafeRelativePathsStayBelowTheirFolder) {
    EXPECT_EQ(safeRelativePath("/player/mac/build/js/app_1a.js"), "player/mac/build/js/app_1a.js");
    EXPECT_EQ(safeRelativePath("/a%20b//c.js"), "a b/c.js");
    EXPECT_EQ(safeRelativePath("/..."), "...");  // only "." and ".." are special
    for (const char* unsafe : {"", "/", "/../etc/passwd", "/a/./b", "/a/%2e%2E/b", "/a%2Fb", "/a%5cb",
                               "/a\\b", "/a%00b", "/a%0Ab", "/a%zz", "/a%4", "/a?b", "/a#b", "/a/\x7f"}) {
        EXPECT_EQ(safeRelativePath(unsafe), std::nullopt) << unsafe;
    }
    EXPECT_TRUE(isSafeDecodedPath("/www/js/a.js"));
    for (const char* unsafe : {"/www/../x", "/", "a\\b"}) EXPECT_FALSE(isSafeDecodedPath(unsafe)) << unsafe;
}

// Versions are read in the local time zone: UTC+8 (no zone database needed), then one that skipped a day.
TEST(CacheVersionTest, LocalMidnightOfAValidDate) {
    const char* previous = std::getenv("TZ");
    const std::string saved = previous ? previous : "";
    setenv("TZ", "CST-8", 1);
    tzset();
    EXPECT_EQ(secondsOfCacheVersion("2014/03/28"), 1395964800 - 8 * 3600);
    EXPECT_EQ(secondsOfCacheVersion("2014/3/8"), secondsOfCacheVersion("2014/03/08"));
    EXPECT_EQ(*secondsOfCacheVersion("2016/03/01") - *secondsOfCacheVersion("2016/02/29"), 86400);
    EXPECT_EQ(*secondsOfCacheVersion("2014/12/31") - *secondsOfCacheVersion("2014/12/30"), 86400);
    EXPECT_LT(*secondsOfCacheVersion("1969/12/31"), 0);
    for (const char* text :
         {"", "2014", "2014/03", "2014-03-28", "2014/03/28x", " 2014/03/28", "2014/13/01", "2014/00/10",
          "2014/02/29", "2014/04/31", "2014/03/0", "12345/01/01", "2014/003/01", "0/01/01", "2014//28"}) {
        EXPECT_EQ(secondsOfCacheVersion(text), std::nullopt) << text;
    }
    // A day the zone skipped reads as the next day, whatever was read before (mktime guessed either side).
    setenv("TZ", "Pacific/Apia", 1);
    tzset();
    EXPECT_EQ(*secondsOfCacheVersion("2011/12/31") - *secondsOfCacheVersion("2011/12/29"), 86400);
    EXPECT_EQ(secondsOfCacheVersion("2011/12/30"), secondsOfCacheVersion("2011/12/31"));
    previous ? setenv("TZ", saved.c_str(), 1) : unsetenv("TZ");
    tzset();
}

}  // namespace zel::cache
