#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0

"""A person without a terminal signs in by a window."""

import unittest

from displays import XDisplay, keep
from person import Person, eventually


class SignInWindow(unittest.TestCase):
    def test_what_is_typed_signs_in(self):
        with Person() as person:
            person.sign_out()
            display = XDisplay(person, (700, 760))
            person.environment |= {"NO_AT_BRIDGE": "1"}
            person.start("vela-companion", "open", "velaapp://home_orders")
            person.run("xdotool", "search", "--sync", "--name", "Sign in to Vela", "windowfocus", "--sync")
            person.run("xdotool", "key", "alt+a", "type", "secret-one")
            keep(display.picture(), "sign-in-window")
            person.run("xdotool", "key", "Tab", "type", "secret-two")
            person.run("xdotool", "key", "Return")
            eventually(lambda: "signed in: yes" in person.run("vela-companion", "status"), "the sign-in")
            person.run("xdotool", "search", "--sync", "--name", "You are signed in")
            keep(display.picture(), "sign-in-window-done")


if __name__ == "__main__":
    unittest.main()
