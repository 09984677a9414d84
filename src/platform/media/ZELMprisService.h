// The desktop's media controls: Ostrelle as an MPRIS2 player on the session bus
// ("org.mpris.MediaPlayer2.ostrelle", object /org/mpris/MediaPlayer2, interfaces org.mpris.MediaPlayer2 and
// org.mpris.MediaPlayer2.Player). Desktop media keys, media widgets and tools like playerctl reach the
// delegate through it, on X11 and Wayland alike.
//
// The web app does not report its playback state, so the player always reads "Paused" with every control
// available: the desktop then offers play/pause, next and previous, which is all the web app can do. Seek,
// position, open-URI and property writes are accepted and ignored.
//
// No session bus, or the name owned by another process, is logged once and the program goes on without it;
// in the second case the request waits in the bus's queue, and the player appears when the name comes free.
// Main thread only (method calls arrive on the main loop); the delegate is not owned.
#pragma once

#include <gio/gio.h>

namespace zel {

class ZELMprisServiceDelegate {
  public:
    virtual ~ZELMprisServiceDelegate() = default;
    virtual void mprisPlayPause() {}
    virtual void mprisPlay() {}
    virtual void mprisPause() {}
    virtual void mprisNext() {}
    virtual void mprisPrevious() {}
    virtual void mprisRaise() {}
};

class ZELMprisService {
  public:
    static constexpr const char* kBusName = "org.mpris.MediaPlayer2.ostrelle";
    static constexpr const char* kObjectPath = "/org/mpris/MediaPlayer2";

    explicit ZELMprisService(ZELMprisServiceDelegate* delegate);
    ~ZELMprisService();
    ZELMprisService(const ZELMprisService&) = delete;
    ZELMprisService& operator=(const ZELMprisService&) = delete;

    // Asks for the bus name; the service appears once the bus grants it.
    void start();
    bool isPublished() const { return published_; }

  private:
    static void onBusAcquired(GDBusConnection* connection, const gchar* name, gpointer self);
    static void onNameAcquired(GDBusConnection* connection, const gchar* name, gpointer self);
    static void onNameLost(GDBusConnection* connection, const gchar* name, gpointer self);
    static void onMethodCall(GDBusConnection* connection, const gchar* sender, const gchar* objectPath,
                             const gchar* interfaceName, const gchar* methodName, GVariant* parameters,
                             GDBusMethodInvocation* invocation, gpointer self);
    static GVariant* onGetProperty(GDBusConnection* connection, const gchar* sender, const gchar* objectPath,
                                   const gchar* interfaceName, const gchar* propertyName, GError** error,
                                   gpointer self);
    static gboolean onSetProperty(GDBusConnection* connection, const gchar* sender, const gchar* objectPath,
                                  const gchar* interfaceName, const gchar* propertyName, GVariant* value,
                                  GError** error, gpointer self);
    void unregister();

    static const GDBusInterfaceVTable kVTable;

    ZELMprisServiceDelegate* delegate_;
    GDBusNodeInfo* introspection_ = nullptr;
    GDBusConnection* connection_ = nullptr;
    guint ownerId_ = 0;
    guint rootRegistration_ = 0;
    guint playerRegistration_ = 0;
    bool published_ = false;
    bool reportedLoss_ = false;
};

}  // namespace zel
