#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0

"""The terminal view in a terminal's own window: its keys, a change of the window's size, and the shell afterwards."""

import time
import unittest

from displays import XDisplay, keep, pixels
from person import Person, eventually

FONT = ["-fa", "DejaVu Sans Mono", "-fs", "11"]
COLORS = ["-bg", "#101418", "-fg", "#e8e8e8"]


class Xterm(unittest.TestCase):
    def test_shows_the_packages_and_hears_keys(self):
        with Person() as person:
            display = XDisplay(person, (800, 400))
            after = person.folder / "after"
            person.start("xterm", *FONT, *COLORS, "-b", "12", "-geometry", "76x20+0+0", "-e",
                         f"COLORTERM=truecolor vela-widget show --follow; stty -a > {after}")
            ground = eventually(lambda: self.inked(display) > 2000 and display.picture(), "the packages")
            window = person.run("xdotool", "search", "--onlyvisible", "--class", "xterm").split()[-1]
            person.run("xdotool", "windowfocus", "--sync", window)
            eventually(lambda: "Arriving" in person.run("vela-widget", "show", "--live"), "the package")
            keep(eventually(lambda: self.settled(display), "a view at rest"), "terminal")
            self.press(person, "Return")
            eventually(lambda: any(link.endswith("5501") for link in person.opened_links()), "the first link")
            self.press(person, "Down", "Return")
            eventually(lambda: len(person.opened_links()) == 2, "the second link")
            self.assertIn("d-7001", person.opened_links()[1])
            person.run("xdotool", "windowsize", window, "420", "300")
            narrow = eventually(lambda: self.settled(display), "a smaller view at rest")
            keep(narrow, "terminal-narrow")
            self.assertEqual(pixels(narrow.crop((421, 0, 800, 400)), (232, 232, 232), 90), 0)
            self.assertGreater(pixels(narrow, (232, 232, 232), 90), 1000)
            person.sign_out()
            eventually(lambda: self.inked(display) < pixels(ground, (232, 232, 232), 90), "a view without packages")
            self.assertEqual(len(person.requests()), 1)
            self.press(person, "q")
            modes = eventually(lambda: after.exists() and after.read_text(), "the shell").replace(";", " ").split()
            for mode in ("icanon", "echo", "isig", "icrnl", "opost"):
                self.assertIn(mode, modes)

    @staticmethod
    def press(person, *keys):
        person.run("xdotool", "key", "--delay", "100", *keys)

    @staticmethod
    def inked(display):
        return pixels(display.picture(), (232, 232, 232), 90)

    @staticmethod
    def settled(display):
        """A picture that stays the same for a moment; letters of rarer scripts take their time."""
        first = display.picture()
        time.sleep(0.7)
        return first if first.tobytes() == display.picture().tobytes() else None


if __name__ == "__main__":
    unittest.main()
