#include "core/web/WebAppAddress.h"

#include "core/fs/Files.h"
#include "core/support/TestSupport.h"

#include <gtest/gtest.h>

namespace zel::web {

TEST(WebAppAddressTest, Addresses) {
    EXPECT_EQ(startPageURL("h.example:81"), "http://h.example:81/player/mac/www/index.html");
    EXPECT_TRUE(belongsToWebApp("http://x/?next=/player/mac/www"));
    EXPECT_TRUE(belongsToWebApp("FILE:///tmp/a.png"));
    EXPECT_FALSE(belongsToWebApp("http://x/player/mac/ww/a.js"));
    const std::string origin = webAppOrigin("H.example:81");
    for (const char* url : {"http://h.example:81/player/mac/www/index.html", "HTTP://H.EXAMPLE:81?x",
                            "file:///a", "about:blank", "data:,x", "blob:http://h.example:81/1"}) {
        EXPECT_TRUE(isInAppNavigation(url, origin)) << url;
    }
    for (const char* url : {"https://h.example:81/", "http://h.example/", "http://h.example:810/",
                            "http://h.example:81.evil/", "http://u@h.example:81/", "javascript:1", "x"}) {
        EXPECT_FALSE(isInAppNavigation(url, origin)) << url;
    }
    EXPECT_TRUE(hasOrigin("http://h/a", "http://H:80"));
    EXPECT_EQ(normalizedOrigin("http://H.Example:80/x"), "http://h.example");
    EXPECT_EQ(hostPattern("http://127.0.0.1:8080"), "http://127.0.0.1/*");
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

}  // namespace zel::web
