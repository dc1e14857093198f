#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0

"""Conky shows the picture that the live host keeps, and another one after a sign-out."""

import unittest

from PIL import Image, ImageChops

from displays import XDisplay, keep
from person import Person, eventually

GROUND = (16, 16, 16)
SETTINGS = """
conky.config = {
    alignment = 'top_left', background = false, double_buffer = true, own_window = true,
    own_window_type = 'override', own_window_colour = '101010', gap_x = 0, gap_y = 0, border_width = 0,
    border_inner_margin = 0, border_outer_margin = 0, draw_borders = false, update_interval = 0.5,
    out_to_console = false,
}
"""


class Conky(unittest.TestCase):
    def test_shows_the_widget_until_the_sign_out(self):
        with Person() as person:
            display = XDisplay(person)
            person.start("vela-widget", "run", "--family", "systemMedium", "--scheme", "dark", "--scale", "1")
            folder = person.folder / "runtime" / "vela-widget"
            picture = folder / "systemMedium-dark@1x.png"
            text = folder / "widget.txt"
            eventually(lambda: text.exists() and "Arriving" in text.read_text(), "the packages")
            file = person.folder / "conky.conf"
            file.write_text(SETTINGS + person.setup("conky"))
            person.start("conky", "--config", file)

            def shown():
                """What is on the display, where it is what the picture holds."""
                drawn = Image.open(picture).convert("RGBA")
                wanted = Image.new("RGBA", drawn.size, GROUND + (255,))
                wanted.alpha_composite(drawn)
                seen = display.picture()
                part = seen.crop((0, 0) + drawn.size).convert("RGB")
                difference = ImageChops.difference(part, wanted.convert("RGB"))
                return max(difference.getdata(), key=sum) < (24, 24, 24) and seen

            def without_faults(look):
                try:
                    return look()
                except OSError:
                    return None

            keep(eventually(lambda: without_faults(shown), "the widget"), "conky")
            before = picture.read_bytes()
            person.sign_out()
            eventually(lambda: picture.exists() and picture.read_bytes() != before and without_faults(shown),
                       "the sign-in view")


if __name__ == "__main__":
    unittest.main()
