// The MPRIS player on a private session bus of the test's own (GTestDBus): the desktop's calls reach the
// delegate; a name owned elsewhere is logged and taken over once free.
#include "platform/media/ZELMprisService.h"

#include "core/support/TestSupport.h"
#include "platform/support/Loopback.h"

#include <gio/gio.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace zel {
namespace {

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

    GDBusConnection* connect() {
        return g_dbus_connection_new_for_address_sync(
            g_test_dbus_get_bus_address(bus),
            GDBusConnectionFlags(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                 G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
            nullptr, nullptr, nullptr);
    }
    // A call from another connection, as a desktop shell would make it; whether it succeeded.
    bool call(const char* method, const char* interface = "org.mpris.MediaPlayer2.Player") {
        GDBusConnection* client = connect();
        GVariant* reply = g_dbus_connection_call_sync(
            client, ZELMprisService::kBusName, ZELMprisService::kObjectPath, interface, method, nullptr,
            nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
        if (reply) g_variant_unref(reply);
        g_object_unref(client);
        return reply != nullptr;
    }

    GTestDBus* bus = g_test_dbus_new(G_TEST_DBUS_NONE);
    test::LogCapture log;
    std::vector<std::string> calls;
};

TEST_F(MprisServiceTest, DesktopCallsReachTheDelegateOnceTheNameIsFree) {
    // Another process owns the name first: logged, and the request waits in the bus's queue.
    GDBusConnection* other = connect();
    bool owned = false;
    const guint id = g_bus_own_name_on_connection(
        other, ZELMprisService::kBusName, G_BUS_NAME_OWNER_FLAGS_NONE,
        +[](GDBusConnection*, const gchar*, gpointer done) { *static_cast<bool*>(done) = true; }, nullptr,
        &owned, nullptr);
    ASSERT_TRUE(test::runUntil([&] { return owned; }));
    ZELMprisService service(this);
    service.start();
    ASSERT_TRUE(test::runUntil([&] { return !log.lines.empty(); }));
    EXPECT_FALSE(service.isPublished());
    g_bus_unown_name(id);
    g_object_unref(other);
    ASSERT_TRUE(test::runUntil([&] { return service.isPublished(); }));

    // The service answers from this thread's loop, so the desktop's synchronous calls run on a thread of
    // their own.
    std::atomic<bool> done = false;
    std::thread desktop([&] {
        for (const char* method : {"PlayPause", "Play", "Pause", "Next", "Previous", "Stop"})
            EXPECT_TRUE(call(method));
        EXPECT_TRUE(call("Raise", "org.mpris.MediaPlayer2"));
        done = true;
    });
    EXPECT_TRUE(test::runUntil([&] { return done.load(); }));
    desktop.join();
    EXPECT_EQ(calls, (std::vector<std::string>{"PlayPause", "Play", "Pause", "Next", "Previous", "Raise"}));
    EXPECT_EQ(log.lines,
              (std::vector<std::string>{"MPRIS: org.mpris.MediaPlayer2.ostrelle belongs to another "
                                        "process; desktop media controls are off",
                                        "MPRIS: published as org.mpris.MediaPlayer2.ostrelle"}));
}

}  // namespace
}  // namespace zel
