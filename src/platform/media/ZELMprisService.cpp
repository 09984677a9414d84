#include "platform/media/ZELMprisService.h"

#include "core/log/ZELLog.h"

#include <cstring>
#include <string_view>

namespace zel {
namespace {

constexpr const char* kIntrospection = R"XML(<node>
  <interface name="org.mpris.MediaPlayer2">
    <method name="Raise"/>
    <method name="Quit"/>
    <property name="CanQuit" type="b" access="read"/>
    <property name="CanRaise" type="b" access="read"/>
    <property name="HasTrackList" type="b" access="read"/>
    <property name="Identity" type="s" access="read"/>
    <property name="DesktopEntry" type="s" access="read"/>
    <property name="SupportedUriSchemes" type="as" access="read"/>
    <property name="SupportedMimeTypes" type="as" access="read"/>
  </interface>
  <interface name="org.mpris.MediaPlayer2.Player">
    <method name="Next"/>
    <method name="Previous"/>
    <method name="Pause"/>
    <method name="PlayPause"/>
    <method name="Stop"/>
    <method name="Play"/>
    <method name="Seek"><arg direction="in" name="Offset" type="x"/></method>
    <method name="SetPosition">
      <arg direction="in" name="TrackId" type="o"/>
      <arg direction="in" name="Position" type="x"/>
    </method>
    <method name="OpenUri"><arg direction="in" name="Uri" type="s"/></method>
    <signal name="Seeked"><arg name="Position" type="x"/></signal>
    <property name="PlaybackStatus" type="s" access="read"/>
    <property name="Rate" type="d" access="readwrite"/>
    <property name="Metadata" type="a{sv}" access="read"/>
    <property name="Volume" type="d" access="readwrite"/>
    <property name="Position" type="x" access="read"/>
    <property name="MinimumRate" type="d" access="read"/>
    <property name="MaximumRate" type="d" access="read"/>
    <property name="CanGoNext" type="b" access="read"/>
    <property name="CanGoPrevious" type="b" access="read"/>
    <property name="CanPlay" type="b" access="read"/>
    <property name="CanPause" type="b" access="read"/>
    <property name="CanSeek" type="b" access="read"/>
    <property name="CanControl" type="b" access="read"/>
  </interface>
</node>)XML";

bool is(const gchar* a, const char* b) {
    return std::strcmp(a, b) == 0;
}

GVariant* rootProperty(const gchar* name) {
    if (is(name, "CanQuit") || is(name, "HasTrackList")) return g_variant_new_boolean(FALSE);
    if (is(name, "CanRaise")) return g_variant_new_boolean(TRUE);
    if (is(name, "Identity")) return g_variant_new_string("Ostrelle");
    // The desktop entry's name without ".desktop": media widgets show its name and icon.
    if (is(name, "DesktopEntry")) return g_variant_new_string("org.ostrelle.Ostrelle");
    if (is(name, "SupportedUriSchemes") || is(name, "SupportedMimeTypes"))
        return g_variant_new_strv(nullptr, 0);
    return nullptr;
}

GVariant* playerProperty(const gchar* name) {
    if (is(name, "PlaybackStatus")) return g_variant_new_string("Paused");
    if (is(name, "Rate") || is(name, "MinimumRate") || is(name, "MaximumRate") || is(name, "Volume"))
        return g_variant_new_double(1.0);
    if (is(name, "Position")) return g_variant_new_int64(0);
    if (is(name, "CanSeek")) return g_variant_new_boolean(FALSE);
    if (is(name, "CanGoNext") || is(name, "CanGoPrevious") || is(name, "CanPlay") || is(name, "CanPause") ||
        is(name, "CanControl"))
        return g_variant_new_boolean(TRUE);
    if (is(name, "Metadata")) {
        GVariantBuilder builder;
        g_variant_builder_init(&builder, G_VARIANT_TYPE("a{sv}"));
        g_variant_builder_add(&builder, "{sv}", "mpris:trackid",
                              g_variant_new_object_path("/org/mpris/MediaPlayer2/TrackList/NoTrack"));
        return g_variant_builder_end(&builder);
    }
    return nullptr;
}

}  // namespace

const GDBusInterfaceVTable ZELMprisService::kVTable = {&ZELMprisService::onMethodCall,
                                                       &ZELMprisService::onGetProperty,
                                                       &ZELMprisService::onSetProperty,
                                                       {nullptr}};

ZELMprisService::ZELMprisService(ZELMprisServiceDelegate* delegate) : delegate_(delegate) {
    introspection_ = g_dbus_node_info_new_for_xml(kIntrospection, nullptr);
}

ZELMprisService::~ZELMprisService() {
    g_cancellable_cancel(cancellable_);
    if (ownerId_) g_bus_unown_name(ownerId_);
    if (nameWatch_) g_dbus_connection_signal_unsubscribe(connection_, nameWatch_);
    unregister();
    g_object_unref(cancellable_);
    g_dbus_node_info_unref(introspection_);
}

void ZELMprisService::start() {
    if (started_) return;
    started_ = true;
    g_bus_get(G_BUS_TYPE_SESSION, cancellable_, &onBusReady, this);
}

void ZELMprisService::onBusReady(GObject*, GAsyncResult* result, gpointer data) {
    GError* error = nullptr;
    GDBusConnection* connection = g_bus_get_finish(result, &error);
    if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED)) {
        g_error_free(error);
        return;
    }
    auto* self = static_cast<ZELMprisService*>(data);
    if (!connection) {
        g_clear_error(&error);
        zelLog("MPRIS: no session bus; desktop media controls are off");
        return;
    }
    self->publish(connection);
    g_object_unref(connection);
}

void ZELMprisService::publish(GDBusConnection* connection) {
    connection_ = G_DBUS_CONNECTION(g_object_ref(connection));
    GError* error = nullptr;
    rootRegistration_ = g_dbus_connection_register_object(
        connection, kObjectPath, introspection_->interfaces[0], &kVTable, this, nullptr, &error);
    if (rootRegistration_) {
        playerRegistration_ = g_dbus_connection_register_object(
            connection, kObjectPath, introspection_->interfaces[1], &kVTable, this, nullptr, &error);
    }
    if (error) {
        zelLog("MPRIS: cannot publish the player: %@", error->message);
        g_error_free(error);
    }
    // Watch first, then list: the bus answers in order, so no player can slip between the two.
    nameWatch_ = g_dbus_connection_signal_subscribe(
        connection, "org.freedesktop.DBus", "org.freedesktop.DBus", "NameOwnerChanged",
        "/org/freedesktop/DBus", kWebPlayerNamespace, G_DBUS_SIGNAL_FLAGS_MATCH_ARG0_NAMESPACE,
        &onNameOwnerChanged, this, nullptr);
    g_dbus_connection_call(connection, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                           "org.freedesktop.DBus", "ListNames", nullptr, G_VARIANT_TYPE("(as)"),
                           G_DBUS_CALL_FLAGS_NONE, -1, cancellable_, &onNames, this);
}

void ZELMprisService::onNames(GObject* source, GAsyncResult* result, gpointer data) {
    GError* error = nullptr;
    GVariant* reply = g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, &error);
    if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED)) {
        g_error_free(error);
        return;
    }
    auto* self = static_cast<ZELMprisService*>(data);
    g_clear_error(&error);  // without the list, only players that appear from now on are seen
    if (reply) {
        GVariantIter* names = nullptr;
        g_variant_get(reply, "(as)", &names);
        const gchar* name = nullptr;
        const std::string prefix = std::string(kWebPlayerNamespace) + ".";
        while (g_variant_iter_next(names, "&s", &name)) {
            if (std::string_view(name).starts_with(prefix)) self->webPlayers_.insert(name);
        }
        g_variant_iter_free(names);
        g_variant_unref(reply);
    }
    self->namesKnown_ = true;
    self->ownOrRelease();
}

void ZELMprisService::onNameOwnerChanged(GDBusConnection*, const gchar*, const gchar*, const gchar*,
                                         const gchar*, GVariant* parameters, gpointer data) {
    if (!g_variant_is_of_type(parameters, G_VARIANT_TYPE("(sss)"))) return;
    const gchar *name = nullptr, *oldOwner = nullptr, *newOwner = nullptr;
    g_variant_get(parameters, "(&s&s&s)", &name, &oldOwner, &newOwner);
    // The namespace also matches the name itself, which no player uses.
    if (std::strcmp(name, kWebPlayerNamespace) == 0) return;
    static_cast<ZELMprisService*>(data)->webPlayer(name, newOwner[0] != '\0');
}

void ZELMprisService::webPlayer(const std::string& name, bool present) {
    if (present) {
        webPlayers_.insert(name);
    } else {
        webPlayers_.erase(name);
    }
    if (namesKnown_) ownOrRelease();
}

void ZELMprisService::ownOrRelease() {
    if (webPlayers_.empty()) {
        if (ownerId_) return;
        if (steppedBack_) zelLog("MPRIS: the page's player left; taking the name back");
        steppedBack_ = false;
        ownerId_ = g_bus_own_name_on_connection(connection_, kBusName, G_BUS_NAME_OWNER_FLAGS_NONE,
                                                &onNameAcquired, &onNameLost, this, nullptr);
    } else if (!steppedBack_) {
        zelLog("MPRIS: the page's player %@ is on the bus; stepping back", *webPlayers_.begin());
        steppedBack_ = true;
        if (ownerId_) g_bus_unown_name(ownerId_);
        ownerId_ = 0;
        published_ = false;
    }
}

void ZELMprisService::unregister() {
    if (!connection_) return;
    if (rootRegistration_) g_dbus_connection_unregister_object(connection_, rootRegistration_);
    if (playerRegistration_) g_dbus_connection_unregister_object(connection_, playerRegistration_);
    rootRegistration_ = playerRegistration_ = 0;
    g_object_unref(connection_);
    connection_ = nullptr;
}

void ZELMprisService::onNameAcquired(GDBusConnection*, const gchar* name, gpointer data) {
    auto* self = static_cast<ZELMprisService*>(data);
    self->published_ = self->playerRegistration_ != 0;
    zelLog("MPRIS: published as %@", name);
}

void ZELMprisService::onNameLost(GDBusConnection*, const gchar* name, gpointer data) {
    auto* self = static_cast<ZELMprisService*>(data);
    self->published_ = false;
    if (self->reportedLoss_) return;
    self->reportedLoss_ = true;
    zelLog("MPRIS: %@ belongs to another process; desktop media controls are off", name);
}

void ZELMprisService::onMethodCall(GDBusConnection*, const gchar*, const gchar*, const gchar*,
                                   const gchar* method, GVariant*, GDBusMethodInvocation* invocation,
                                   gpointer data) {
    auto* self = static_cast<ZELMprisService*>(data);
    // Answer first: the delegate may call into the web app, and the caller need not wait for that.
    g_dbus_method_invocation_return_value(invocation, nullptr);
    ZELMprisServiceDelegate* delegate = self->delegate_;
    if (!delegate) return;
    if (is(method, "PlayPause")) {
        delegate->mprisPlayPause();
    } else if (is(method, "Play")) {
        delegate->mprisPlay();
    } else if (is(method, "Pause")) {
        delegate->mprisPause();
    } else if (is(method, "Next")) {
        delegate->mprisNext();
    } else if (is(method, "Previous")) {
        delegate->mprisPrevious();
    } else if (is(method, "Raise")) {
        delegate->mprisRaise();
    }
}

GVariant* ZELMprisService::onGetProperty(GDBusConnection*, const gchar*, const gchar*,
                                         const gchar* interfaceName, const gchar* propertyName,
                                         GError** error, gpointer) {
    GVariant* value = is(interfaceName, "org.mpris.MediaPlayer2") ? rootProperty(propertyName)
                                                                  : playerProperty(propertyName);
    if (!value) {
        g_set_error(error, G_DBUS_ERROR, G_DBUS_ERROR_UNKNOWN_PROPERTY, "No property %s", propertyName);
    }
    return value;
}

gboolean ZELMprisService::onSetProperty(GDBusConnection*, const gchar*, const gchar*, const gchar*,
                                        const gchar*, GVariant*, GError**, gpointer) {
    return TRUE;
}

}  // namespace zel
