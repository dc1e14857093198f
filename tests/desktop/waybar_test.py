#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0

"""The bar of a Wayland compositor shows the package, from one fetch, and nothing of it after the sign-out."""

import json
import unittest

from displays import WaylandDisplay, keep, pixels
from person import Person, eventually

TEXT = (242, 243, 245)
STYLE = ("* { font-family: Inter; font-size: 14px; min-height: 0; } #waybar { background: #1b1e22; color: #9ca1aa; }"
         "#custom-vela, #clock { padding: 6px 14px; } #custom-vela { color: #f2f3f5; }")


class Waybar(unittest.TestCase):
    def start(self, person):
        folder = person.folder / "config" / "waybar"
        folder.mkdir()
        (folder / "config").write_text('{"layer": "top", "modules-left": ["custom/vela"], "modules-right": ["clock"],\n'
                                       + person.setup("waybar") + "}")
        (folder / "style.css").write_text(STYLE)
        display = WaylandDisplay(person, "", (720, 120))
        person.start("waybar")
        return display

    def test_shows_the_package_until_the_sign_out(self):
        with Person() as person:
            display = self.start(person)
            text = json.loads(eventually(lambda: "Arriving" in person.run("vela-widget", "bar", "--format", "waybar")
                                         and person.run("vela-widget", "bar", "--format", "waybar"), "the package"))
            self.assertIn("Arriving today", text["text"])
            shown = eventually(lambda: pixels(display.picture(), TEXT) > 100 and display.picture(), "the package")
            keep(shown, "waybar")
            self.assertEqual(len(person.requests()), 1)
            person.sign_out()
            eventually(lambda: display.picture().crop((0, 0, 360, 40)).tobytes()
                       != shown.crop((0, 0, 360, 40)).tobytes(), "another text")
            after = json.loads(person.run("vela-widget", "bar", "--format", "waybar"))
            self.assertNotIn("Arriving", json.dumps(after))
            keep(display.picture(), "waybar-signed-out")


if __name__ == "__main__":
    unittest.main()
