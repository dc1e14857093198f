#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0

"""A lock screen shows the picture that the live host keeps."""

import time
import unittest
from pathlib import Path

from PIL import Image, ImageChops

from displays import WaylandDisplay, keep
from person import Person, eventually


class Swaylock(unittest.TestCase):
    def test_shows_the_widget(self):
        with Person() as person:
            display = WaylandDisplay(person, "", size=(1014, 474))
            person.start("vela-widget", "run", "--family", "systemMedium", "--scheme", "dark", "--scale", "3")
            folder = Path(person.environment["XDG_RUNTIME_DIR"]) / "vela-widget"
            picture = eventually(lambda: next(folder.glob("*.png"), None), "the picture")
            eventually(lambda: "Arriving" in (folder / "widget.txt").read_text(), "the package")
            drawn = eventually(lambda: picture.exists() and picture.read_bytes(), "the drawing")
            time.sleep(0.5)
            drawn = picture.read_bytes()
            copy = person.folder / "copy.png"
            copy.write_bytes(drawn)
            person.start("swaylock", "--config", "/dev/null", "--image", copy, "--scaling", "center", "--color", "000000",
                         "--no-unlock-indicator")
            wanted = Image.new("RGBA", (1014, 474), "black")
            wanted.alpha_composite(Image.open(copy).convert("RGBA"))
            wanted = wanted.convert("RGB")

            def same():
                shown = display.picture()
                return shown and max(ImageChops.difference(shown, wanted).getdata(), key=sum) < (24, 24, 24) and shown

            keep(eventually(same, "the widget on the lock screen"), "swaylock")


if __name__ == "__main__":
    unittest.main()
