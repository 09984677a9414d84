#include "platform/media/ZELMprisService.h"

#include "core/log/ZELLog.h"

#include <cstring>

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
    if (ownerId_) g_bus_unown_name(ownerId_);
    unregister();
    g_dbus_node_info_unref(introspection_);
}

void ZELMprisService::start() {
    if (ownerId_) return;
    ownerId_ = g_bus_own_name(G_BUS_TYPE_SESSION, kBusName, G_BUS_NAME_OWNER_FLAGS_NONE, &onBusAcquired,
                              &onNameAcquired, &onNameLost, this, nullptr);
}

void ZELMprisService::unregister() {
    if (!connection_) return;
    if (rootRegistration_) g_dbus_connection_unregister_object(connection_, rootRegistration_);
    if (playerRegistration_) g_dbus_connection_unregister_object(connection_, playerRegistration_);
    rootRegistration_ = playerRegistration_ = 0;
    g_object_unref(connection_);
    connection_ = nullptr;
}

void ZELMprisService::onBusAcquired(GDBusConnection* connection, const gchar*, gpointer data) {
    auto* self = static_cast<ZELMprisService*>(data);
    self->unregister();
    self->connection_ = G_DBUS_CONNECTION(g_object_ref(connection));
    GError* error = nullptr;
    self->rootRegistration_ = g_dbus_connection_register_object(
        connection, kObjectPath, self->introspection_->interfaces[0], &kVTable, self, nullptr, &error);
    if (self->rootRegistration_) {
        self->playerRegistration_ = g_dbus_connection_register_object(
            connection, kObjectPath, self->introspection_->interfaces[1], &kVTable, self, nullptr, &error);
    }
    if (error) {
        zelLog("MPRIS: cannot publish the player: %@", error->message);
        g_error_free(error);
    }
}

void ZELMprisService::onNameAcquired(GDBusConnection*, const gchar* name, gpointer data) {
    auto* self = static_cast<ZELMprisService*>(data);
    self->published_ = self->playerRegistration_ != 0;
    zelLog("MPRIS: published as %@", name);
}

void ZELMprisService::onNameLost(GDBusConnection* connection, const gchar* name, gpointer data) {
    auto* self = static_cast<ZELMprisService*>(data);
    self->published_ = false;
    if (self->reportedLoss_) return;
    self->reportedLoss_ = true;
    if (connection == nullptr) {
        zelLog("MPRIS: no session bus; desktop media controls are off");
    } else {
        zelLog("MPRIS: %@ belongs to another process; desktop media controls are off", name);
    }
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
