#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0

"""A window that a person writes in: its whole text is printed with each change, a line each."""

import gi

gi.require_version("Gtk", "3.0")
from gi.repository import Gtk  # noqa: E402

window = Gtk.Window(title="Letter")
field = Gtk.Entry()
field.connect("changed", lambda field: print(field.get_text(), flush=True))
window.connect("focus-in-event", lambda *_: print("ready", flush=True))
window.add(field)
window.set_default_size(300, 100)
window.show_all()
Gtk.main()
