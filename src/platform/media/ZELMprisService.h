// The desktop's media controls: Ostrelle as an MPRIS2 player on the session bus
// ("org.mpris.MediaPlayer2.ostrelle", object /org/mpris/MediaPlayer2, interfaces org.mpris.MediaPlayer2 and
// org.mpris.MediaPlayer2.Player). Desktop media keys, media widgets and tools like playerctl reach the
// delegate through it, on X11 and Wayland alike.
//
// The web app does not report its playback state, so the player always reads "Paused" with every control
// available: the desktop then offers play/pause, next and previous, which is all the web app can do. Seek,
// position, open-URI and property writes are accepted and ignored.
//
// The web view publishes a player of its own for a page that plays media, under a name in
// kWebPlayerNamespace; the desktop would then list Ostrelle twice. While any such name is on the bus this
// player steps back (releases its name, logged) and it returns when the last one goes. Media keys do not
// depend on either player.
//
// No session bus, or the name owned by another process, is logged once and the program goes on without it;
// in the second case the request waits in the bus's queue, and the player appears when the name comes free.
// Main thread only (method calls and bus signals arrive on the main loop); the delegate is not owned.
#pragma once

#include <gio/gio.h>

#include <set>
#include <string>

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
    // The names of the web view's players: the MPRIS prefix, then the application id.
    static constexpr const char* kWebPlayerNamespace = "org.mpris.MediaPlayer2.org.ostrelle.Ostrelle";

    explicit ZELMprisService(ZELMprisServiceDelegate* delegate);
    ~ZELMprisService();
    ZELMprisService(const ZELMprisService&) = delete;
    ZELMprisService& operator=(const ZELMprisService&) = delete;

    // Connects to the bus, looks for the web view's players and, when there is none, asks for the bus name;
    // the service appears once the bus grants it.
    void start();
    bool isPublished() const { return published_; }

  private:
    static void onBusReady(GObject* source, GAsyncResult* result, gpointer self);
    static void onNames(GObject* source, GAsyncResult* result, gpointer self);
    static void onNameOwnerChanged(GDBusConnection* connection, const gchar* sender, const gchar* objectPath,
                                   const gchar* interfaceName, const gchar* signalName, GVariant* parameters,
                                   gpointer self);
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
    void publish(GDBusConnection* connection);
    void webPlayer(const std::string& name, bool present);
    void ownOrRelease();
    void unregister();

    static const GDBusInterfaceVTable kVTable;

    ZELMprisServiceDelegate* delegate_;
    GDBusNodeInfo* introspection_ = nullptr;
    // Cancelled on destruction, so that no answer of the bus reaches a destroyed service.
    GCancellable* cancellable_ = g_cancellable_new();
    GDBusConnection* connection_ = nullptr;
    guint ownerId_ = 0;
    guint rootRegistration_ = 0;
    guint playerRegistration_ = 0;
    guint nameWatch_ = 0;
    std::set<std::string> webPlayers_;
    bool started_ = false;
    bool namesKnown_ = false;
    bool published_ = false;
    bool reportedLoss_ = false;
    bool steppedBack_ = false;
};

}  // namespace zel
