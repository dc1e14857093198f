#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0

"""GNOME Shell shows the widget in its panel, opens its links, and keeps nothing of a person who has signed out."""

import json
import os
import signal
import sys
import time
import unittest
from pathlib import Path

from displays import keep, pixels
from gnome_session import ITEM, UUID, GnomeSession
from person import PROGRAMS, Person, eventually

EXTENSION = f"Main.extensionManager.lookup('{UUID}').stateObj"
PICTURE = f"{ITEM}._pictureItem"
# What is drawn in the widget's own colours.
BRAND_ON_DARK = (0x1F, 0x79, 0xB2)


# Stands in for the person's service manager on her bus, notes what it is asked, and starts the live host.
SERVICE_MANAGER = """
import subprocess, sys, time
from pathlib import Path
from gi.repository import Gio, GLib
folder, program = sys.argv[1:]
interface = Gio.DBusNodeInfo.new_for_xml('''<node><interface name="org.freedesktop.systemd1.Manager">
<method name="StartUnit"><arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="o" direction="out"/></method>
</interface></node>''').interfaces[0]
def answer(bus, sender, path, name, method, arguments, invocation):
    with open(folder + "/asked", "a") as asked:
        print(*arguments.unpack(), file=asked)
    subprocess.Popen([program, "run"])
    while not Path(folder + "/runtime/vela-widget/host.socket").exists():
        time.sleep(0.05)
    invocation.return_value(GLib.Variant("(o)", ("/org/freedesktop/systemd1/job/1",)))
def serve(bus, name):
    bus.register_object("/org/freedesktop/systemd1", interface, answer, None, None)
Gio.bus_own_name(Gio.BusType.SESSION, "org.freedesktop.systemd1", Gio.BusNameOwnerFlags.NONE, serve,
                 lambda bus, name: Path(folder + "/managing").touch(), None)
GLib.MainLoop().run()
"""


def start_service_manager(person):
    person.start(sys.executable, "-c", SERVICE_MANAGER, person.folder, PROGRAMS / "vela-widget")
    eventually((person.folder / "managing").exists, "the service manager")


def shows(session, words):
    eventually(lambda: words in session.text(), lambda: f"{words} in {session.text()}")


def says(session, remark):
    label = f"{ITEM}._remark"
    eventually(lambda: session.eval(f"{label}.visible && {label}.label.text") == remark, remark)


def drawn(session):
    """What tells one picture from another."""
    return session.eval(f"const drawn = {EXTENSION}._shown.picture;"
                        "drawn ? imports.gi.GLib.compute_checksum_for_bytes(2, drawn.read_pixel_bytes()) : null")


def has_picture(session):
    return session.eval(f"!!{PICTURE}._picture.content")


class Gnome(unittest.TestCase):
    def test_shows_the_packages_and_opens_their_links(self):
        with Person() as person:
            session = GnomeSession(person)
            shows(session, "Fathom & Co.: Arriving today")
            eventually(lambda: has_picture(session), "the picture")
            session.open_menu()
            shown = eventually(lambda: pixels(session.picture(), BRAND_ON_DARK, 25) > 300 and session.picture(),
                               "the medium widget")
            keep(shown, "gnome")
            names = session.eval(f"[{PICTURE}, ...{ITEM}._others._getMenuItems()].map(item => item.accessible_name)")
            self.assertEqual(len(names), 10)
            self.assertIn("Fathom & Co.: arriving today, between 2 and 4 PM; 80 percent of the way", names)
            session.click(PICTURE)
            eventually(lambda: len(person.opened_links()) == 1, "the link of the picture")
            self.assertTrue(person.opened_links()[0].endswith("5501"), person.opened_links())
            session.open_menu()
            session.press("Down")
            session.press("Down")
            session.press("Return")
            eventually(lambda: len(person.opened_links()) == 2, "the second link, by the keyboard")
            self.assertIn("d-7001", person.opened_links()[1])
            self.assertFalse(session.eval(f"{ITEM}.menu.isOpen"))
            self.assertEqual(len(person.requests()), 1)
            session.open_menu()
            session.click(f"{ITEM}.menu._getMenuItems().at(-1)")
            eventually(lambda: len(person.requests()) == 2, "a request for the reload")
            self.assertEqual(session.complaints(), [])

    def test_shows_nothing_of_who_has_signed_out(self):
        with Person() as person:
            session = GnomeSession(person)
            shows(session, "Arriving today")
            eventually(lambda: has_picture(session), "the picture")
            session.open_menu()
            person.sign_out()
            shows(session, "Sign in to Vela")
            self.assertEqual(session.eval(f"{ITEM}._others._getMenuItems().length"), 0)
            eventually(lambda: has_picture(session), "the sign-in view")
            keep(session.picture(), "gnome-signed-out")

            def click():
                if not session.eval(f"{ITEM}.menu.isOpen"):
                    session.open_menu()
                session.click(PICTURE)

            person.close_sign_in_window(click)
            person.sign_in()
            shows(session, "Arriving today")
            self.assertEqual(session.complaints(), [])

    def test_keeps_whatever_a_shop_is_called_in_its_place(self):
        with Person() as person:
            # Thirty marks above and below each letter.
            tall = "".join(letter + "\u0301" * 15 + "\u0330" * 15 for letter in "TALL SHOP")
            names = [tall, "<b>Tea</b> & <span size='99'>Cake</span>", "\u202eesreveR\u202c", "Line\nbreak\u2028\u0000",
                     "Endless " * 10_000]
            person.order_from(*names)
            session = GnomeSession(person)
            eventually(lambda: has_picture(session), "the picture")
            lines = session.eval(f"{ITEM}._others._getMenuItems().map(item => item.label.text)")
            self.assertEqual(lines[0], "<b>Tea</b> & <span size='99'>Ca…: In transit")
            self.assertEqual(lines[1:3], ["esreveR: In transit", "Line break  : In transit"])
            self.assertLess(len(lines[3]), 50)
            height = int(session.eval("Main.panel.height"))
            # Beside the field for searching, which the shell may still show.
            below = lambda picture: picture.crop((picture.width * 2 // 3, height + 1, picture.width, height + 30))
            keep(eventually(lambda: len(below(session.picture()).getcolors()) == 1 and session.picture(),
                            "nothing that stands out of the panel"), "gnome-hostile")
            session.open_menu()
            keep(session.picture(), "gnome-hostile-open")

    def test_shows_the_state_where_the_panel_has_no_room_for_the_name(self):
        with Person() as person:
            person.order_from("W" * 60)
            session = GnomeSession(person)
            shows(session, "In transit")
            self.assertEqual(session.text(), "In transit")
            keep(session.picture(), "gnome-wide-name")
            person.order_from("Tea")
            self._reload(session)
            shows(session, "Tea: In transit")

    def test_survives_the_end_of_its_host_and_what_others_leave_in_its_place(self):
        with Person() as person:
            session = GnomeSession(person)
            shows(session, "Arriving today")
            first = person.live_host()
            os.kill(first, signal.SIGKILL)
            eventually(lambda: any(host != first for host in person.processes(b"run")), "another host")
            self.assertIn("Arriving today", session.text())
            eventually(lambda: len(person.requests()) == 2, "its request")
            panel = person.folder / "runtime" / "vela-widget" / "panel.json"
            eventually(lambda: b"Arriving today" in panel.read_bytes(), "its answer")
            good = panel.read_bytes()
            self._replace_by_what_is_none(session, panel, good)
            person.sign_out()
            shows(session, "Sign in to Vela")

    def _replace_by_what_is_none(self, session, panel, good):
        secret = panel.with_name("elsewhere")
        secret.write_bytes(good)
        for case, make in {
            "half a text": lambda new: new.write_bytes(good[:len(good) // 2]),
            "an enormous text": lambda new: new.write_bytes(good[:-2] + b" " * 300_000 + b"}"),
            "another kind of value": lambda new: new.write_text("[]"),
            "texts of another kind": lambda new: new.write_text('{"packages": [{}], "text": 1}'),
            "bytes that are no text": lambda new: new.write_bytes(bytes(range(256))),
            "a link to a file": lambda new: new.symlink_to(secret),
            "a pipe": os.mkfifo,
            "a folder": lambda new: new.mkdir(),
        }.items():
            with self.subTest(case):
                new = panel.with_name(".new")
                make(new)
                if new.is_dir():
                    panel.unlink()
                os.rename(new, panel)
                try:
                    eventually(lambda: session.text() == "", case)
                finally:
                    if panel.is_dir():
                        panel.rmdir()
                new.write_bytes(good)
                os.rename(new, panel)
                shows(session, "Arriving today")
        panel.unlink()
        says(session, "The live host's files cannot be read")
        self.assertEqual(session.text(), "")
        panel.write_bytes(good)
        shows(session, "Arriving today")

    def test_has_the_service_manager_start_the_host_where_there_is_its_unit(self):
        with Person() as person:
            session = GnomeSession(person, prepare=start_service_manager)
            shows(session, "Arriving today")
            asked = (person.folder / "asked").read_text().splitlines()
            self.assertEqual(asked, ["vela-widget.socket fail"])
            words = Path(f"/proc/{person.live_host()}/cmdline").read_text().split("\0")
            self.assertNotIn("--idle-exit", words, "a host of the service manager's")

    def test_starts_a_host_again_where_what_starts_it_is_stopped(self):
        with Person() as person:
            def change(extension):
                file = extension / "liveHost.js"
                text = file.read_text()
                self.assertEqual(text.count("patienceWithReader = 30"), 1)
                file.write_text(text.replace("patienceWithReader = 30", "patienceWithReader = 2"))
                (extension / "programs.js").write_text(f"var folder = '{person.folder}';\n")

            program = person.folder / "vela-widget"
            program.write_text(f"#!/bin/sh\nmkdir '{person.folder}/stopped' && kill -STOP $$\n"
                               f"exec '{PROGRAMS}/vela-widget' \"$@\"\n")
            program.chmod(0o700)
            session = GnomeSession(person, change=change)
            shows(session, "Arriving today")
            self.assertTrue((person.folder / "stopped").exists())

    def test_says_that_no_host_can_be_had_until_one_can(self):
        with Person() as person:
            place = person.folder / "runtime" / "vela-widget"
            place.write_text("No folder.")
            session = GnomeSession(person)
            says(session, "The live host cannot be reached")
            self.assertEqual(session.text(), "")
            place.unlink()
            self._reload(session)
            shows(session, "Arriving today")
            self.assertFalse(session.eval(f"{ITEM}._remark.visible"))
            self._says_so_of_one_that_hangs(person, session)

    def test_forgets_what_it_showed_a_day_after_its_host(self):
        with Person() as person:
            session = GnomeSession(person)
            shows(session, "Arriving today")
            eventually(lambda: has_picture(session), "the picture")
            self._counts_from(session)
            self._tells_one_sign_in_from_another(session)
            place = person.bar_live_hosts()
            says(session, "The live host cannot be reached")
            self.assertIn("Arriving today", session.text())
            self.assertTrue(has_picture(session))
            shown = f"{EXTENSION}._shown.panel"
            self.assertEqual(session.eval(f"{shown}.keptFor"), 24 * 3600)
            session.eval(f"{shown}.keptFor = 0; null")
            self._reload(session)
            eventually(lambda: session.text() == "", "nothing of the packages")
            self.assertFalse(has_picture(session))
            self.assertEqual(session.eval(f"{ITEM}._others._getMenuItems().length"), 0)
            self.assertEqual(session.eval(f"{ITEM}.accessible_name"), "Vela, The live host cannot be reached")
            place.unlink()
            # One that is being looked for already is not looked for sooner.
            eventually(lambda: session.eval(f"{EXTENSION}._host.reload(); null") or "Arriving today" in session.text(),
                       "the packages again")
            self.assertEqual([line for line in session.complaints() if "Vela:" not in line], [])

    def _counts_from(self, session):
        """Seconds after its end at which what a host said is shown still."""
        for as_of, past, is_kept in ((None, 0, True), (None, 86_399, True), (None, 86_400, False), (-3600, 82_799, True),
                                     (-3600, 82_800, False), (-90_000, 0, False), (3600, 86_400, False)):
            with self.subTest(as_of=as_of, past=past):
                end = 1_000_000
                panel = {"asOf": None if as_of is None else (end + as_of) * 1000, "keptFor": 86_400, "text": "Tea"}
                shown = json.dumps({"panel": panel, "picture": "drawn", "lostSince": None})
                left = session.eval(f"const {{lost}} = Main.extensionManager.lookup('{UUID}').imports.panel;"
                                    f"lost(lost({shown}, {end * 1000}), {(end + past) * 1000})")
                self.assertEqual(left["panel"]["text"], "Tea" if is_kept else "")
                self.assertEqual(left["picture"], "drawn" if is_kept else None)

    def _tells_one_sign_in_from_another(self, session):
        """By what a host says that has just begun in place of another."""
        for before, keychain, is_kept in (("a-1", "a-1", True), ("a-1", None, True), ("a-1", "a-2", False),
                                          (None, None, True), (None, "a-1", False)):
            with self.subTest(before=before, keychain=keychain):
                panel = {"barClass": "arriving", "keychain": before, "packages": [], "text": "Tea"}
                shown = json.dumps({"panel": panel, "picture": "drawn", "lostSince": 1})
                new = json.dumps(panel | {"barClass": "placeholder", "hasTrouble": False, "keychain": keychain, "text": ""})
                after = session.eval(f"const {{taken}} = Main.extensionManager.lookup('{UUID}').imports.panel;"
                                     f"taken({shown}, {new}, null)")
                self.assertEqual(after["panel"]["text"], "Tea" if is_kept else "")
                self.assertEqual(after["picture"], "drawn" if is_kept else None)

    def _says_so_of_one_that_hangs(self, person, session):
        host = person.live_host()
        os.kill(host, signal.SIGSTOP)
        session.eval(f"{EXTENSION}.disable(); {EXTENSION}.enable(); null")
        says(session, "The live host cannot be reached")
        os.kill(host, signal.SIGCONT)
        self._reload(session)
        shows(session, "Arriving today")

    def test_shows_nothing_of_who_has_gone_while_no_host_says_so(self):
        with Person() as person:
            session = GnomeSession(person)
            shows(session, "Arriving today")
            eventually(lambda: has_picture(session), "the picture")
            place = person.bar_live_hosts()
            says(session, "The live host cannot be reached")
            self.assertIn("Arriving today", session.text())
            begun = time.monotonic()
            person.run(PROGRAMS / "vela-companion", "sign-out", status=None)
            eventually(lambda: session.text() == "", "nothing of the packages", 10)
            print(f"the shell was emptied after {time.monotonic() - begun:.2f} s")
            self.assertFalse(has_picture(session))
            self.assertEqual(session.eval(f"{ITEM}._others._getMenuItems().length"), 0)
            says(session, "The live host cannot be reached")
            place.unlink()
            person.sign_in()
            self._reload(session)
            shows(session, "Arriving today")
            eventually(lambda: not list(person.processes(b"panel")), "no reader beside a host")
            self._of_the_next_host(person, session)

    def _of_the_next_host(self, person, session):
        # No server says whose the next parcels are.
        os.kill(person.sandbox.pid, signal.SIGSTOP)
        os.kill(person.live_host(), signal.SIGKILL)
        person.sign_in()
        eventually(lambda: session.text() in ("", "Looking for your packages"), lambda: session.text(), 10)
        self.assertEqual(session.eval(f"{ITEM}._others._getMenuItems().length"), 0)
        eventually(lambda: list(person.processes(b"run")), "the next host")
        os.kill(person.sandbox.pid, signal.SIGCONT)
        shows(session, "Arriving today")

    def test_says_that_a_host_does_not_hear_of_a_reload(self):
        with Person() as person:
            session = GnomeSession(person)
            shows(session, "Arriving today")
            host = person.live_host()
            os.kill(host, signal.SIGSTOP)
            self._reload(session)
            says(session, "The live host cannot be reached")
            self.assertIn("Arriving today", session.text())
            os.kill(host, signal.SIGCONT)
            eventually(lambda: not session.eval(f"{ITEM}._remark.visible"), "the host again")
            self.assertIn("Arriving today", session.text())

    @staticmethod
    def _reload(session):
        session.open_menu()
        session.click(f"{ITEM}.menu._getMenuItems().at(-1)")

    def test_leaves_nothing_behind_when_it_is_disabled(self):
        with Person() as person:
            session = GnomeSession(person)
            shows(session, "Arriving today")
            eventually(lambda: has_picture(session), "the picture")
            session.eval(f"{EXTENSION}.disable(); null")
            host_sockets = lambda: len(list(Path(f"/proc/{person.live_host()}/fd").iterdir()))
            eventually(lambda: session.eval(f"{ITEM} === undefined"), "the panel without the item")
            before = (session.file_watches(), session.descriptors("socket"))
            before_of_host = host_sockets()
            for _ in range(10):
                session.eval(f"for (let i = 0; i < 5; ++i) {{ {EXTENSION}.enable(); {EXTENSION}.disable(); }} null")
                session.eval(f"{EXTENSION}.enable(); null")
                shows(session, "Arriving today")
                session.eval(f"{EXTENSION}.disable(); null")
            eventually(lambda: (session.file_watches(), session.descriptors("socket")) <= before,
                       lambda: f"no more than {before}: {session.file_watches()}, {session.descriptors('socket')}")
            eventually(lambda: host_sockets() == before_of_host, "a host without readers")
            session.eval(f"{EXTENSION}.enable(); null")
            shows(session, "Arriving today")
            session.eval("Main.sessionMode.pushMode('unlock-dialog'); null")
            eventually(lambda: session.eval(f"{ITEM} === undefined"), "a lock screen without the item")
            session.eval("Main.sessionMode.popMode('unlock-dialog'); null")
            eventually(lambda: session.eval(f"!!{ITEM}"), "the item")
            self.assertEqual(session.complaints(), [])

    def test_draws_for_the_shells_theme_and_monitor(self):
        with Person() as person:
            session = GnomeSession(person, size=(2560, 1440))
            shows(session, "Arriving today")
            folder = person.folder / "runtime" / "vela-widget"
            eventually((folder / "systemMedium-dark@1x.png").exists, "the dark picture")
            session.set_monitor_scale(2.0)
            eventually((folder / "systemMedium-dark@2x.png").exists, "the dark picture of a sharp monitor")
            light = person.folder / "light.css"
            light.write_text('@import url("resource:///org/gnome/shell/theme/gnome-shell.css");\n'
                             "stage { color: #202020; } .popup-menu-content { background-color: #f6f5f4; "
                             "color: #202020; } .popup-menu-item { color: #202020; }\n")
            session.eval(f"Main.setThemeStylesheet('{light}'); Main.loadTheme(); null")
            eventually((folder / "systemMedium-light@2x.png").exists, "the light picture")
            eventually(lambda: not (folder / "systemMedium-dark@2x.png").exists(), "the end of the dark one")
            session.open_menu()
            keep(session.picture(), "gnome-light")

    def test_draws_for_the_persons_eyes(self):
        with Person() as person:
            session = GnomeSession(person)
            shows(session, "Arriving today")
            folder = person.folder / "runtime" / "vela-widget"
            pictures = lambda: sorted(each.name for each in folder.glob("*.png"))
            shown = []

            def comes(name):
                eventually(lambda: pictures() == [name], lambda: f"{name} alone: {pictures()}")
                eventually(lambda: drawn(session) not in [None, *shown], "another picture")
                shown.append(drawn(session))

            comes("systemMedium-dark@1x.png")
            # The shell's own theme changes beside either, which is not to be leant on.
            session.eval(f"{EXTENSION}._theme.disconnectObject({EXTENSION}); null")
            person.run("gsettings", "set", "org.gnome.desktop.interface", "text-scaling-factor", "1.25")
            comes("systemMedium-dark-text1.25@1x.png")
            session.open_menu()
            keep(session.picture(), "gnome-large-text")
            person.run("gsettings", "set", "org.gnome.desktop.a11y.interface", "high-contrast", "true")
            comes("systemMedium-dark-text1.25-increased@1x.png")
            keep(session.picture(), "gnome-high-contrast")
            person.run("gsettings", "reset", "org.gnome.desktop.interface", "text-scaling-factor")
            comes("systemMedium-dark-increased@1x.png")
            self.assertEqual(session.complaints(), [])


if __name__ == "__main__":
    unittest.main()
