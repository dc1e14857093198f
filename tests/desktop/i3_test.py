#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0

"""i3's own bar shows the package, and a click on it opens the package's link; i3blocks shows it too."""

import unittest

from displays import XDisplay, keep, pixels
from person import Person, eventually

GREEN = (0, 255, 0)


class I3(unittest.TestCase):
    @staticmethod
    def status_command(person):
        line = next(line for line in person.setup("i3").splitlines() if line.strip().startswith("status_command"))
        return line.split("status_command", 1)[1].strip()

    def start(self, person, status_command):
        display = XDisplay(person)
        file = person.folder / "i3.config"
        file.write_text("# i3 config file (v4)\nfont pango:Inter 11\n"
                        f"bar {{\n    status_command {status_command}\n    position top\n    tray_output none\n"
                        "    workspace_buttons no\n"
                        "    colors {\n        background #101010\n        statusline #00ff00\n    }\n}\n")
        person.start("i3", "-c", file)
        return display

    def shown(self, display):
        return eventually(lambda: pixels(display.picture(), GREEN) > 100 and display.picture(), "the package")

    def test_bar_shows_the_package_and_a_click_opens_its_link(self):
        with Person() as person:
            display = self.start(person, self.status_command(person))
            eventually(lambda: "Arriving" in person.run("vela-widget", "bar", "--format", "plain"), "the package")
            picture = eventually(lambda: pixels(display.picture(), GREEN) > 250 and display.picture(), "the package")
            keep(picture, "i3bar")
            columns = [x for x in range(picture.width) for y in range(20)
                       if all(abs(a - b) < 60 for a, b in zip(picture.getpixel((x, y)), GREEN))]
            display.click((min(columns) + max(columns)) // 2, 8)
            link = eventually(person.opened_links, "the link")[0]
            self.assertTrue(link.startswith(person.environment["BASE_URL"]), link)
            self.assertEqual(len(person.requests()), 1)

    def test_i3blocks_shows_the_package(self):
        with Person() as person:
            blocks = person.folder / "i3blocks.conf"
            blocks.write_text(person.setup("i3blocks"))
            display = self.start(person, f"i3blocks -c {blocks}")
            keep(self.shown(display), "i3blocks")
            eventually(lambda: "Arriving" in person.run("vela-widget", "bar", "--format", "i3blocks"), "the package")
            self.assertEqual(len(person.requests()), 1)


if __name__ == "__main__":
    unittest.main()
