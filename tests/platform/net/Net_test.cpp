#include "platform/net/ZELLoopbackPeer.h"
#include "platform/net/ZELSoupDownloaderFactory.h"

#include "core/support/TestSupport.h"
#include "platform/support/Loopback.h"

#include <gtest/gtest.h>

#include <string>

namespace zel::platform {
namespace {

TEST(LoopbackPeerTest, OnlyAnEstablishedRowWithBothPortsNamesTheSocket) {
    const std::string table =
        "  sl  local_address rem_address   st tx_queue rx_queue tr tm->when retrnsmt   uid  timeout inode\n"
        "   0: 0100007F:A1B2 0100007F:1F90 06 00000000:00000000 03:00000000 00000000     0        0 0 3\n"
        "   1: 0100007F:1F90 0100007F:A1B2 01 00000000:00000000 00:00000000 00000000     0        0 111 1\n"
        "   2: garbage\n"
        "   3: 0100007F:A1B2 0100007F:1F90 01 00000000:00000000 00:00000000 00000000  1000        0 12345 "
        "1\n";
    EXPECT_EQ(ZELLoopbackPeer::socketInode(table, 0xA1B2, 0x1F90), 12345u);
    EXPECT_EQ(ZELLoopbackPeer::socketInode(table, 0xA1B3, 0x1F90), 0u);
}

// A connection from a child (a shell opening the port) is ours; one from this process itself is not.
TEST(LoopbackPeerTest, APeerHeldByAChildIsOurs) {
    GSocketListener* listener = g_socket_listener_new();
    const guint16 port = g_socket_listener_add_any_inet_port(listener, nullptr, nullptr);
    const std::string script = "exec 3<>/dev/tcp/127.0.0.1/" + std::to_string(port) + "; read -t 20 <&3";
    GSubprocess* child =
        g_subprocess_new(G_SUBPROCESS_FLAGS_NONE, nullptr, "bash", "-c", script.c_str(), nullptr);
    ASSERT_NE(child, nullptr);
    GSocket* fromChild = g_socket_listener_accept_socket(listener, nullptr, nullptr, nullptr);
    GSocketClient* client = g_socket_client_new();
    GSocketConnection* own = g_socket_client_connect_to_host(client, "127.0.0.1", port, nullptr, nullptr);
    GSocket* fromSelf = g_socket_listener_accept_socket(listener, nullptr, nullptr, nullptr);
    ZELLoopbackPeer peers;
    EXPECT_TRUE(peers.isOwnChild(fromChild));
    EXPECT_TRUE(peers.isOwnChild(fromChild));  // from the mark
    EXPECT_FALSE(peers.isOwnChild(fromSelf));
    g_subprocess_force_exit(child);
    g_subprocess_wait(child, nullptr, nullptr);
    for (gpointer object : {G_OBJECT(fromChild), G_OBJECT(fromSelf), G_OBJECT(own), G_OBJECT(client),
                            G_OBJECT(child), G_OBJECT(listener)})
        g_object_unref(object);
}

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
