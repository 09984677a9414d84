#include "core/cache/CacheURL.h"
#include "core/cache/CacheKinds.h"
#include "core/cache/Queue.h"

#include <gtest/gtest.h>

#include <string>

namespace zel::cache {
namespace {

TEST(CacheURLTest, SplitsAndDecodesThePath) {
    const auto parts = splitURL("ostrelle://h:8080/player/mac/www/js/a.js?v=/x#frag");
    ASSERT_TRUE(parts);
    EXPECT_EQ(parts->scheme, "ostrelle");
    EXPECT_EQ(parts->authority, "h:8080");
    EXPECT_EQ(parts->path, "/player/mac/www/js/a.js");
    EXPECT_EQ(parts->query, "v=/x");
    EXPECT_EQ(splitURL("file:///tmp/www/index.html")->path, "/tmp/www/index.html");
    EXPECT_FALSE(splitURL("/relative/path"));
    EXPECT_FALSE(splitURL("1http://h/"));

    EXPECT_EQ(urlPath("http://h/a%20b/c.js"), "/a b/c.js");
    EXPECT_EQ(urlPath("http://h/dir/"), "/dir");  // a trailing separator is not part of the path
    EXPECT_EQ(urlPath("http://h/"), "/");
    EXPECT_EQ(urlPath("http://h"), "");
    EXPECT_EQ(urlPath("http://h/100%/x%zz"), "/100%/x%zz");  // malformed escapes stay
}

TEST(CacheURLTest, ExtensionsAreTheLastNamesOwn) {
    EXPECT_EQ(pathExtension("/js/app.min.js"), "js");
    EXPECT_EQ(pathExtension("/v1.2/readme"), "");
    EXPECT_EQ(pathExtension("/.hidden"), "");
    EXPECT_FALSE(isMapOfTexts(Value::parse(R"({"/a.js":1})")));
    EXPECT_FALSE(isMapOfTexts(Value::parse(R"(["/a.js"])")));
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
    EXPECT_FALSE(isSafeDecodedPath("/www/../x"));
    EXPECT_FALSE(isSafeDecodedPath("/"));
    EXPECT_FALSE(isSafeDecodedPath("a\\b"));
}

TEST(QueueTest, DequeueTakesTheHead) {
    std::deque<std::string> queue;
    EXPECT_EQ(dequeue(queue), std::nullopt);
    EXPECT_TRUE(queue.empty());
    queue = {"a"};
    EXPECT_EQ(dequeue(queue), "a");
    EXPECT_TRUE(queue.empty());
    queue = {"a", "b", "a"};
    EXPECT_EQ(dequeue(queue), "a");
    EXPECT_EQ(dequeue(queue), "b");
    EXPECT_EQ(queue.size(), 1u);
}

}  // namespace
}  // namespace zel::cache
