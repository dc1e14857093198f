#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0

"""The desktop gives the app's links to the companion, which opens the account site's page in the browser."""

import unittest
from pathlib import Path

from displays import XDisplay
from person import PROGRAMS, Person, eventually


class Links(unittest.TestCase):
    def test_a_clicked_link_opens_its_page(self):
        with Person() as person:
            person.environment["XDG_DATA_DIRS"] = f"{PROGRAMS.parent / 'share'}:/usr/share"
            handler = person.run("xdg-mime", "query", "default", "x-scheme-handler/velaapp").strip()
            self.assertEqual(handler, "vela-companion.desktop")
            person.run("gio", "open", "velaapp://order/42")
            eventually(person.opened_links, "the page")
            self.assertEqual(person.opened_links(), [person.environment["BASE_URL"] + "/order/42"])

    def test_a_clicked_link_opens_its_page_where_there_is_no_desktop(self):
        with Person() as person:
            XDisplay(person)
            person.environment["XDG_DATA_DIRS"] = f"{PROGRAMS.parent / 'share'}:/usr/share"
            # By its path: by its name the companion finds the one that notes links.
            person.run("/usr/bin/xdg-open", "velaapp://order/42")
            eventually(person.opened_links, "the page")
            # A scheme means the same in capitals (RFC 3986, section 3.1); this program knows a name as it is written.
            person.run("/usr/bin/xdg-open", "VELAAPP://order/43")
            eventually(lambda: len(person.opened_links()) == 2, "the second page")
            pages = [person.environment["BASE_URL"] + "/order/" + number for number in ("42", "43")]
            self.assertEqual(person.opened_links(), pages)

    def test_its_file_is_well_formed(self):
        with Person() as person:
            file = PROGRAMS.parent / "share/applications/vela-companion.desktop"
            self.assertTrue(Path(file).exists())
            person.run("desktop-file-validate", file)


if __name__ == "__main__":
    unittest.main()
