// The MPRIS player on a private session bus of the test's own (GTestDBus): the desktop's calls reach the
// delegate; a name owned elsewhere is logged and taken over once free; the player steps back while the web
// view's own player is on the bus; a missing bus is logged once.
#include "platform/media/ZELMprisService.h"

#include "core/log/ZELLog.h"
#include "platform/support/Loopback.h"

#include <gio/gio.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace zel {
namespace {

using test::runUntil;

struct Recorder : ZELMprisServiceDelegate {
    void mprisPlayPause() override { calls.push_back("PlayPause"); }
    void mprisPlay() override { calls.push_back("Play"); }
    void mprisPause() override { calls.push_back("Pause"); }
    void mprisNext() override { calls.push_back("Next"); }
    void mprisPrevious() override { calls.push_back("Previous"); }
    void mprisRaise() override { calls.push_back("Raise"); }
    std::vector<std::string> calls;
};

class MprisServiceTest : public testing::Test {
  protected:
    void SetUp() override {
        bus_ = g_test_dbus_new(G_TEST_DBUS_NONE);
        g_test_dbus_up(bus_);
        previous_ = setLogSink([this](const std::string& line) { log.push_back(line); });
    }
    void TearDown() override {
        setLogSink(previous_);
        g_test_dbus_down(bus_);
        g_object_unref(bus_);
    }
    // A connection of another process to the test's bus.
    GDBusConnection* connect() {
        return g_dbus_connection_new_for_address_sync(
            g_test_dbus_get_bus_address(bus_),
            GDBusConnectionFlags(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                 G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
            nullptr, nullptr, nullptr);
    }
    // Owns name on a connection of its own until the connection is dropped.
    GDBusConnection* own(const char* name) {
        GDBusConnection* owner = connect();
        GVariant* reply = g_dbus_connection_call_sync(
            owner, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
            g_variant_new("(su)", name, 0u), nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
        EXPECT_NE(reply, nullptr);
        if (reply) g_variant_unref(reply);
        return owner;
    }
    static void drop(GDBusConnection* connection) {
        g_dbus_connection_close_sync(connection, nullptr, nullptr);
        g_object_unref(connection);
    }
    // A call from another connection, as a desktop shell would make it; the error text, or "" on success.
    std::string call(const char* interface, const char* method, GVariant* args = nullptr) {
        GDBusConnection* client = connect();
        GAsyncResult* result = nullptr;
        g_dbus_connection_call(
            client, ZELMprisService::kBusName, ZELMprisService::kObjectPath, interface, method, args, nullptr,
            G_DBUS_CALL_FLAGS_NONE, -1, nullptr,
            [](GObject*, GAsyncResult* r, gpointer out) {
                *static_cast<GAsyncResult**>(out) = G_ASYNC_RESULT(g_object_ref(r));
            },
            &result);
        EXPECT_TRUE(runUntil([&] { return result != nullptr; }));
        GError* error = nullptr;
        GVariant* reply = g_dbus_connection_call_finish(client, result, &error);
        std::string text = error ? error->message : "";
        if (reply) g_variant_unref(reply);
        g_clear_error(&error);
        g_object_unref(result);
        g_object_unref(client);
        return text;
    }

    std::vector<std::string> log;
    GTestDBus* bus_ = nullptr;

  private:
    LogSink previous_;
};

TEST_F(MprisServiceTest, DesktopCallsReachTheDelegate) {
    Recorder recorder;
    ZELMprisService service(&recorder);
    service.start();
    ASSERT_TRUE(runUntil([&] { return service.isPublished(); }));
    const char* player = "org.mpris.MediaPlayer2.Player";
    for (const char* method : {"PlayPause", "Play", "Pause", "Next", "Previous", "Stop"}) {
        EXPECT_EQ(call(player, method), "") << method;
    }
    EXPECT_EQ(call("org.mpris.MediaPlayer2", "Raise"), "");
    EXPECT_EQ(call("org.mpris.MediaPlayer2", "Quit"), "");
    EXPECT_EQ(call(player, "Seek", g_variant_new("(x)", gint64{-5000000})), "");
    // Calls that do not match the interface are refused by the bus library, before the delegate.
    EXPECT_NE(call(player, "Seek", g_variant_new("(s)", "far")), "");
    EXPECT_NE(call(player, "Explode"), "");
    EXPECT_EQ(recorder.calls,
              (std::vector<std::string>{"PlayPause", "Play", "Pause", "Next", "Previous", "Raise"}));
    EXPECT_EQ(log, std::vector<std::string>{"MPRIS: published as org.mpris.MediaPlayer2.ostrelle"});
}

TEST_F(MprisServiceTest, ANameOwnedByAnotherProcessIsLoggedAndTakenOverWhenFree) {
    GDBusConnection* other = connect();
    bool owned = false;
    const guint id = g_bus_own_name_on_connection(
        other, ZELMprisService::kBusName, G_BUS_NAME_OWNER_FLAGS_NONE,
        [](GDBusConnection*, const gchar*, gpointer done) { *static_cast<bool*>(done) = true; }, nullptr,
        &owned, nullptr);
    ASSERT_TRUE(runUntil([&] { return owned; }));

    Recorder recorder;
    ZELMprisService service(&recorder);
    service.start();
    ASSERT_TRUE(runUntil([&] { return !log.empty(); }));
    EXPECT_FALSE(service.isPublished());
    // The request waits in the bus's queue: when the other owner leaves, the player appears.
    g_bus_unown_name(id);
    g_object_unref(other);
    ASSERT_TRUE(runUntil([&] { return service.isPublished(); }));
    EXPECT_EQ(call("org.mpris.MediaPlayer2.Player", "Next"), "");
    EXPECT_EQ(recorder.calls, std::vector<std::string>{"Next"});
    EXPECT_EQ(log,
              (std::vector<std::string>{
                  "MPRIS: org.mpris.MediaPlayer2.ostrelle belongs to another process; desktop media controls "
                  "are off",
                  "MPRIS: published as org.mpris.MediaPlayer2.ostrelle"}));
}

TEST_F(MprisServiceTest, StepsBackWhileTheWebViewsPlayerIsOnTheBus) {
    const char* webPlayer = "org.mpris.MediaPlayer2.org.ostrelle.Ostrelle.Sandboxed.instance-1";
    // Another program's player and a name that only shares the prefix do not count.
    GDBusConnection* others[] = {own("org.mpris.MediaPlayer2.vlc"),
                                 own("org.mpris.MediaPlayer2.org.ostrelle.OstrelleX")};
    // Already there at start (found in the bus's list of names): the player never appears.
    GDBusConnection* web = own(webPlayer);
    Recorder recorder;
    ZELMprisService service(&recorder);
    service.start();
    ASSERT_TRUE(runUntil([&] { return !log.empty(); }));
    EXPECT_FALSE(service.isPublished());
    for (int round = 0; round < 2; ++round) {
        SCOPED_TRACE(round);
        drop(web);
        ASSERT_TRUE(runUntil([&] { return service.isPublished(); }));
        EXPECT_EQ(call("org.mpris.MediaPlayer2.Player", "Next"), "");
        // Appearing while the player is published (a signal of the bus): the name is released.
        web = own(webPlayer);
        ASSERT_TRUE(runUntil([&] { return !service.isPublished(); }));
        EXPECT_NE(call("org.mpris.MediaPlayer2.Player", "Next"), "");
    }
    drop(web);
    for (GDBusConnection* other : others) drop(other);
    ASSERT_TRUE(runUntil([&] { return service.isPublished(); }));
    EXPECT_EQ(recorder.calls, (std::vector<std::string>{"Next", "Next"}));
    const std::string back = "MPRIS: the page's player left; taking the name back";
    const std::string away =
        std::string("MPRIS: the page's player ") + webPlayer + " is on the bus; stepping back";
    const std::string published = "MPRIS: published as org.mpris.MediaPlayer2.ostrelle";
    EXPECT_EQ(
        log, (std::vector<std::string>{away, back, published, away, back, published, away, back, published}));
}

TEST(MprisServiceWithoutBusTest, NoSessionBusIsLoggedOnce) {
    std::vector<std::string> log;
    const LogSink previous = setLogSink([&](const std::string& line) { log.push_back(line); });
    const std::string saved =
        g_getenv("DBUS_SESSION_BUS_ADDRESS") ? g_getenv("DBUS_SESSION_BUS_ADDRESS") : "";
    g_setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/ostrelle-test-bus", TRUE);
    {
        Recorder recorder;
        ZELMprisService service(&recorder);
        service.start();
        EXPECT_TRUE(runUntil([&] { return !log.empty(); }));
        EXPECT_FALSE(service.isPublished());
    }
    setLogSink(previous);
    if (saved.empty()) {
        g_unsetenv("DBUS_SESSION_BUS_ADDRESS");
    } else {
        g_setenv("DBUS_SESSION_BUS_ADDRESS", saved.c_str(), TRUE);
    }
    EXPECT_EQ(log, std::vector<std::string>{"MPRIS: no session bus; desktop media controls are off"});
}

}  // namespace
}  // namespace zel
