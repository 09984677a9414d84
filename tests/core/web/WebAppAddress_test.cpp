#include "core/web/WebAppAddress.h"

#include "core/fs/Files.h"
#include "core/support/TestSupport.h"

#include <gtest/gtest.h>

namespace zel::web {
namespace {

TEST(WebAppAddressTest, Addresses) {
    EXPECT_EQ(startPageURL("h.example:81"), "ostrelle://h.example:81/player/mac/www/index.html");
    EXPECT_TRUE(belongsToWebApp("http://x/?next=/player/mac/www"));
    EXPECT_TRUE(belongsToWebApp("FILE:///tmp/a.png"));
    EXPECT_FALSE(belongsToWebApp("http://x/player/mac/ww/a.js"));
    EXPECT_EQ(networkAddress("ostrelle://h:81/player/mac/www/a.js?v=1"),
              "http://h:81/player/mac/www/a.js?v=1");
    EXPECT_EQ(networkAddress("https://h/a"), "https://h/a");
    for (const char* url : {"ostrelle://h/player/mac/www/index.html", "file:///a", "about:blank", "data:,x",
                            "blob:ostrelle://h/1"})
        EXPECT_TRUE(isInAppNavigation(url)) << url;
    for (const char* url :
         {"https://account.example/v2/?reg", "http://h/player/mac/www/x", "javascript:1", "x"})
        EXPECT_FALSE(isInAppNavigation(url)) << url;
    EXPECT_EQ(mimeTypeForPath("js/App.JS"), "text/javascript");
    EXPECT_EQ(mimeTypeForPath("v1.2/README"), "application/octet-stream");
}

TEST(WebAppAddressTest, ResolveInsideStaysInTheRealFolder) {
    test::ScratchDirectory scratch;
    const auto www = scratch.path() / "www";
    ASSERT_TRUE(fs::writeFileAtomically(www / "js" / "a.js", "a"));
    ASSERT_TRUE(fs::writeFileAtomically(scratch.path() / "secret.txt", "s"));
    ASSERT_TRUE(fs::writeFileAtomically(scratch.path() / "www2" / "b.js", "b"));
    std::filesystem::create_symlink(scratch.path() / "secret.txt", www / "out.txt");
    std::filesystem::create_symlink(www / "js" / "a.js", www / "in.js");
    std::filesystem::create_symlink(scratch.path(), www / "up");
    std::filesystem::create_symlink(scratch.path() / "www2" / "b.js", www / "b.js");  // a sibling is outside

    EXPECT_EQ(resolveInside(www, "js/a.js"), std::filesystem::canonical(www / "js" / "a.js"));
    EXPECT_EQ(resolveInside(www, "in.js"), std::filesystem::canonical(www / "js" / "a.js"));
    for (const char* relative :
         {"out.txt", "up/secret.txt", "../secret.txt", "js", "missing.js", "", "/etc/passwd", "b.js"}) {
        EXPECT_EQ(resolveInside(www, relative), std::nullopt) << relative;
    }
    EXPECT_EQ(resolveInside(scratch.path() / "none", "a"), std::nullopt);
}

}  // namespace
}  // namespace zel::web
