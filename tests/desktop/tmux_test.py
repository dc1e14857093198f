#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0

"""The status line of a terminal multiplexer shows the package, and the terminal view stays current in it."""

import unittest

from person import Person, eventually


class Tmux(unittest.TestCase):
    def tmux(self, person, *words):
        return person.run("tmux", "-S", person.folder / "tmux.socket", "-f", "/dev/null", *words)

    def screen(self, person, session):
        return self.tmux(person, "capture-pane", "-p", "-t", session)

    def start(self, person):
        self.tmux(person, "new-session", "-d", "-s", "inner", "-x", "100", "-y", "30", "sleep 600")

    def test_status_line_shows_the_package(self):
        with Person() as person:
            self.start(person)
            try:
                self.tmux(person, "set", "-g", "status-right-length", "100")
                self.tmux(person, "set", "-g", "status-right", "")
                snippet = person.folder / "tmux.conf"
                snippet.write_text(person.setup("tmux"))
                self.tmux(person, "source-file", snippet)
                self.tmux(person, "set", "-g", "status-interval", "1")
                # A status line is drawn for a client alone: one that is attached within another session.
                attach = f"env -u TMUX tmux -S {person.folder / 'tmux.socket'} attach -t inner"
                self.tmux(person, "new-session", "-d", "-s", "outer", "-x", "100", "-y", "30", attach)
                eventually(lambda: "Arriving today" in self.screen(person, "outer"),
                           lambda: "the package in\n" + self.screen(person, "outer"))
                self.assertEqual(len(person.requests()), 1)
            finally:
                self.tmux(person, "kill-server")

    def test_terminal_view_follows_the_sign_out_and_leaves_the_terminal_as_it_was(self):
        with Person() as person:
            self.tmux(person, "new-session", "-d", "-s", "view", "-x", "80", "-y", "24", "sh")
            try:
                self.tmux(person, "send-keys", "-t", "view", "clear; vela-widget show --follow", "Enter")
                eventually(lambda: "Arriving today" in self.screen(person, "view"),
                           lambda: "the package in\n" + self.screen(person, "view"))
                person.sign_out()
                eventually(lambda: "Arriving" not in self.screen(person, "view"), "an empty view")
                self.tmux(person, "send-keys", "-t", "view", "q")
                # What is typed with it would be the view's to read.
                eventually(lambda: not list(person.processes(b"show")), "the end of the view")
                self.tmux(person, "send-keys", "-t", "view", "echo back", "Enter")
                eventually(lambda: "\nback" in self.screen(person, "view"), "the shell")
            finally:
                self.tmux(person, "kill-server")


if __name__ == "__main__":
    unittest.main()
