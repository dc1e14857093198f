#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0

"""Nobody's parcels stay on a surface that has lost its live host, once their person signs out or another signs in."""

import json
import os
import pty
import re
import signal
import sqlite3
import subprocess
import time
import unittest
from pathlib import Path

from person import PROGRAMS, Person, eventually

WORDS = "Arriving today"


class Bar:
    """A status bar's line, as it was last printed."""

    def __init__(self, person):
        self.path = person.folder / "bar"
        with open(self.path, "wb") as file:
            person.start("vela-widget", "bar", "--format", "genmon", "--follow", stdout=file)
        eventually(lambda: WORDS in self.text(), "the package in the bar")

    def text(self):
        return self.path.read_text().rsplit("<txt>", 1)[-1]


class Terminal:
    """What `show --follow` has drawn last."""

    def __init__(self, person):
        master, slave = pty.openpty()
        self.master = master
        self.drawn = ""
        os.set_blocking(master, False)
        person.start("vela-widget", "show", "--follow", stdin=slave, stdout=slave,
                     environment=person.environment | {"TERM": "xterm"})
        os.close(slave)
        eventually(lambda: WORDS in self.text(), "the package in the terminal")

    def text(self):
        try:
            self.drawn += os.read(self.master, 1 << 16).decode(errors="replace")
        except BlockingIOError:
            pass
        return self.drawn.rsplit("\x1b[H", 1)[-1]


class Page:
    """What a browser would be given."""

    def __init__(self, person):
        server = person.start("vela-widget", "serve", stdout=subprocess.PIPE)
        self.address = server.stdout.readline().decode().strip()
        self.person = person
        eventually(lambda: WORDS in self.text(), "the package on the page")

    def text(self):
        return self.person.run("curl", "-s", "--max-time", "5", self.address, status=None)


class Panel:
    """A shell that starts our readers, one after the other, as Plasma's does."""

    def __init__(self, person):
        self.person = person
        self.panel = json.loads(person.run(PROGRAMS / "vela-widget", "panel"))
        self.watch = None

    def text(self):
        if not self.watch:
            self.watch = self.person.start("vela-widget", "panel", "--keychain", self.panel.get("keychain") or "",
                                           "--without-host", stdout=subprocess.PIPE)
        if self.watch.poll() == 0:
            self.panel = json.loads(self.watch.stdout.readline())
        return self.panel["text"]


def clear_keychain(person):
    """As with a tool for keyrings: no program of ours has a hand in it."""
    keychain = sqlite3.connect(person.folder / "data" / "vela" / "keychain.sqlite")
    keychain.execute("DELETE FROM items")
    keychain.commit()
    keychain.close()


class Keyring:
    """A desktop's keyring, in which the person is signed in from now on."""

    def __init__(self, person):
        self.person = person
        person.start_bus()
        person.environment["VELA_KEYCHAIN"] = "secret-service"
        self.daemon = self._start("--unlock")
        person.sign_in()

    def _start(self, *options):
        daemon = self.person.start("gnome-keyring-daemon", "--foreground", "--components=secrets", *options,
                                   stdin=subprocess.PIPE)
        daemon.stdin.write(b"a password")
        daemon.stdin.close()
        # The bus is not to start another, which nobody has unlocked.
        self.person.run("gdbus", "wait", "--session", "--timeout", "20", "org.freedesktop.secrets")
        return daemon

    def call(self, path, method, *arguments):
        return self.person.run("gdbus", "call", "--session", "--dest", "org.freedesktop.secrets", "--object-path",
                               f"/org/freedesktop/secrets{path}", "--method", f"org.freedesktop.Secret.{method}",
                               *arguments, status=None)

    def lock(self):
        self.call("", "Service.Lock", "['/org/freedesktop/secrets/collection/login']")

    def restart(self):
        self.person.end(self.daemon)
        self.daemon = self._start("--unlock")
        eventually(lambda: self.items(), "the items again")

    def items(self):
        found = self.call("", "Service.SearchItems", "{'xdg:schema': 'vela.Keychain.GenericPassword'}")
        return re.findall(r"/org/freedesktop/secrets(/collection/[a-z]+/[0-9]+)", found)

    def clear(self):
        for item in self.items():
            self.call(item, "Item.Delete")


def sign_out(person):
    """It may say that there is no folder in which it could look for what a host has left."""
    person.run(PROGRAMS / "vela-companion", "sign-out", status=None)


class LostHost(unittest.TestCase):
    def assert_emptied(self, surfaces, since, limit):
        for surface in surfaces:
            name = type(surface).__name__
            eventually(lambda surface=surface: WORDS not in surface.text(),
                       lambda surface=surface, name=name: f"the end of the package in {name}: {surface.text()}", limit)
            print(f"{name} was emptied after {time.monotonic() - since:.2f} s")

    def test_a_sign_out_empties_what_is_kept_without_a_host(self):
        for end in (sign_out, clear_keychain):
            with self.subTest(end.__name__), Person() as person:
                surfaces = [Bar(person), Terminal(person), Page(person), Panel(person)]
                person.bar_live_hosts()
                eventually(lambda: "as of" in surfaces[0].text(), "the remark in the bar")
                time.sleep(1)
                for surface in surfaces:
                    self.assertIn(WORDS, surface.text(), f"{type(surface).__name__} keeps it")
                signed_out = time.monotonic()
                end(person)
                self.assert_emptied(surfaces, signed_out, 5)

    def test_a_locked_keyring_is_no_sign_out_and_an_empty_one_is(self):
        with Person() as person:
            keyring = Keyring(person)
            self.assertEqual(len(keyring.items()), 2)
            surfaces = [Bar(person), Panel(person)]
            person.bar_live_hosts()
            eventually(lambda: "as of" in surfaces[0].text(), "the remark in the bar")
            for change in (keyring.lock, keyring.restart):
                change()
                time.sleep(1)
                for surface in surfaces:
                    self.assertIn(WORDS, surface.text(), f"{type(surface).__name__}, {change.__name__}")
            cleared = time.monotonic()
            keyring.clear()
            self.assert_emptied(surfaces, cleared, 5)

    def test_a_sign_in_is_noticed_by_the_keyring_too(self):
        with Person() as person:
            Keyring(person)
            surfaces = [Bar(person), Panel(person)]
            person.bar_live_hosts()
            eventually(lambda: "as of" in surfaces[0].text(), "the remark in the bar")
            for surface in surfaces:
                self.assertIn(WORDS, surface.text())
            # It tells seconds apart.
            time.sleep(1.1)
            signed_in = time.monotonic()
            credentials = person.run(PROGRAMS / "vela-sandbox", "--print-credentials")
            person.run(PROGRAMS / "vela-companion", "sign-in", "--user-id", "2", text=credentials, status=None)
            self.assert_emptied(surfaces, signed_in, 5)

    def test_what_is_kept_stays_through_another_setting(self):
        with Person() as person:
            bar = Bar(person)
            person.bar_live_hosts()
            eventually(lambda: "as of" in bar.text(), "the remark in the bar")
            person.run(PROGRAMS / "vela-companion", "defaults", "write", "notifications", "true")
            person.run(PROGRAMS / "vela-companion", "status")
            time.sleep(1)
            self.assertIn(WORDS, bar.text())

    def test_a_sign_out_empties_what_a_stopped_host_shows(self):
        with Person() as person:
            surfaces = [Bar(person), Terminal(person), Page(person)]
            host = person.live_host()
            os.kill(host, signal.SIGSTOP)
            signed_out = time.monotonic()
            clear_keychain(person)
            self.assert_emptied(surfaces, signed_out, 15)
            os.kill(host, signal.SIGCONT)

            def is_signed_out():
                self.assertNotIn(WORDS, surfaces[0].text() + surfaces[1].text(), "what the host knew before")
                return "Sign in" in surfaces[0].text()
            eventually(is_signed_out, "the sign-in view")

    def test_the_next_host_shows_nothing_of_who_was_there_before(self):
        with Person() as person:
            surfaces = [Bar(person), Terminal(person)]
            place = person.bar_live_hosts()
            eventually(lambda: "as of" in surfaces[0].text(), "the remark in the bar")
            # No server says whose the next parcels are.
            os.kill(person.sandbox.pid, signal.SIGSTOP)
            place.unlink()
            person.sign_in()
            signed_in = time.monotonic()
            eventually(lambda: list(person.processes(b"run")), "the next host", 90)
            self.assert_emptied(surfaces, signed_in, 5)
            os.kill(person.sandbox.pid, signal.SIGCONT)

    def test_a_reload_says_that_a_stopped_host_does_not_answer(self):
        with Person() as person:
            bar = Bar(person)
            host = person.live_host()
            os.kill(host, signal.SIGSTOP)
            begun = time.monotonic()
            done = subprocess.run([PROGRAMS / "vela-widget", "reload"], env=person.environment, capture_output=True,
                                  text=True, timeout=60)
            self.assertLess(time.monotonic() - begun, 15)
            self.assertEqual(done.returncode, 1)
            self.assertIn("has not answered within 5 s", done.stderr)
            self.assertIn(WORDS, bar.text())
            os.kill(host, signal.SIGCONT)

    def test_a_sign_out_needs_no_answer_of_a_stopped_host(self):
        with Person() as person:
            bar = Bar(person)
            os.kill(person.live_host(), signal.SIGSTOP)
            begun = time.monotonic()
            done = subprocess.run([PROGRAMS / "vela-companion", "sign-out"], env=person.environment,
                                  capture_output=True, text=True, timeout=60)
            print(f"the sign-out took {time.monotonic() - begun:.2f} s: {done.stderr.strip()}")
            self.assertIn("is stopped", done.stderr)
            self.assertFalse((Path(person.environment["XDG_RUNTIME_DIR"]) / "vela-widget" / "panel.json").exists())
            eventually(lambda: "Sign in" in bar.text(), "the sign-in view", 10)


if __name__ == "__main__":
    unittest.main()
