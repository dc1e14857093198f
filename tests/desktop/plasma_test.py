#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0

"""Plasma shows the widget in its panel and on its desktop, opens its links, and keeps nothing of a person who has
signed out."""

import json
import os
import signal
import unittest

from displays import keep, pixels
from person import Person, eventually
from plasma_session import ITEM, PlasmaSession

# What is drawn in the widget's own colour.
BRAND_ON_LIGHT = (0x0C, 0x6C, 0x96)
# Where the popup of the item stands.
POPUP = (0, 0, 380, 690)
ARRIVING = "Fathom & Co.: arriving today, between 2 and 4 PM; 80 percent of the way"


def open_popup(session, words):
    eventually(lambda: words in session.names(), lambda: f"{words} among {session.names()}")
    session.click(ITEM)
    return eventually(lambda: pixels(session.display.picture().crop(POPUP), BRAND_ON_LIGHT, 25) > 300
                      and session.display.picture(), "the medium widget")


def middle_of_the_bar(picture):
    """A place in the medium widget: in its progress bar, or on its button."""
    popup = picture.crop(POPUP)
    found = [(x, y) for x in range(popup.width) for y in range(popup.height)
             if all(abs(a - b) < 25 for a, b in zip(popup.getpixel((x, y)), BRAND_ON_LIGHT))]
    return found[len(found) // 2]


class Plasma(unittest.TestCase):
    def test_shows_the_packages_and_opens_their_links(self):
        with Person() as person:
            session = PlasmaSession(person)
            session.add_to_desktop()
            picture = open_popup(session, ARRIVING)
            keep(picture, "plasma")
            names = session.accessible()
            self.assertEqual(names.count(["push button", ARRIVING]), 3, "in the panel, its popup and on the desktop")
            self.assertEqual(sum(role == "list item" for role, _ in names), 18)
            session.click(middle_of_the_bar(picture))
            eventually(lambda: len(person.opened_links()) == 1, "the link of the picture")
            self.assertTrue(person.opened_links()[0].endswith("5501"), person.opened_links())
            session.focus_popup()
            session.press("Tab", "Return")
            eventually(lambda: len(person.opened_links()) == 2, "the second link, by the keyboard")
            self.assertIn("d-7001", person.opened_links()[1])
            self.assertEqual(len(person.requests()), 1)
            session.press("Tab", "space")
            eventually(lambda: len(person.requests()) == 2, "a request for the reload")
            self.assertEqual(len(session.readers()), 1, "one for all that show the same")
            self.assertEqual(session.complaints(), [])

    def test_gives_a_link_to_the_shell_as_one_word(self):
        with Person() as person:
            # All of it may stand in a link.
            number = "5501'$(touch$IFS$HOME/obeyed)'"
            item = {"__typename": "Order", "id": number, "createdAt": {"$now": "-6d"},
                    "displayStatus": "out_for_delivery", "deliveryStatus": "out_for_delivery",
                    "shop": {"name": "<b>Tea</b> & <img src='x'>"}, "etaInfo": {"formattedEta": "Arriving today"}}
            scenario = person.folder / "scenario.json"
            plain = item | {"id": "5502"}
            scenario.write_text(json.dumps({"description": "A link that a shell would obey.", "items": [item, plain]}))
            person.change(scenario)
            session = PlasmaSession(person)
            name = "<b>Tea</b> & <img src='x'>: "
            eventually(lambda: any(found.startswith(name) for found in session.names()), "the shop by its name")
            picture = open_popup(session, next(found for found in session.names() if found.startswith(name)))
            keep(picture, "plasma-hostile")
            bar = middle_of_the_bar(picture)
            session.click(bar)
            # The first line below the widget, and behind it in the queue.
            session.click((bar[0], bar[1] + 42))
            eventually(lambda: any(link.endswith("5502") for link in person.opened_links()), "the other link")
            self.assertFalse((person.folder / "home" / "obeyed").exists())

    def test_shows_nothing_of_who_has_signed_out(self):
        with Person() as person:
            session = PlasmaSession(person)
            open_popup(session, ARRIVING)
            person.sign_out()
            eventually(lambda: "Sign in to Vela" in session.names() and ARRIVING not in session.names(),
                       "the sign-in view")
            self.assertNotIn("Fathom", " ".join(session.names()))
            picture = eventually(lambda: pixels(session.display.picture().crop(POPUP), BRAND_ON_LIGHT, 25) > 5000
                                 and session.display.picture(), "its button")
            keep(picture, "plasma-signed-out")

            def click():
                # It has grown smaller meanwhile, as it holds less.
                if pixels(session.display.picture().crop(POPUP), BRAND_ON_LIGHT, 25) < 5000:
                    session.click(ITEM)
                eventually(lambda: pixels(session.display.picture().crop(POPUP), BRAND_ON_LIGHT, 25) > 5000,
                           "its popup")
                session.click(middle_of_the_bar(session.display.picture()))

            person.close_sign_in_window(click)
            person.sign_in()
            eventually(lambda: ARRIVING in session.names(), "the package again")
            self.assertEqual(session.complaints(), [])

    def test_survives_the_end_of_its_host_and_of_its_reader(self):
        with Person() as person:
            session = PlasmaSession(person)
            eventually(lambda: ARRIVING in session.names(), "the package")
            reader = session.readers()
            first = person.live_host()
            os.kill(first, signal.SIGKILL)
            eventually(lambda: any(host != first for host in person.processes(b"run")), "another host")
            eventually(lambda: len(person.requests()) == 2, "its request")
            self.assertIn(ARRIVING, session.names())
            self.assertEqual(session.readers(), reader, "it looks for the host by itself")
            person.sign_out()
            eventually(lambda: "Sign in to Vela" in session.names(), "the sign-in view")
            person.end(session.shell)
            eventually(lambda: not session.readers(), "no reader without its shell")

    def test_says_that_no_host_can_be_had(self):
        with Person() as person:
            place = person.folder / "runtime" / "vela-widget"
            place.write_text("No folder.")
            session = PlasmaSession(person)
            eventually(lambda: "Vela, The live host cannot be reached" in session.names(), "the remark")
            session.click(ITEM)
            session.focus_popup()
            place.unlink()
            session.press("Tab", "space")
            eventually(lambda: ARRIVING in session.names(), "the package", 20)

    def test_draws_for_the_theme(self):
        with Person() as person:
            session = PlasmaSession(person)
            eventually(lambda: ARRIVING in session.names(), "the package")
            schemes = lambda: [self._scheme(reader) for reader in session.readers()]
            self.assertEqual(schemes(), ["light"])
            session.set_theme("breeze-dark")
            eventually(lambda: schemes() == ["dark"], lambda: f"a reader for the dark theme alone: {schemes()}")
            session.click(ITEM)
            eventually(lambda: pixels(session.display.picture().crop(POPUP), (0x1F, 0x79, 0xB2), 25) > 300,
                       "the dark widget")
            keep(session.display.picture(), "plasma-dark")

    @staticmethod
    def _scheme(process):
        try:
            words = open(f"/proc/{process}/cmdline").read().split("\0")
        except OSError:
            return None
        return words[words.index("--scheme") + 1] if "--scheme" in words else None


if __name__ == "__main__":
    unittest.main()
