// What the refresh tests cannot see of the downloaders: a factory destroyed while a transfer waits for its
// answer calls nobody back.
#include "core/support/TestSupport.h"
#include "platform/net/ZELSoupDownloaderFactory.h"
#include "platform/support/Loopback.h"

#include <gtest/gtest.h>

namespace zel::platform {
namespace {

struct DownloadersTest : testing::Test, ZELAsyncDownloaderDelegate {
    void dataDownloadedForURLRequest(const std::string& data, const std::string&) override {
        bodies.push_back(data);
    }
    std::vector<std::string> bodies;
    std::vector<SoupServerMessage*> held;
    test::LoopbackServer server{[this](SoupServerMessage* message, const std::string&) {
        soup_server_message_pause(message);
        held.push_back(SOUP_SERVER_MESSAGE(g_object_ref(message)));
    }};
};

TEST_F(DownloadersTest, ADestroyedFactoryNeverCallsBack) {
    auto factory = std::make_unique<ZELSoupDownloaderFactory>();
    factory->startAsyncDownloader(server.url("/late"), *this);
    ASSERT_TRUE(test::runUntil([&] { return held.size() == 1; }));
    factory.reset();
    test::LoopbackServer::answer(held[0], "too late");
    soup_server_message_unpause(held[0]);
    g_object_unref(held[0]);
    const gint64 until = g_get_monotonic_time() + 100000;
    test::runUntil([&] { return g_get_monotonic_time() > until; });
    EXPECT_TRUE(bodies.empty());
}

}  // namespace
}  // namespace zel::platform
