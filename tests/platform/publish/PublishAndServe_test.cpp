// Which files a publication hashes, mirrors or leaves out, and what the dev server refuses.
#include "core/fs/Files.h"
#include "core/json/DictionaryJSON.h"
#include "core/support/TestSupport.h"
#include "platform/net/ZELDevServer.h"
#include "platform/publish/ZELPublisher.h"
#include "support/Program.h"

#include <gtest/gtest.h>

namespace zel::platform {

TEST(PublishTest, HashesEachKindMirrorsTheRestAndServesNothingElse) {
    test::ScratchDirectory scratch;
    const std::filesystem::path www = scratch.path() / "www", out = scratch.path() / "published";
    for (const char* path :
         {"index.html", "js/app.js", "css/app.css", "img/two words.gif", "styles/theme.less",
          "data/list.json", "notes.txt", ".hidden/secret.js", "js/.swap.js"}) {
        ASSERT_TRUE(fs::writeFileAtomically(www / path, path));
    }
    std::filesystem::create_symlink(www / "js/app.js", www / "js/link.js");
    ZELPublisher publisher(www, out, "2099/01/02");
    const auto result = publisher.publish();
    ASSERT_TRUE(result) << publisher.error();
    EXPECT_EQ(result->files, 7u);
    EXPECT_EQ(result->hashed, 6u);
    const auto document = [&](const char* name) {
        return json::dictionaryWithJSONString(fs::readFile(out / "player/mac/config" / name).value_or(""));
    };
    const std::string gif = "/img/two%20words_" + ZELPublisher::contentDigest("img/two words.gif") + ".gif";
    EXPECT_EQ(document("js_map.json"),
              Value::object({{"/js/app.js", "/js/app_" + ZELPublisher::contentDigest("js/app.js") + ".js"}}));
    EXPECT_EQ(document("media_map.json").size(), 3u);
    EXPECT_EQ(document("media_map.json").at("/img/two words.gif"), gif);
    EXPECT_EQ(fs::readFile(out / "player/mac/www/notes.txt"), "notes.txt");
    EXPECT_EQ(fs::readFile(out / "player/mac/config/cache_version"), "2099/01/02");
    EXPECT_FALSE(std::filesystem::exists(out / "player/mac/www/.hidden"));
    EXPECT_FALSE(ZELPublisher(scratch.path() / "nothing", out, "2099/01/04").publish());

    std::filesystem::create_symlink(www / "notes.txt", out / "player/mac/www/link-out.txt");
    ZELDevServer server(out);
    ASSERT_TRUE(server.listen(0)) << server.error();
    const std::tuple<const char*, const char*, guint> rows[] = {
        {"GET", "/player/mac/config/cache_version", 200},  {"GET", "/player/mac/build/img/two%20words_", 404},
        {"GET", "/player/mac/www/link-out.txt", 404},      {"GET", "/player/mac/www/a%5Cb", 403},
        {"POST", "/player/mac/config/cache_version", 405},
    };
    for (const auto& [method, path, status] : rows) {
        SCOPED_TRACE(std::string(method) + " " + path);
        test::Reply reply = test::httpRequest(method, "http://" + server.hostPort() + path);
        EXPECT_EQ(reply.status, status);
        if (status == 200) {
            EXPECT_EQ(reply.headers["Cache-Control"], "no-cache");
            EXPECT_EQ(reply.headers["Access-Control-Allow-Origin"], "*");
        }
    }
}

}  // namespace zel::platform
