#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0

"""The Xfce panel's generic monitor shows the package."""

import unittest

from displays import XDisplay, keep, pixels
from person import Person, eventually

# A panel with that one plug-in, whose text is of a colour of its own.
PANEL = """<?xml version="1.0" encoding="UTF-8"?>
<channel name="xfce4-panel" version="1.0">
  <property name="configver" type="int" value="2"/>
  <property name="panels" type="array">
    <value type="int" value="1"/>
    <property name="panel-1" type="empty">
      <property name="position" type="string" value="p=6;x=0;y=0"/>
      <property name="position-locked" type="bool" value="true"/>
      <property name="length" type="uint" value="100"/>
      <property name="size" type="uint" value="28"/>
      <property name="background-style" type="uint" value="1"/>
      <property name="background-rgba" type="array">
        <value type="double" value="0.06"/>
        <value type="double" value="0.06"/>
        <value type="double" value="0.06"/>
        <value type="double" value="1"/>
      </property>
      <property name="plugin-ids" type="array">
        <value type="int" value="1"/>
      </property>
    </property>
  </property>
  <property name="plugins" type="empty">
    <property name="plugin-1" type="string" value="genmon"/>
  </property>
</channel>
"""
STYLE = "* { color: #00ff00; font: 11pt Inter; }\n"


class Genmon(unittest.TestCase):
    def test_shows_the_package_until_the_sign_out(self):
        with Person() as person:
            display = XDisplay(person)
            command = person.setup("genmon").splitlines()[-1]
            self.configure(person, command)
            person.start_bus()
            person.start("xfce4-panel", "--disable-wm-check")
            eventually(lambda: "Arriving" in person.run("vela-widget", "bar", "--format", "plain"), "the package")
            shown = eventually(lambda: pixels(display.picture(), (0, 255, 0)) > 250 and display.picture(),
                               "the package in the panel")
            keep(shown, "genmon")
            self.assertEqual(len(person.requests()), 1)
            self.clicks(person, display, shown)
            person.sign_out()
            eventually(lambda: display.picture().tobytes() != shown.tobytes(), "another text")

    def clicks(self, person, display, shown):
        """The text is a button that opens the package."""
        text = [(x, y) for x in range(0, shown.width, 2) for y in range(28)
                if pixels(shown.crop((x, y, x + 1, y + 1)), (0, 255, 0))]
        x, y = text[len(text) // 2]
        display.click(x, y)
        opened = eventually(person.opened_links, "the link")
        self.assertTrue(opened[0].startswith(person.environment["BASE_URL"]), opened)

    @staticmethod
    def configure(person, command):
        config = person.folder / "config"
        panel = config / "xfce4" / "xfconf" / "xfce-perchannel-xml"
        panel.mkdir(parents=True)
        (panel / "xfce4-panel.xml").write_text(PANEL)
        (config / "gtk-3.0").mkdir()
        (config / "gtk-3.0" / "gtk.css").write_text(STYLE)
        (config / "xfce4" / "panel").mkdir()
        (config / "xfce4" / "panel" / "genmon-1.rc").write_text(
            f"Command={command}\nUseLabel=0\nText=\nUpdatePeriod=1000\nFont=Inter 11\n")


if __name__ == "__main__":
    unittest.main()
