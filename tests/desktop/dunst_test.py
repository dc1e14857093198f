#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0

"""A desktop's notification daemon shows what a person gets up for, once."""

import json
import unittest

from displays import XDisplay, keep
from person import PROGRAMS, Person, eventually


LOOK = """[global]
font = Inter 11
width = 320
offset = 20x20
padding = 14
horizontal_padding = 16
frame_width = 1
frame_color = "#33363a"
separator_height = 0
show_indicators = no
[urgency_normal]
background = "#1b1e22"
foreground = "#f2f3f5"
"""


class Dunst(unittest.TestCase):
    def start(self, person):
        person.start_bus()
        display = XDisplay(person)
        look = person.folder / "dunstrc"
        look.write_text(LOOK)
        person.start("dunst", "-conf", look)
        eventually(lambda: person.run("dunstctl", "count", status=None).strip(), "the daemon")
        self.display = display
        return display

    def told(self, person):
        history = json.loads(person.run("dunstctl", "history"))["data"][0]
        shown = int(person.run("dunstctl", "count", "displayed"))
        return len(history) + shown

    def look(self, person):
        """A live host's first look at the packages."""
        self.start(person)
        person.run_live_host("--notify")
        eventually(lambda: "Arriving" in person.run("vela-widget", "bar", "--format", "plain"), "the package")

    def be_told(self, person):
        self.look(person)
        person.change(self.arrived(person))
        person.run("vela-widget", "reload")
        eventually(lambda: self.told(person) == 1, "the notification")

    def test_tells_nothing_at_the_first_look(self):
        with Person() as person:
            self.look(person)
            self.assertEqual(self.told(person), 0)

    def test_tells_once_of_a_parcel_that_arrived(self):
        with Person(scenario="one") as person:
            self.be_told(person)
            keep(eventually(lambda: self.display.picture().getcolors(2) is None and self.display.picture(),
                            "the notification on the screen"), "dunst")
            self.assertIn("Orchard Lane", self.shown(person))
            person.run("vela-widget", "reload")
            self.assertEqual(self.told(person), 1)

    def test_opens_the_parcel_that_is_clicked(self):
        with Person(scenario="one") as person:
            self.be_told(person)
            person.run("dunstctl", "action")
            opened = eventually(person.opened_links, "the link")
            self.assertEqual(len(opened), 1)
            self.assertTrue(opened[0].startswith(person.environment["BASE_URL"]), opened)
            # What the companion opens for the package in the bar is the same page.
            person.run("vela-widget", "bar", "--open")
            self.assertEqual(eventually(lambda: person.opened_links()[1:], "the bar's link"), opened)

    @staticmethod
    def arrived(person):
        scenario = json.loads((PROGRAMS.parent / "share/vela-widget/sandbox/scenarios/one.json").read_text())
        scenario["items"][0] |= {"displayStatus": "delivered", "deliveryStatus": "delivered"}
        file = person.folder / "arrived.json"
        file.write_text(json.dumps(scenario))
        return file

    @staticmethod
    def shown(person):
        """What is on the screen goes into the history once it is closed."""
        person.run("dunstctl", "close-all")
        return person.run("dunstctl", "history")


if __name__ == "__main__":
    unittest.main()
