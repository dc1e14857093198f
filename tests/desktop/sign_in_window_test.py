#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0

"""A person without a terminal signs in by a window: with her keys, her mouse, her files, and a screen reader."""

import fcntl
import json
import os
import signal
import socket
import subprocess
import sys
import unittest
from contextlib import contextmanager
from pathlib import Path

from displays import XDisplay, keep
from person import Person, eventually

HERE = Path(__file__).parent
# What has no place on a screen, in a log or in an environment.
PAIR = {"accessToken": "secret-one", "refreshToken": "secret-two"}


def flat(items):
    for item in items:
        yield item
        yield from flat(item["children"])


class SignInWindow(unittest.TestCase):
    @contextmanager
    def window(self, environment=None, complaints=("Gtk-CRITICAL", "Pango-WARNING"), screen=(720, 760)):
        """A signed-out person before the window, which does not have the toolkit complain."""
        with Person() as person:
            self.person = person
            person.sign_out()
            self.display = XDisplay(person, screen)
            person.start_bus()
            person.environment |= {"GSETTINGS_BACKEND": "memory"} | (environment or {})
            self.process = person.start("vela-companion", "open", "velaapp://home_orders")
            person.run("xdotool", "search", "--sync", "--onlyvisible", "--name", "Sign in to Vela", "windowfocus", "--sync")
            eventually(lambda: any("keychain.sqlite" in item["name"] for item in self.whole_tree()),
                       "the place of the tokens")
            yield person
            logs = "".join(log.read_text(errors="replace") for log in person.folder.glob("*.log"))
            self.assertNotIn("secret-", logs)
            for complaint in complaints:
                self.assertNotIn(complaint, logs)

    def keys(self, *words):
        self.person.run("xdotool", *words)

    def whole_tree(self):
        return list(flat(json.loads(self.person.run(sys.executable, HERE / "accessible_tree.py") or "[]")))

    def tree(self):
        """What is in sight, and not to be scrolled to."""
        return [item for item in self.whole_tree() if item["showing"]]

    def words(self):
        """What a screen reader reads in all."""
        return "\n".join(item["name"] for item in self.tree())

    def says(self, words):
        eventually(lambda: words in self.words(), lambda: f"{words!r} in\n{self.words()}")

    def is_signed_in(self):
        return "signed in: yes" in self.person.run("vela-companion", "status")

    def signs_in(self):
        eventually(self.is_signed_in, lambda: f"the sign-in; the window says\n{self.words()}")
        self.says("You are signed in")

    def file(self, name="credentials.json", text=None, mode=0o600):
        path = self.person.folder / name
        path.write_text(json.dumps(PAIR) if text is None else text)
        path.chmod(mode)
        return path

    def source(self, *addresses, text=""):
        """A window to drag from, which owns the clipboard as well."""
        source = self.person.start(sys.executable, HERE / "file_source.py", *addresses, stdin=subprocess.PIPE,
                                   stdout=subprocess.PIPE)
        source.stdin.write(text.encode())
        source.stdin.close()
        self.keys("search", "--sync", "--onlyvisible", "--name", "^Files$")
        self.addCleanup(source.stdout.close)
        return source

    def drop(self, *addresses, at=(360, 320)):
        source = self.source(*addresses)
        self.keys("mousemove", 50, 50, "mousedown", 1)
        for x, y in ((60, 60), (90, 90), (200, 200), (at[0] - 10, at[1] - 5), at):
            self.keys("mousemove", x, y, "sleep", 0.2)
        self.keys("mouseup", 1)
        self.assertEqual(source.stdout.readline(), b"over\n")
        self.person.end(source)

    def test_what_is_typed_signs_in(self):
        with self.window():
            self.keys("key", "alt+a", "type", "secret-one")
            keep(self.display.picture(), "sign-in-window")
            self.keys("key", "Tab", "type", "secret-two")
            surroundings = Path(f"/proc/{self.process.pid}")
            if os.access(surroundings / "environ", os.R_OK):
                self.assertNotIn(b"secret-", (surroundings / "environ").read_bytes())
            self.assertNotIn(b"secret-", (surroundings / "cmdline").read_bytes())
            self.keys("key", "Return")
            self.signs_in()
            self.person.run("xdotool", "search", "--sync", "--name", "You are signed in")
            keep(self.display.picture(), "sign-in-window-done")
            self.keys("key", "Return")
            eventually(lambda: self.process.poll() is not None, "the end of the window")

    def test_a_screen_reader_has_a_name_for_everything_and_reads_no_secret(self):
        with self.window({"GTK_THEME": "Adwaita:dark"}):
            keep(self.display.picture(), "sign-in-window-dark")
            self.keys("key", "alt+a", "type", "secret-one")
            items = self.tree()
            for role, names in {"password text": ["Access token, or the whole JSON", "Refresh token"],
                                "push button": ["Choose a File…", "Close", "Sign In"],
                                "toggle button": ["What is stored where"]}.items():
                self.assertEqual(sorted(item["name"] for item in items if item["role"] == role), sorted(names))
            self.assertEqual([item["name"] for item in items if item["focused"]], ["Access token, or the whole JSON"])
            self.assertNotIn("secret-", json.dumps(items))
            self.keys("key", "Return")
            self.says("Paste both tokens")
            self.keys("type", "secret-one")
            self.keys("key", "Return")
            self.says("Both fields hold the same text")
            self.assertIn("alert", [item["role"] for item in self.tree()])
            self.assertFalse(self.is_signed_in())

    def test_what_is_pasted_anywhere_signs_in(self):
        with self.window():
            self.source(text=f"\n  {json.dumps(PAIR, indent=1)}\n")
            self.keys("search", "--name", "Sign in to Vela", "windowfocus", "--sync", "key", "ctrl+v")
            self.keys("sleep", 2, "key", "Return")
            self.signs_in()

    def test_a_file_that_is_dropped_signs_in(self):
        with self.window():
            # On a field, which would take its name for a token.
            self.drop(self.file("my & 'own' pair ü.json").as_uri(), at=(400, 420))
            self.signs_in()

    def test_a_file_that_is_chosen_signs_in(self):
        # The toolkit's own dialog complains of keys that come while it is being filled.
        with self.window(complaints=()):
            path = self.file()
            self.keys("key", "alt+f")
            self.keys("search", "--sync", "--name", "Choose your credentials file", "windowfocus", "--sync")
            self.says("Recent")

            def is_asked():
                return self.person.run("xdotool", "search", "--onlyvisible", "--name", "Choose your cred", status=None)

            def is_chosen():
                self.keys("key", "ctrl+a", "type", path)
                self.keys("sleep", 0.5, "key", "Return", "sleep", 1)
                return not is_asked()

            # The first letters go by a dialog that is still being filled.
            eventually(is_chosen, "the end of the dialog")
            self.signs_in()

    def test_what_is_no_credentials_file_is_refused_in_words(self):
        with self.window():
            folder = self.person.folder
            long = self.file("long", "x" * (10 << 20))
            binary = self.file("binary")
            binary.write_bytes(b"\0\xff" * 100)
            strange = folder / os.fsdecode(b"\xff\n\xe2\x80\xae<b>")
            open_to_all = self.file("open", mode=0o644)
            link = folder / "link"
            link.symlink_to(open_to_all)
            pipe = folder / "pipe"
            os.mkfifo(pipe, 0o600)
            with socket.socket(socket.AF_UNIX) as door:
                door.bind(str(folder / "door"))
                for path, words in {long: "too long", binary: "not JSON", strange: "No such file", link: "chmod 600",
                                    open_to_all: "chmod 600", folder: "not a regular file", pipe: "not a regular file",
                                    folder / "door": "No such device"}.items():
                    with self.subTest(path=path):
                        self.drop(path.as_uri())
                        self.says(words)
            for addresses, words in {(long.as_uri(), binary.as_uri()): "Drop one file",
                                     ("sftp://elsewhere.example/pair",): "no file of this machine",
                                     (f"file://elsewhere{self.file().as_posix()}",): "on another machine",
                                     (f"{self.file().as_uri()}%",): "is damaged"}.items():
                with self.subTest(addresses=addresses):
                    self.drop(*addresses)
                    self.says(words)
            self.assertFalse(self.is_signed_in())

    def test_a_companion_that_is_killed_is_said_and_tried_again(self):
        with self.window() as person:
            with open(person.folder / "data" / "vela" / "keychain.lock", "r+b") as lock:
                # As a renewal that is on its way.
                fcntl.lockf(lock, fcntl.LOCK_EX)
                self.keys("key", "alt+a", "type", json.dumps(PAIR))
                self.keys("key", "Return")
                self.says("waiting until the tokens")
                os.kill(self.companion(), signal.SIGKILL)
                self.says("That did not work: vela-companion was ended before it was done. Try again.")
                self.assertFalse(self.is_signed_in())
            self.keys("key", "Return")
            self.signs_in()

    def companion(self):
        """The one that the window has started."""
        children = Path(f"/proc/{self.process.pid}/task/{self.process.pid}/children")
        return int(eventually(children.read_text, "the companion").split()[0])

    def test_all_of_it_is_reached_on_a_small_screen_with_large_text(self):
        for name, variables, screen in (("small", {}, (320, 480)), ("large", {"GDK_DPI_SCALE": "2"}, (480, 480)),
                                        ("scaled", {"GDK_SCALE": "2"}, (640, 480))):
            with self.subTest(name), self.window(variables, screen=screen):
                keep(self.display.picture(), f"sign-in-window-{name}")
                self.assertTrue(self.is_on(screen), self.place())
                self.keys("key", "alt+i")
                self.says("Paste both tokens")
                eventually(lambda: self.is_on(screen), lambda: f"the whole window on the screen: {self.place()}")
                keep(self.display.picture(), f"sign-in-window-{name}-alert")
                self.person.end(self.process)

    def is_on(self, screen):
        left, top, width, height = self.place()
        return left >= 0 and top >= 0 and left + width <= screen[0] and top + height <= screen[1]

    def place(self):
        words = self.person.run("xdotool", "search", "--name", "Sign in to Vela", "getwindowgeometry", "--shell")
        found = dict(line.split("=") for line in words.split())
        return tuple(int(found[name]) for name in ("X", "Y", "WIDTH", "HEIGHT"))


if __name__ == "__main__":
    unittest.main()
