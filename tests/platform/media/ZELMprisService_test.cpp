// The player on a private bus; other connections stand in for the desktop, other owners and the web view.
#include "platform/media/ZELMprisService.h"

#include "core/support/TestSupport.h"
#include "support/Program.h"

#include <gio/gio.h>
#include <gtest/gtest.h>

namespace zel {
namespace {

using test::waitFor;

struct MprisServiceTest : testing::Test, ZELMprisServiceDelegate {
    MprisServiceTest() { g_test_dbus_up(bus); }
    ~MprisServiceTest() override {
        g_test_dbus_down(bus);
        g_object_unref(bus);
    }
    void mprisPlayPause() override { calls.push_back("PlayPause"); }
    void mprisPlay() override { calls.push_back("Play"); }
    void mprisPause() override { calls.push_back("Pause"); }
    void mprisNext() override { calls.push_back("Next"); }
    void mprisPrevious() override { calls.push_back("Previous"); }
    void mprisRaise() override { calls.push_back("Raise"); }

    // A connection of another process; with a name, one that owns it (or waits for it) until dropped.
    GDBusConnection* connect(const char* name = nullptr) {
        GDBusConnection* c = g_dbus_connection_new_for_address_sync(
            g_test_dbus_get_bus_address(bus),
            GDBusConnectionFlags(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                 G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
            nullptr, nullptr, nullptr);
        if (name) {
            GVariant* reply = g_dbus_connection_call_sync(
                c, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
                g_variant_new("(su)", name, 0u), nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
            if (reply) g_variant_unref(reply);
            EXPECT_NE(reply, nullptr);
        }
        return c;
    }
    static void drop(GDBusConnection* connection) {
        g_dbus_connection_close_sync(connection, nullptr, nullptr);
        g_object_unref(connection);
    }
    // A player method called as a desktop shell would: the reply as text, or "error" and the message.
    std::string call(const char* method, GVariant* args = nullptr,
                     const char* interface = "org.mpris.MediaPlayer2.Player") {
        GDBusConnection* desktop = connect();
        std::optional<std::string> text;
        g_dbus_connection_call(
            desktop, ZELMprisService::kBusName, ZELMprisService::kObjectPath, interface, method, args,
            nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr,
            [](GObject* connection, GAsyncResult* result, gpointer out) {
                GError* error = nullptr;
                GVariant* reply =
                    g_dbus_connection_call_finish(G_DBUS_CONNECTION(connection), result, &error);
                gchar* text =
                    reply ? g_variant_print(reply, FALSE) : g_strconcat("error ", error->message, nullptr);
                *static_cast<std::optional<std::string>*>(out) = text;
                g_free(text);
                reply ? g_variant_unref(reply) : g_error_free(error);
            },
            &text);
        EXPECT_TRUE(waitFor([&] { return text.has_value(); }));
        drop(desktop);
        return text.value_or("no answer");
    }

    GTestDBus* bus = g_test_dbus_new(G_TEST_DBUS_NONE);
    test::LogCapture log;
    std::vector<std::string> calls;
    const std::string published = "MPRIS: published as org.mpris.MediaPlayer2.ostrelle";
};

// The request for a name owned elsewhere waits in the bus's queue: the player appears once it is free.
TEST_F(MprisServiceTest, ANameOwnedByAnotherProcessIsTakenOverWhenFreeThenDesktopCallsReachTheDelegate) {
    GDBusConnection* other = connect(ZELMprisService::kBusName);
    ZELMprisService service(this);
    service.start();
    ASSERT_TRUE(waitFor([&] { return !log.lines.empty(); }));
    EXPECT_FALSE(service.isPublished());
    drop(other);
    ASSERT_TRUE(waitFor([&] { return service.isPublished(); }));
    for (const char* method : {"PlayPause", "Play", "Pause", "Next", "Previous", "Stop"})
        EXPECT_EQ(call(method), "()") << method;
    EXPECT_EQ(call("Raise", nullptr, "org.mpris.MediaPlayer2"), "()");
    EXPECT_EQ(call("Seek", g_variant_new("(x)", gint64{-5000000})), "()");  // accepted and ignored
    EXPECT_EQ(call("Get", g_variant_new("(ss)", "org.mpris.MediaPlayer2", "Identity"),
                   "org.freedesktop.DBus.Properties"),
              "(<'Ostrelle'>,)");
    EXPECT_EQ(calls, (std::vector<std::string>{"PlayPause", "Play", "Pause", "Next", "Previous", "Raise"}));
    EXPECT_EQ(log.lines,
              (std::vector<std::string>{"MPRIS: org.mpris.MediaPlayer2.ostrelle belongs to another "
                                        "process; desktop media controls are off",
                                        published}));
}

TEST_F(MprisServiceTest, StepsBackWhileTheWebViewsPlayerIsOnTheBus) {
    const char* webPlayer = "org.mpris.MediaPlayer2.org.ostrelle.Ostrelle.Sandboxed.instance-1";
    // Another program's player and a name that only shares the prefix do not count.
    GDBusConnection* others[] = {connect("org.mpris.MediaPlayer2.vlc"),
                                 connect("org.mpris.MediaPlayer2.org.ostrelle.OstrelleX")};
    GDBusConnection* web = connect(webPlayer);  // there at start: found in the bus's list of names
    ZELMprisService service(this);
    service.start();
    ASSERT_TRUE(waitFor([&] { return !log.lines.empty(); }));
    EXPECT_FALSE(service.isPublished());
    for (int round = 0; round < 2; ++round) {
        drop(web);
        ASSERT_TRUE(waitFor([&] { return service.isPublished(); })) << round;
        EXPECT_EQ(call("Next"), "()");
        web = connect(webPlayer);  // appearing later: a signal of the bus
        ASSERT_TRUE(waitFor([&] { return !service.isPublished(); })) << round;
        EXPECT_TRUE(call("Next").starts_with("error"));
    }
    drop(web);
    for (GDBusConnection* other : others) drop(other);
    ASSERT_TRUE(waitFor([&] { return service.isPublished(); }));
    EXPECT_EQ(calls, (std::vector<std::string>{"Next", "Next"}));
    const std::string away = std::string("MPRIS: the page's player ") + webPlayer +
                             " is on the bus; stepping back",
                      back = "MPRIS: the page's player left; taking the name back";
    EXPECT_EQ(log.lines, (std::vector<std::string>{away, back, published, away, back, published, away, back,
                                                   published}));
}

TEST_F(MprisServiceTest, NoSessionBusIsLoggedOnce) {
    g_setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/ostrelle-test-bus", TRUE);
    ZELMprisService service(this);
    service.start();
    EXPECT_TRUE(waitFor([&] { return !log.lines.empty(); }));
    EXPECT_FALSE(service.isPublished());
    EXPECT_EQ(log.lines, std::vector<std::string>{"MPRIS: no session bus; desktop media controls are off"});
}

}  // namespace
}  // namespace zel
