#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0

"""What a person drags from and copies from: a window of 100 by 100 pixels in the screen's corner.

The addresses that are its arguments can be dragged out of it; the text on its standard input is what the clipboard holds.
Says "over" when what was dragged has been taken, each time once.
"""

import sys

import gi

gi.require_version("Gdk", "3.0")
gi.require_version("Gtk", "3.0")
from gi.repository import Gdk, Gtk  # noqa: E402

window = Gtk.Window(title="Files", decorated=False)
window.set_default_size(100, 100)
area = Gtk.EventBox()
area.drag_source_set(Gdk.ModifierType.BUTTON1_MASK, [Gtk.TargetEntry.new("text/uri-list", 0, 0)], Gdk.DragAction.COPY)
area.connect("drag-data-get", lambda _area, _context, data, _info, _time: data.set_uris(sys.argv[1:]))
area.connect("drag-end", lambda _area, _context: print("over", flush=True))
window.add(area)
window.move(0, 0)
window.show_all()
text = sys.stdin.read()
if text:
    Gtk.Clipboard.get(Gdk.SELECTION_CLIPBOARD).set_text(text, -1)
Gtk.main()
