# SPDX-License-Identifier: Apache-2.0

"""Plasma on an X display without a screen, with the plasmoid in its panel and on its desktop."""

import contextlib
import json
import shutil
import subprocess
import sys

from displays import XDisplay
from person import PROGRAMS, eventually

ID = "example.vela.widget"
SIZE = (1280, 720)
# The item's icon, at the beginning of the panel.
ITEM = (17, SIZE[1] - 14)

PANEL = f"""[Containments][2]
formfactor=2
lastScreen=0
location=4
plugin=org.kde.panel

[Containments][2][Applets][4]
plugin={ID}

[Containments][2][General]
AppletOrder=4
"""

# What a screen reader would find, as [role, name] in the order of the tree.
ACCESSIBLE = """
import json, pyatspi
found = []
def walk(node):
    found.append([node.getRoleName(), node.name])
    for index in range(node.childCount):
        walk(node.getChildAtIndex(index))
for index in range(pyatspi.Registry.getDesktop(0).childCount):
    application = pyatspi.Registry.getDesktop(0).getChildAtIndex(index)
    if application and application.name == "plasmashell":
        walk(application)
print(json.dumps(found))
"""


class PlasmaSession:
    """With a bus of its own, and settings of its own in the person's folder."""

    def __init__(self, person, change=None, options=(), display=None):
        """`change` is given the person's own copy of the plasmoid, for what nobody can choose; else it is the installed
        one. Without a display it has an X server."""
        self.person = person
        if change:
            change(self._copied_plasmoid())
        self.display = display or XDisplay(person, SIZE)
        person.enter_desktop("KDE")
        person.environment |= {"QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1", "QT_QUICK_BACKEND": "software"}
        (person.folder / "config" / "plasma-org.kde.plasma.desktop-appletsrc").write_text(PANEL)
        self.set_theme("breeze-light")
        person.start_bus()
        # The shell would start it too, but sometimes gives up before it is there.
        person.run("gdbus", "call", "--session", "-d", "org.freedesktop.DBus", "-o", "/org/freedesktop/DBus", "-m",
                   "org.freedesktop.DBus.StartServiceByName", "org.kde.ActivityManager", "0")
        self.shell = person.start("plasmashell", "--no-respawn", *options)

    def _copied_plasmoid(self):
        own = self.person.folder / "data" / "plasma" / "plasmoids" / ID
        shutil.copytree(PROGRAMS.parent / "share" / "plasma" / "plasmoids" / ID, own)
        return own

    def set_theme(self, name):
        self._configure("plasmarc", "Theme", "name", name)

    def set_font(self, points):
        """As the settings do it."""
        self._configure("kdeglobals", "General", "font", f"Noto Sans,{points},-1,5,50,0,0,0,0,0")
        self.person.run("gdbus", "emit", "--session", "-o", "/KDEPlatformTheme", "-s",
                        "org.kde.KDEPlatformTheme.refreshFonts")

    def _configure(self, file, group, key, value):
        """Under the lock of those files: the desktop brings them up to date itself, some time after its start."""
        self.person.run("kwriteconfig5", "--file", file, "--group", group, "--key", key, value)

    def make_theme(self, name, text, ground):
        """One of these colours, each as in "255,255,255"."""
        folder = self.person.folder / "data" / "plasma" / "desktoptheme" / name
        folder.mkdir(parents=True)
        (folder / "metadata.json").write_text(json.dumps({"KPlugin": {"Id": name, "Name": name}}))
        (folder / "colors").write_text("".join(
            f"[Colors:{part}]\nBackgroundNormal={ground}\nForegroundNormal={text}\n"
            for part in ("Window", "View", "Button", "Complementary")))

    def add_to_desktop(self):
        eventually(lambda: self._evaluate(f"desktops()[0].addWidget('{ID}', 700, 40, 380, 560)"), "the desktop")

    def _evaluate(self, script):
        done = subprocess.run(["gdbus", "call", "--session", "-d", "org.kde.plasmashell", "-o", "/PlasmaShell", "-m",
                               "org.kde.PlasmaShell.evaluateScript", script],
                              env=self.person.environment, capture_output=True, text=True, timeout=60)
        return done.returncode == 0

    def readers(self):
        """Processes of ours that wait for something else to show."""
        return list(self.person.processes(b"panel"))

    def click(self, place):
        self.display.click(*place)

    def open_popup(self, place=ITEM):
        """A click may be lost on an item that is being laid out anew."""
        def is_open():
            if not self._popup():
                self.click(place)
                with contextlib.suppress(AssertionError):
                    eventually(self._popup, "the popup", 5)
            return self._popup()

        eventually(is_open, "the popup")

    def focus_popup(self):
        """What a window manager would do."""
        popup = eventually(self._popup, "the popup")[-1]
        self.person.run("xdotool", "windowfocus", "--sync", popup)

    def _popup(self):
        """It is opened last, after desktop and panel."""
        return self._windows()[2:]

    def _windows(self):
        return self.person.run("xdotool", "search", "--onlyvisible", "--class", "plasmashell").split()

    def press(self, *keys):
        self.person.run("xdotool", "key", "--delay", "150", *keys)

    def accessible(self):
        done = subprocess.run([sys.executable, "-c", ACCESSIBLE], env=self.person.environment, capture_output=True,
                              text=True, timeout=60)
        return json.loads(done.stdout) if done.returncode == 0 else []

    def names(self):
        return [name for _, name in self.accessible()]

    def complaints(self):
        """What the shell logged of our code."""
        log = (self.person.folder / "plasmashell.log").read_text(errors="replace")
        return [line for line in log.splitlines() if ID in line]
