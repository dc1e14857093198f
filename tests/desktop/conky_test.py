#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0

"""A desktop's monitor shows the live host's text file."""

import unittest

from displays import XDisplay, keep, pixels
from person import Person, eventually

SETTINGS = """
conky.config = {
    alignment = 'top_left', background = false, double_buffer = true, own_window = true,
    own_window_type = 'override', own_window_colour = '101010', default_color = '00ff00',
    use_xft = true, font = 'Inter:size=11', update_interval = 0.5, out_to_console = false,
}
"""


class Conky(unittest.TestCase):
    def test_shows_the_packages_until_the_sign_out(self):
        with Person() as person:
            display = XDisplay(person)
            person.start("vela-widget", "run")
            # As often as the test looks.
            snippet = person.setup("conky").replace("execi 10", "execi 1")
            file = person.folder / "conky.conf"
            file.write_text(SETTINGS + snippet)
            text = person.folder / "runtime" / "vela-widget" / "widget.txt"
            eventually(lambda: text.exists() and "Arriving" in text.read_text(), "the text")
            person.start("conky", "--config", file)
            shown = eventually(lambda: pixels(display.picture(), (0, 255, 0)) > 2000 and display.picture(),
                               "the packages")
            keep(shown, "conky")
            person.sign_out()
            eventually(lambda: 0 < pixels(display.picture(), (0, 255, 0)) < pixels(shown, (0, 255, 0)) / 2,
                       "the sign-in text alone")


if __name__ == "__main__":
    unittest.main()
