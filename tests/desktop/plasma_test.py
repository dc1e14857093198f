#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0

"""Plasma shows the widget in its panel and on its desktop, opens its links, and keeps nothing of a person who has
signed out."""

import json
import os
import signal
import time
import unittest
from pathlib import Path

from displays import KWinDisplay, keep, pixels
from person import PROGRAMS, Person, eventually
from plasma_session import ITEM, SIZE, PlasmaSession

# What is drawn in the widget's own colour.
BRAND_ON_LIGHT = (0x0C, 0x6C, 0x96)
# What the shop's initials stand on, in whatever colours the rest is drawn.
INITIALS = (0x1A, 0x5D, 0x6A)
# Where the popup of the item stands.
POPUP = (0, 0, 380, 690)
ARRIVING = "Fathom & Co.: arriving today, between 2 and 4 PM; 80 percent of the way"


def open_popup(session, words):
    eventually(lambda: words in session.names(), lambda: f"{words} among {session.names()}")
    session.open_popup()
    return eventually(lambda: pixels(session.display.picture().crop(POPUP), BRAND_ON_LIGHT, 25) > 300
                      and session.display.picture(), "the medium widget")


def end_of_text(session):
    """In the panel: the last column in which anything is dark."""
    panel = session.display.picture().crop((0, 696, 640, 716)).convert("L")
    return panel.point(lambda light: 255 if light < 128 else 0).getbbox()[2]


def middle_of_the_bar(picture, scale=1):
    """A place in the medium widget: in its progress bar, or on its button."""
    popup = picture.crop(tuple(scale * each for each in POPUP))
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

    def test_shows_the_state_where_the_panel_has_no_room_for_the_name(self):
        with Person() as person:
            person.order_from("W" * 60)
            session = PlasmaSession(person)
            eventually(lambda: any("in transit" in name for name in session.names()), "the order")
            # Of "In transit" alone, behind the icon.
            eventually(lambda: 60 < end_of_text(session) < 130, lambda: f"{end_of_text(session)} columns")
            keep(session.display.picture(), "plasma-wide-name")

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

    def test_opens_a_link_again_while_what_it_opened_stays_open(self):
        with Person() as person:
            browser = person.folder / "handlers" / "xdg-open"
            browser.write_text(browser.read_text() + "exec sleep 60\n")
            session = PlasmaSession(person)
            bar = middle_of_the_bar(open_popup(session, ARRIVING))
            # What follows a click at once is a double click, which counts as one.
            eventually(lambda: session.click(bar) or time.sleep(1) or len(person.opened_links()) > 1, "the link, twice")

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
                    session.open_popup()
                eventually(lambda: pixels(session.display.picture().crop(POPUP), BRAND_ON_LIGHT, 25) > 5000,
                           "its popup")
                session.click(middle_of_the_bar(session.display.picture()))

            person.close_sign_in_window(click)
            person.sign_in()
            eventually(lambda: ARRIVING in session.names(), lambda: f"the package again in {session.accessible()}")
            self.assertEqual(session.complaints(), [])

    def test_survives_the_end_of_its_host_and_of_its_reader(self):
        with Person() as person:
            session = PlasmaSession(person)
            eventually(lambda: ARRIVING in session.names(), lambda: f"the package in {session.accessible()}")
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
            session.open_popup()
            session.focus_popup()
            place.unlink()
            session.press("Tab", "space")
            eventually(lambda: ARRIVING in session.names(), lambda: f"the package in {session.accessible()}")

    def test_draws_for_the_theme(self):
        with Person() as person:
            session = PlasmaSession(person)
            eventually(lambda: ARRIVING in session.names(), lambda: f"the package in {session.accessible()}")
            schemes = lambda: [self._scheme(reader) for reader in session.readers()]
            self.assertEqual(schemes(), ["light"])
            session.set_theme("breeze-dark")
            eventually(lambda: schemes() == ["dark"], lambda: f"a reader for the dark theme alone: {schemes()}")
            session.open_popup()
            eventually(lambda: pixels(session.display.picture().crop(POPUP), (0x1F, 0x79, 0xB2), 25) > 300,
                       "the dark widget")
            keep(session.display.picture(), "plasma-dark")

    def test_draws_for_the_persons_eyes(self):
        with Person() as person:
            session = PlasmaSession(person)
            session.make_theme("glaring", "0,0,0", "255,255,255")
            eventually(lambda: ARRIVING in session.names(), lambda: f"the package in {session.accessible()}")
            wanted = lambda: [(self._option(reader, "--text-scaling"), self._option(reader, "--contrast"))
                              for reader in session.readers()]
            comes = lambda *options: eventually(lambda: wanted() == [options], lambda: f"{options}: {wanted()}")
            comes("1", "standard")
            before = end_of_text(session)
            session.set_font(14)
            comes("1.4", "standard")
            open_popup(session, ARRIVING)
            keep(session.display.picture(), "plasma-large-text")
            eventually(lambda: end_of_text(session) > 1.2 * before, "larger text in the panel")
            for _ in range(3):
                session.set_theme("breeze-light")
                self._redrawn_without_a_blank(session, lambda brand: brand > 300)
                session.set_theme("glaring")
                picture = self._redrawn_without_a_blank(session, lambda brand: brand < 200)
            keep(picture, "plasma-high-contrast")
            comes("1.4", "increased")
            session.set_font(10)
            comes("1", "increased")
            self.assertEqual(session.complaints(), [])

    def _redrawn_without_a_blank(self, session, is_so):
        """Once there is that much of the widget's own colour; one picture takes the place of another at once."""
        def redrawn():
            picture = session.display.picture()
            self.assertGreater(pixels(picture.crop(POPUP), INITIALS, 12), 600, "the shop's own colour")
            return is_so(pixels(picture.crop(POPUP), BRAND_ON_LIGHT, 25)) and picture

        return eventually(redrawn, "the widget in other colours")

    def test_is_sharp_on_wayland_at_twice_the_scale(self):
        with Person() as person:
            display = KWinDisplay(person, SIZE, scale=2)
            person.environment["QT_QPA_PLATFORM"] = "wayland"
            session = PlasmaSession(person, display=display)
            eventually(lambda: ARRIVING in session.names(), lambda: f"the package in {session.accessible()}")
            eventually(lambda: [self._option(reader, "--scale") for reader in session.readers()] == ["2"], "one for the scale")
            display.click(2 * ITEM[0], 2 * ITEM[1])
            popup = eventually(lambda: pixels(display.picture(), BRAND_ON_LIGHT, 25) > 4 * 300 and display.picture(),
                               "the medium widget")
            keep(popup, "plasma-wayland")
            display.click(*middle_of_the_bar(popup, 2))
            link = eventually(person.opened_links, "the link")[0]
            self.assertTrue(link.endswith("/order/5501"), link)
            self.assertEqual(session.complaints(), [])

    def test_stands_at_the_right_for_who_reads_from_there(self):
        with Person() as person:
            person.environment["LANGUAGE"] = "ar"
            session = PlasmaSession(person, options=("-reverse",))
            eventually(lambda: ARRIVING in session.names(), lambda: f"the package in {session.accessible()}")
            session.open_popup((session.display.picture().width - 17, ITEM[1]))
            dark = lambda picture: picture.convert("L").point(lambda light: 255 if light < 128 else 0).getbbox()
            lines = lambda: session.display.picture().crop((925, 380, 1270, 630))
            begin, _, end, _ = eventually(lambda: dark(lines()), "the lines below the widget")
            eventually(lambda: pixels(session.display.picture(), BRAND_ON_LIGHT, 25) > 300, "the widget")
            keep(session.display.picture(), "plasma-from-the-right")
            begin, _, end, _ = dark(lines())
            self.assertLess(345 - end, 25, "where lines begin")
            self.assertGreater(begin, 25, "where they end")

    def test_takes_another_reader_for_one_that_is_stopped(self):
        with Person() as person:
            session = PlasmaSession(person, change=_shorten_turns)
            session.add_to_desktop()
            eventually(lambda: session.names().count(ARRIVING) >= 2, "the package, twice")
            before = eventually(lambda: len(session.readers()) == 1 and session.readers(), "one for both")
            os.kill(before[0], signal.SIGSTOP)
            person.sign_out()
            eventually(lambda: "Sign in to Vela" in session.names() and ARRIVING not in session.names(),
                       "the sign-in view")
            eventually(lambda: len(session.readers()) == 1 and session.readers() != before, "another for both")

    def test_forgets_what_it_showed_a_day_after_its_host(self):
        with Person() as person:
            days = _Days(person)
            session = PlasmaSession(person, change=days.take_place_of_program)
            eventually(lambda: ARRIVING in session.names(), lambda: f"the package in {session.accessible()}")
            place = person.bar_live_hosts()
            eventually(lambda: f"{ARRIVING}, The live host cannot be reached" in session.names(),
                       lambda: f"the remark beside what was shown: {session.names()}")
            session.open_popup()
            session.focus_popup()
            place.unlink()
            days.shorten()
            session.press("Tab", "Tab", "space")
            eventually(lambda: f"{ARRIVING}, The live host cannot be reached" not in session.names()
                       and ARRIVING in session.names(), "the package again")
            person.bar_live_hosts()
            eventually(lambda: "Vela, The live host cannot be reached" in session.names(), "no package")
            self.assertNotIn("Fathom", " ".join(session.names()))

    def test_shows_nothing_of_who_has_gone_while_no_host_says_so(self):
        with Person() as person:
            session = PlasmaSession(person)
            eventually(lambda: ARRIVING in session.names(), "the package")
            person.bar_live_hosts()
            eventually(lambda: f"{ARRIVING}, The live host cannot be reached" in session.names(), "the remark")
            person.run(PROGRAMS / "vela-companion", "sign-out", status=None)
            eventually(lambda: "Fathom" not in " ".join(session.names()), lambda: session.names(), 10)
            self.assertIn("The live host cannot be reached", " ".join(session.names()))

    def test_says_that_a_host_does_not_hear_of_a_reload(self):
        with Person() as person:
            session = PlasmaSession(person)
            eventually(lambda: ARRIVING in session.names(), "the package")
            os.kill(person.live_host(), signal.SIGSTOP)
            session.click(ITEM)
            session.focus_popup()
            session.press("Tab", "Tab", "space")
            eventually(lambda: f"{ARRIVING}, The live host cannot be reached" in session.names(), "the remark")

    @classmethod
    def _scheme(cls, process):
        return cls._option(process, "--scheme")

    @staticmethod
    def _option(process, name):
        try:
            words = Path(f"/proc/{process}/cmdline").read_text().split("\0")
        except OSError:
            return None
        return words[words.index(name) + 1] if name in words else None


def _shorten_turns(plasmoid):
    file = plasmoid / "contents" / "ui" / "LiveHost.qml"
    text = file.read_text()
    assert text.count("length: 600000") == 1
    file.write_text(text.replace("length: 600000", "length: 4000"))


class _Days:
    """Stands in for the program, which says how long what it prints is kept: a day, and once told to, a second."""

    def __init__(self, person):
        self.folder = person.folder / "days"

    def take_place_of_program(self, plasmoid):
        self.folder.mkdir()
        program = self.folder / "vela-widget"
        program.write_text(f"#!/bin/sh\n'{PROGRAMS}/vela-widget' \"$@\" |\n"
                           f"if [ -e '{self.folder}/short' ]; then sed 's/\"keptFor\":86400/\"keptFor\":1/'; else cat; fi\n")
        program.chmod(0o700)
        (plasmoid / "contents" / "code" / "programs.js").write_text(f".pragma library\nvar folder = '{self.folder}';\n")

    def shorten(self):
        (self.folder / "short").touch()


if __name__ == "__main__":
    unittest.main()
