#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0

"""However many surfaces a person has, her parcels are fetched once; and a sign-out is seen on all within a second."""

import json
import os
import signal
import time
import unittest
from pathlib import Path

from person import Person, eventually

FORMATS = ["waybar", "i3bar", "i3blocks", "polybar", "tmux", "genmon", "plain"]


class Surfaces(unittest.TestCase):
    def start(self, person):
        outputs = []
        for form in FORMATS:
            path = person.folder / f"output-{form}"
            with open(path, "wb") as file:
                person.start("vela-widget", "bar", "--format", form, "--follow", stdout=file)
            outputs.append(path)
        return outputs

    @staticmethod
    def last_line(path):
        return (path.read_text().splitlines() or [""])[-1]

    def test_seven_cost_one_fetch_and_end_with_the_sign_out(self):
        with Person() as person:
            outputs = self.start(person)
            for path in outputs:
                eventually(lambda path=path: "Arriving" in path.read_text(), f"the package in {path.name}")
            self.assertEqual(len(person.requests()), 1)
            sizes = [path.stat().st_size for path in outputs]
            signed_out = time.monotonic()
            person.sign_out()
            eventually(lambda: all(path.stat().st_size > size for path, size in zip(outputs, sizes)),
                       "something new everywhere")
            seconds = time.monotonic() - signed_out
            print(f"seven surfaces knew of the sign-out after {seconds:.2f} s")
            for path in outputs:
                self.assertNotIn("Arriving", path.read_bytes()[sizes[outputs.index(path)]:].decode())
            folder = Path(person.environment["XDG_RUNTIME_DIR"]) / "vela-widget"
            state = lambda: json.loads((folder / "entry.json").read_text())["state"]
            eventually(lambda: state() == "notLoggedIn", state)

    def test_a_sign_in_is_seen_within_a_second(self):
        with Person() as person:
            person.sign_out()
            outputs = self.start(person)
            for path in outputs:
                eventually(lambda path=path: path.read_text(), f"a line in {path.name}")
            signed_in = time.monotonic()
            person.sign_in()
            for path in outputs:
                eventually(lambda path=path: "Arriving" in path.read_text(), f"the package in {path.name}")
            print(f"seven surfaces knew of the sign-in after {time.monotonic() - signed_in:.2f} s")

    def test_they_outlive_the_host_that_is_killed(self):
        with Person() as person:
            outputs = self.start(person)
            for path in outputs:
                eventually(lambda path=path: "Arriving" in path.read_text(), f"the package in {path.name}")
            first = person.live_host()
            os.kill(first, signal.SIGKILL)
            eventually(lambda: self.another_host(person, first), "another host")
            person.sign_out()
            for path in outputs:
                eventually(lambda path=path: "Arriving" not in self.last_line(path), f"the sign-out in {path.name}")

    @staticmethod
    def another_host(person, first):
        try:
            return person.live_host() != first
        except AssertionError:
            return False


if __name__ == "__main__":
    unittest.main()
