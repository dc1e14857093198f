#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0

"""A settings portal whose words a test chooses: each line of standard input is a key and a number, as in "contrast 1"."""

import os

from gi.repository import Gio, GLib

SPACE = "org.freedesktop.appearance"
INTERFACE = """<node><interface name="org.freedesktop.portal.Settings">
<method name="Read"><arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="v" direction="out"/></method>
<signal name="SettingChanged"><arg type="s"/><arg type="s"/><arg type="v"/></signal>
</interface></node>"""

values = {}
connection = Gio.bus_get_sync(Gio.BusType.SESSION)
loop = GLib.MainLoop()


def answer(_connection, _sender, _path, _interface, _method, arguments, invocation):
    space, key = arguments.unpack()
    if space != SPACE or key not in values:
        invocation.return_dbus_error("org.freedesktop.portal.Error.NotFound", "no such setting")
        return
    # As the portal does, which wraps the answer to this call twice.
    invocation.return_value(GLib.Variant("(v)", [GLib.Variant("v", GLib.Variant("u", values[key]))]))


def change(key, number):
    values[key] = number
    connection.emit_signal(None, "/org/freedesktop/portal/desktop", "org.freedesktop.portal.Settings", "SettingChanged",
                           GLib.Variant("(ssv)", (SPACE, key, GLib.Variant("u", number))))


def read_lines(descriptor, condition):
    # Past Python's own buffer, which would keep a second line to itself. A line is written at once.
    lines = os.read(descriptor, 4096).decode().splitlines() if condition & GLib.IO_IN else []
    for line in lines:
        key, number = line.split()
        change(key, int(number))
    if not lines:
        loop.quit()
    return bool(lines)


node = Gio.DBusNodeInfo.new_for_xml(INTERFACE)
connection.register_object("/org/freedesktop/portal/desktop", node.interfaces[0], answer, None, None)
Gio.bus_own_name_on_connection(connection, "org.freedesktop.portal.Desktop", Gio.BusNameOwnerFlags.NONE, None, None)
GLib.io_add_watch(0, GLib.IO_IN | GLib.IO_HUP, read_lines)
loop.run()
