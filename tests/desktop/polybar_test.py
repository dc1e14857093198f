#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0

"""A bar of the X window system shows the package."""

import unittest

from displays import XDisplay, keep, pixels
from person import Person, eventually

CONFIGURATION = """
[bar/top]
width = 100%
height = 24
background = #101010
foreground = #00ff00
font-0 = Inter:size=11
modules-left = vela
"""


class Polybar(unittest.TestCase):
    def test_shows_the_package_until_the_sign_out(self):
        with Person() as person:
            display = XDisplay(person)
            file = person.folder / "polybar.ini"
            file.write_text(CONFIGURATION + person.setup("polybar"))
            person.start("polybar", "--config=" + str(file), "top")
            eventually(lambda: "Arriving" in person.run("vela-widget", "bar", "--format", "plain"), "the package")
            shown = eventually(lambda: pixels(display.picture(), (0, 255, 0)) > 250 and display.picture(),
                               "the package")
            keep(shown, "polybar")
            self.assertEqual(len(person.requests()), 1)
            person.sign_out()
            eventually(lambda: display.picture().tobytes() != shown.tobytes(), "another text")


if __name__ == "__main__":
    unittest.main()
