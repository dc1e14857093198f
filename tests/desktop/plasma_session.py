# SPDX-License-Identifier: Apache-2.0

"""Plasma's own window for one plasmoid, on an X display without a screen."""

import contextlib

from displays import XDisplay
from person import PROGRAMS, eventually

ID = "example.vela.widget"


class PlasmaSession:
    """With a bus of its own, and settings of its own in the person's folder."""

    def __init__(self, person, size=(800, 600), colors="BreezeLight"):
        self.person = person
        self.display = XDisplay(person, size)
        bus = person.folder / "bus"
        person.environment |= {
            "DBUS_SESSION_BUS_ADDRESS": f"unix:path={bus}",
            "DBUS_SYSTEM_BUS_ADDRESS": f"unix:path={bus}",
            "XDG_DATA_DIRS": f"{PROGRAMS.parent / 'share'}:/usr/local/share:/usr/share",
            "XDG_CACHE_HOME": str(person.folder / "cache"),
            "XDG_CURRENT_DESKTOP": "KDE",
            "KDE_FULL_SESSION": "true",
            "KDE_SESSION_VERSION": "5",
            "QT_ACCESSIBILITY": "1",
            "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1",
            "QT_QUICK_BACKEND": "software",
            "QSG_RENDER_LOOP": "basic",
            "KDE_DEBUG": "1",
        }
        self.set_colors(colors)
        person.start("dbus-daemon", "--session", "--nofork", "--address", f"unix:path={bus}")
        eventually(bus.exists, "the bus")
        self.process = None

    def set_colors(self, theme):
        name = {"BreezeLight": "breeze-light", "BreezeDark": "breeze-dark"}[theme]
        (self.person.folder / "config" / "plasmarc").write_text(f"[Theme]\nname={name}\n")

    def open(self):
        self.process = self.person.start("plasmawindowed", ID)
        return self.process

    def readers(self):
        """Processes of ours that wait for something else to show."""
        return list(self.person.processes(b"panel"))

    def picture(self):
        return self.display.picture()
