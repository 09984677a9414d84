#!/usr/bin/python3
# A desktop notification server for a test bus: writes "APP_NAME<TAB>SUMMARY<TAB>DESKTOP_ENTRY" lines to argv[1].
import sys

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402

INTERFACE = """<node><interface name="org.freedesktop.Notifications">
  <method name="Notify"><arg type="s" direction="in"/><arg type="u" direction="in"/><arg type="s" direction="in"/>
    <arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="as" direction="in"/>
    <arg type="a{sv}" direction="in"/><arg type="i" direction="in"/><arg type="u" direction="out"/></method>
  <method name="CloseNotification"><arg type="u" direction="in"/></method>
  <method name="GetCapabilities"><arg type="as" direction="out"/></method>
  <method name="GetServerInformation"><arg type="s" direction="out"/><arg type="s" direction="out"/>
    <arg type="s" direction="out"/><arg type="s" direction="out"/></method>
</interface></node>"""


def call(connection, sender, path, interface, method, args, invocation):
    if method == "Notify":
        with open(sys.argv[1], "a", encoding="utf-8") as out:
            out.write(f"{args[0]}\t{args[3]}\t{args[6].get('desktop-entry', '')}\n")
        invocation.return_value(GLib.Variant("(u)", (1,)))
    elif method == "GetCapabilities":
        invocation.return_value(GLib.Variant("(as)", (["body", "actions"],)))
    elif method == "GetServerInformation":
        invocation.return_value(GLib.Variant("(ssss)", ("test", "test", "1", "1.2")))
    else:
        invocation.return_value(None)


def bus_acquired(connection, name):
    connection.register_object("/org/freedesktop/Notifications",
                               Gio.DBusNodeInfo.new_for_xml(INTERFACE).interfaces[0], call, None, None)


Gio.bus_own_name(Gio.BusType.SESSION, "org.freedesktop.Notifications", Gio.BusNameOwnerFlags.NONE,
                 bus_acquired, lambda *_: print("ready", flush=True), lambda *_: sys.exit(1))
GLib.MainLoop().run()
