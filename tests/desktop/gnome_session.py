# SPDX-License-Identifier: Apache-2.0

"""A GNOME Shell that draws into memory, with the extension enabled, and what a person does in it."""

import json
import os
import re
import shutil
import subprocess
from pathlib import Path

from gi.repository import GLib
from PIL import Image

from person import PROGRAMS, eventually

UUID = "vela-widget@vela.example"
# The item in the panel.
ITEM = f"Main.panel.statusArea['{UUID}']"


class GnomeSession:
    """With buses of its own; nothing of the machine's session, nor of its system's, is spoken to."""

    def __init__(self, person, size=(1280, 720), environment=(), prepare=lambda person: None, change=None):
        """`prepare` is called with the person once her bus is there, and before the shell. `change` is given her own copy of
        the extension, for what nobody can choose; else it is the installed one."""
        self.person = person
        if change:
            change(self._copied_extension())
        person.enter_desktop("GNOME")
        person.environment |= {"LIBGL_ALWAYS_SOFTWARE": "1", "GSETTINGS_BACKEND": "keyfile"} | dict(environment)
        self._enable()
        person.start_bus()
        prepare(person)
        self.process = person.start("gnome-shell", "--headless", "--wayland", "--no-x11", "--unsafe-mode",
                                    "--virtual-monitor", f"{size[0]}x{size[1]}")
        eventually(lambda: self._answer("1 + 1") == "2", "the shell")
        # What the shell has to say of a machine without a login screen.
        self.eval("Main.messageTray.bannerBlocked = true; null")
        eventually(lambda: self.eval(f"!!{ITEM}"), "the item in the panel")
        # It begins in the overview, which is not left while it is being shown.
        eventually(lambda: self.eval("Main.overview.hide(); !Main.overview.visible"), "the desktop")

    def _copied_extension(self):
        own = self.person.folder / "data" / "gnome-shell" / "extensions" / UUID
        shutil.copytree(PROGRAMS.parent / "share" / "gnome-shell" / "extensions" / UUID, own)
        return own

    def _enable(self):
        settings = self.person.folder / "config" / "glib-2.0" / "settings"
        settings.mkdir(parents=True)
        (settings / "keyfile").write_text(
            f"[org/gnome/shell]\nenabled-extensions=['{UUID}']\nwelcome-dialog-last-shown-version='99'\n"
            "[org/gnome/desktop/interface]\nenable-animations=false\n"
            "[org/gnome/desktop/background]\npicture-uri=''\npicture-uri-dark=''\nprimary-color='#305070'\n")

    def call(self, service, path, method, *arguments):
        return subprocess.run(["gdbus", "call", "--session", "-d", service, "-o", path, "-m", method, *arguments],
                              env=self.person.environment, capture_output=True, text=True, timeout=60)

    def _answer(self, script):
        done = self.call("org.gnome.Shell", "/org/gnome/Shell", "org.gnome.Shell.Eval", script)
        if not done.stdout.startswith("(true, "):
            self.failure = done.stdout + done.stderr
            return None
        # The value is JSON, in the bus's own notation.
        return GLib.Variant.parse(None, done.stdout, None, None).unpack()[1]

    def eval(self, script):
        """What the shell's own language makes of it; fails where that throws."""
        answer = self._answer(script)
        if answer is None:
            raise AssertionError(f"{script}: {self.failure}")
        return json.loads(answer) if answer else None

    def picture(self):
        file = self.person.folder / "screen.png"
        self.call("org.gnome.Shell.Screenshot", "/org/gnome/Shell/Screenshot",
                  "org.gnome.Shell.Screenshot.Screenshot", "false", "false", str(file))
        return Image.open(file).convert("RGB")

    def text(self):
        return self.eval(f"{ITEM}._text.text")

    def open_menu(self):
        self.click(ITEM)
        eventually(lambda: self.eval(f"{ITEM}.menu.isOpen"), "the popover")

    def click(self, actor):
        """With a pointer of the shell's own, in the middle of the actor."""
        self.eval(f"const [x, y] = {actor}.get_transformed_position();"
                  f"const [width, height] = {actor}.get_transformed_size();"
                  f"{self._device('POINTER')}"
                  "device.notify_absolute_motion(0, x + width / 2, y + height / 2); null")
        pointer = "imports.gi.Clutter.get_default_backend().get_default_seat().get_pointer()"
        eventually(lambda: self.eval(f"{actor}.contains(global.stage.get_device_actor({pointer}, null))"),
                   f"the pointer over {actor}")
        for state in ("PRESSED", "RELEASED"):
            self.eval(f"{self._device('POINTER')}"
                      f"device.notify_button(0, Clutter.BUTTON_PRIMARY, Clutter.ButtonState.{state}); null")

    def press(self, key):
        """A key by its name, such as Down."""
        # At once: one that stays down on a machine that has much to do is repeated.
        notices = "".join(f"device.notify_keyval(0, Clutter.KEY_{key}, Clutter.KeyState.{state});"
                          for state in ("PRESSED", "RELEASED"))
        self.eval(f"{self._device('KEYBOARD')}{notices} null")

    @staticmethod
    def _device(kind):
        return ("const Clutter = imports.gi.Clutter; global.testDevices ??= {};"
                f"const device = (global.testDevices.{kind} ??= Clutter.get_default_backend().get_default_seat()"
                f".create_virtual_device(Clutter.InputDeviceType.{kind}_DEVICE));")

    def set_monitor_scale(self, scale):
        service = "org.gnome.Mutter.DisplayConfig"
        path = "/org/gnome/Mutter/DisplayConfig"
        state = self.call(service, path, f"{service}.GetCurrentState").stdout
        serial = re.search(r"uint32 (\d+)", state).group(1)
        mode = re.search(r"'(\d+x\d+@[^']*)'", state).group(1)
        monitors = f"[(0, 0, {scale}, uint32 0, true, [('Meta-0', '{mode}', @a{{sv}} {{}})])]"
        self.call(service, path, f"{service}.ApplyMonitorsConfig", serial, "1", monitors, "{}")

    def descriptors(self, kind):
        """How many of the shell's descriptors are of that kind, as /proc names it."""
        links = []
        for each in Path(f"/proc/{self.process.pid}/fd").iterdir():
            try:
                links.append(os.readlink(each))
            except OSError:
                continue
        return sum(kind in link for link in links)

    def file_watches(self):
        """What the kernel watches for the shell."""
        count = 0
        for each in Path(f"/proc/{self.process.pid}/fdinfo").iterdir():
            try:
                count += each.read_text().count("inotify wd:")
            except OSError:
                continue
        return count

    def complaints(self):
        """What the shell logged of our code."""
        log = (self.person.folder / "gnome-shell.log").read_text(errors="replace")
        return [line for line in log.splitlines() if UUID in line or "Vela:" in line]
