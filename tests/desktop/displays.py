# SPDX-License-Identifier: Apache-2.0

"""Displays without a screen: an X server and a Wayland compositor, and pictures of what they show."""

import os
import random
import shutil
import subprocess
from pathlib import Path

from PIL import Image, ImageGrab

from person import PICTURES, eventually


class XDisplay:
    """An X server of the person's own."""

    def __init__(self, person, size=(1280, 400)):
        self.person = person
        self.name = eventually(lambda: self._started(f":{random.randrange(1000, 50000)}", size), "an X server")
        person.environment["DISPLAY"] = self.name

    def _started(self, name, size):
        """The name, or nothing where another server has it. One that looks for a number itself may take the socket of a
        server that ends at the time."""
        reading, writing = os.pipe()
        self.person.start("Xvfb", name, "-displayfd", writing, "-screen", "0", f"{size[0]}x{size[1]}x24", "-nolisten",
                          "tcp", "-noreset", pass_fds=[writing])
        os.close(writing)
        with os.fdopen(reading) as answer:
            return name if answer.readline().strip() else None

    def picture(self):
        return ImageGrab.grab(xdisplay=self.name).convert("RGB")

    def click(self, x, y, button=1):
        self.person.run("xdotool", "mousemove", x, y, "click", button)


class WaylandDisplay:
    """A compositor that draws into memory."""

    def __init__(self, person, configuration, size=(1280, 400)):
        self.person = person
        runtime = Path(person.environment["XDG_RUNTIME_DIR"])
        file = person.folder / "sway.config"
        file.write_text(f"output HEADLESS-1 resolution {size[0]}x{size[1]} position 0 0 bg #202020 solid_color\n"
                        "xwayland disable\n" + configuration)
        person.environment |= {"WLR_BACKENDS": "headless", "WLR_RENDERER": "pixman", "WLR_LIBINPUT_NO_DEVICES": "1"}
        person.start("sway", "--config", file)
        socket = eventually(lambda: next((path for path in runtime.glob("wayland-*") if path.suffix != ".lock"), None),
                            "the compositor's socket")
        person.environment["WAYLAND_DISPLAY"] = socket.name

    def picture(self):
        done = subprocess.run(["grim", "-t", "ppm", "-"], env=self.person.environment, capture_output=True, timeout=60)
        if done.returncode != 0:
            return None
        file = self.person.folder / "screen.ppm"
        file.write_bytes(done.stdout)
        return Image.open(file).convert("RGB")


class NestedDisplay:
    """A compositor within another. Its monitor is a window there: what is closed is unplugged."""

    def __init__(self, person):
        self.outer = WaylandDisplay(person, "default_border none\n", (1280, 800))
        self.person = person
        self.runtime = Path(person.environment["XDG_RUNTIME_DIR"])
        self.outer_socket = self._found("sway-ipc.*", set())
        before = {pattern: set(self.runtime.glob(pattern)) for pattern in ("sway-ipc.*", "wayland-*")}
        file = person.folder / "nested.config"
        file.write_text("output * bg #202020 solid_color\nxwayland disable\n")
        person.start("sway", "--config", file, environment=person.environment | {"WLR_BACKENDS": "wayland"})
        self.socket = self._found("sway-ipc.*", before["sway-ipc.*"])
        person.environment["WAYLAND_DISPLAY"] = self._found("wayland-*", before["wayland-*"]).name

    def _found(self, pattern, known):
        return eventually(lambda: next((path for path in sorted(set(self.runtime.glob(pattern)) - known)
                                        if path.suffix != ".lock"), None), pattern)

    def unplug(self):
        self.person.run("swaymsg", "-s", self.outer_socket, "[app_id=wlroots]", "kill")

    def plug_in(self):
        self.person.run("swaymsg", "-s", self.socket, "create_output")

    def picture(self):
        return self.outer.picture()


class KWinDisplay:
    """Plasma's compositor in a window that fills an X server."""

    def __init__(self, person, size=(1280, 800), scale=1):
        self.outer = XDisplay(person, (scale * size[0], scale * size[1]))
        self.person = person
        self.environment = dict(person.environment)
        # A copy lacks the real one's right to a higher priority, which cannot be had everywhere.
        program = person.folder / "kwin_wayland"
        shutil.copyfile("/usr/bin/kwin_wayland", program)
        program.chmod(0o700)
        socket = Path(person.environment["XDG_RUNTIME_DIR"]) / "vela-kwin"
        person.environment |= {"KWIN_COMPOSE": "Q", "XDG_CURRENT_DESKTOP": "KDE", "XDG_SESSION_TYPE": "wayland"}
        person.start(program, "--x11-display", self.outer.name, "--width", size[0], "--height", size[1], "--scale", scale,
                     "--no-lockscreen", "--no-global-shortcuts", "--socket", socket.name)
        eventually(socket.exists, "the compositor's socket")
        del person.environment["DISPLAY"]
        person.environment["WAYLAND_DISPLAY"] = socket.name

    def do(self, *words):
        """As xdotool has it."""
        subprocess.run(["xdotool", *(str(word) for word in words)], env=self.environment, check=True, timeout=60)

    def click(self, x, y):
        self.do("mousemove", x, y, "click", 1)

    def picture(self):
        return self.outer.picture()


def pixels(picture, color, tolerance=60):
    """How many pixels are about of that colour."""
    if picture is None:
        return 0
    return sum(count for count, found in picture.getcolors(picture.width * picture.height)
               if all(abs(a - b) <= tolerance for a, b in zip(found, color)))


def keep(picture, name):
    """For the eye."""
    PICTURES.mkdir(parents=True, exist_ok=True)
    picture.save(PICTURES / f"{name}.png")
