#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0

"""The bar of a Wayland compositor shows the package, from one fetch, and nothing of it after the sign-out."""

import json
import unittest

from displays import WaylandDisplay, keep, pixels
from person import Person, eventually

GREEN = (0, 255, 0)
STYLE = "* { font-family: Inter; font-size: 14px; } #waybar { background: #101010; } #custom-vela { color: #00ff00; }"


class Waybar(unittest.TestCase):
    def start(self, person):
        folder = person.folder / "config" / "waybar"
        folder.mkdir()
        (folder / "config").write_text('{"layer": "top", "modules-left": ["custom/vela"],\n'
                                       + person.setup("waybar") + "}")
        (folder / "style.css").write_text(STYLE)
        display = WaylandDisplay(person, "")
        person.start("waybar")
        return display

    def test_shows_the_package_until_the_sign_out(self):
        with Person() as person:
            display = self.start(person)
            text = json.loads(eventually(lambda: "Arriving" in person.run("vela-widget", "bar", "--format", "waybar")
                                         and person.run("vela-widget", "bar", "--format", "waybar"), "the package"))
            self.assertIn("Arriving today", text["text"])
            shown = eventually(lambda: pixels(display.picture(), GREEN) > 100 and display.picture(), "the package")
            keep(shown, "waybar")
            self.assertEqual(len(person.requests()), 1)
            person.sign_out()
            eventually(lambda: display.picture().crop((0, 0, 640, 40)).tobytes()
                       != shown.crop((0, 0, 640, 40)).tobytes(), "another text")
            after = json.loads(person.run("vela-widget", "bar", "--format", "waybar"))
            self.assertNotIn("Arriving", json.dumps(after))
            keep(display.picture(), "waybar-signed-out")


if __name__ == "__main__":
    unittest.main()
