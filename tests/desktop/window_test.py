#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0

"""The widget as a window on the desktop, under X and in a Wayland compositor's layer, for eye, hand and ear."""

import fcntl
import json
import os
import re
import signal
import subprocess
import sys
import time
import unittest
from pathlib import Path

from displays import KWinDisplay, NestedDisplay, WaylandDisplay, XDisplay, keep, pixels
from person import PATIENCE, Person, eventually
from virtual_pointer import VirtualPointer

BRAND = (13, 110, 153)
HERE = Path(__file__).parent


class WindowTest(unittest.TestCase):
    def prepare(self, person):
        person.environment |= {"XDG_STATE_HOME": str(person.folder / "state"), "VELA_WINDOW_FRAMES": "1",
                               "GSETTINGS_BACKEND": "memory"}

    def frames(self, person):
        return (person.folder / "vela-widget.log").read_text().count("vela-widget-window: frame")

    def rests(self, person):
        drawn = self.frames(person)
        time.sleep(2)
        return self.frames(person) == drawn

    def remembered(self, person):
        file = person.folder / "state" / "vela" / "window.json"
        return json.loads(file.read_text())["windows"] if file.exists() else {}


class UnderX(WindowTest):
    def start(self, person, *options):
        self.prepare(person)
        if "DISPLAY" not in person.environment:
            self.display = XDisplay(person, (1280, 800))
            file = person.folder / "i3.config"
            file.write_text("# i3 config file (v4)\nfont pango:Inter 10\n")
            person.start("i3", "-c", file)
        window = person.start("vela-widget", "window", *options)
        self.seen(person, window)
        return window

    def seen(self, person, window):
        eventually(lambda: self.windows(person, window), "the window")
        eventually(lambda: pixels(self.display.picture(), BRAND, 30) > 50, "the brand's colour in it")

    def windows(self, person, window):
        found = person.run("xdotool", "search", "--onlyvisible", "--pid", window.pid, status=None).split()
        return [number for number in found if self.frame(person, number)[2:] != (1, 1)]

    def frame(self, person, number):
        words = person.run("xdotool", "getwindowgeometry", number)
        numbers = re.search(r"Position: (-?\d+),(-?\d+).*Geometry: (\d+)x(\d+)", words, re.DOTALL)
        return tuple(int(number) for number in numbers.groups())

    def place(self, person, window):
        return self.frame(person, self.windows(person, window)[0])

    def test_looks_like_its_drawing_with_round_corners_in_two_families_at_once(self):
        with Person() as person:
            medium = self.start(person)
            small = self.start(person, "--family", "systemSmall")
            eventually(lambda: self.place(person, medium)[2:] == (338, 158), "the medium size")
            eventually(lambda: self.place(person, small)[2:] == (158, 158), "the small size")
            x, y, width, height = self.place(person, medium)
            picture = eventually(lambda: pixels(self.display.picture(), BRAND, 30) > 300 and self.display.picture(),
                                 "both drawings")
            keep(picture, "window")
            ground = picture.getpixel((5, 700))
            for corner in ((x, y), (x + width - 1, y), (x, y + height - 1), (x + width - 1, y + height - 1)):
                self.assertEqual(picture.getpixel(corner), ground, corner)
            self.assertEqual(picture.getpixel((x + width // 2, y + 3)), (255, 255, 255))
            self.assertEqual(len(person.requests()), 1)

    def test_is_clicked_dragged_resized_and_stands_there_again(self):
        with Person() as person:
            window = self.start(person, "--family", "systemLarge")
            x, y, _, _ = self.place(person, window)
            self.display.click(x + 100, y + 180)
            eventually(lambda: any("/delivery/d-7001" in link for link in person.opened_links()), "the link")
            self.drag(person, (x + 150, y + 120), (-300, -60))
            eventually(lambda: self.place(person, window)[:2] == (x - 300, y - 60), "the window elsewhere")
            moved = eventually(lambda: self.remembered(person).get("systemLarge"), "its place")
            self.assertEqual(len(person.opened_links()), 1, "a drag is no click")
            x, y, width, height = self.place(person, window)
            self.assertEqual(next(iter(moved["places"].values())), {"x": x, "y": y})
            # By the corner at the lower right, up to the small size.
            self.drag(person, (x + width - 9, y + height - 9), (-180, -190))
            eventually(lambda: self.place(person, window) == (x, y, 158, 158), "the small family")
            eventually(lambda: "systemSmall" in self.remembered(person), "its place")
            person.end(window)
            again = self.start(person)
            eventually(lambda: self.place(person, again) == (x, y, 158, 158), "the window where it was")

    def drag(self, person, start, by):
        person.run("xdotool", "mousemove", *start, "mousedown", 1)
        for step in range(1, 11):
            person.run("xdotool", "mousemove", start[0] + by[0] * step // 10, start[1] + by[1] * step // 10)
        person.run("xdotool", "mouseup", 1)

    def test_is_worked_by_the_keyboard_alone(self):
        with Person() as person:
            window = self.start(person, "--family", "systemLarge")
            number = self.windows(person, window)[0]
            person.run("xdotool", "windowfocus", "--sync", number)
            plain = self.display.picture()
            person.run("xdotool", "key", "Tab", "Tab")
            ringed = eventually(lambda: pixels(self.display.picture(), (26, 94, 204), 20) > 200
                                and self.display.picture(), "the focus ring")
            keep(ringed, "window-keyboard")
            self.assertNotEqual(plain.tobytes(), ringed.tobytes())
            person.run("xdotool", "key", "Return")
            eventually(lambda: any("/delivery/d-7001" in link for link in person.opened_links()), "the second link")
            x, y, _, _ = self.place(person, window)
            person.run("xdotool", "key", "Left", "shift+Left")
            eventually(lambda: self.place(person, window)[0] == x - 17, "the window further left")
            before = self.settled()
            person.run("xdotool", "key", "shift+F10")
            menu = eventually(lambda: self.display.picture().tobytes() != before.tobytes() and self.display.picture(),
                              "the menu")
            keep(menu, "window-menu")
            person.run("xdotool", "key", "Down", "Down", "Down", "Return")
            eventually(lambda: self.place(person, window)[2:] == (158, 158), "the small family")
            fetched = len(person.requests())
            person.run("xdotool", "key", "F5")
            eventually(lambda: len(person.requests()) == fetched + 1, "another request")
            person.run("xdotool", "key", "ctrl+q")
            self.assertEqual(window.wait(PATIENCE), 0)

    def test_is_read_by_a_screen_reader(self):
        with Person() as person:
            person.start_bus()
            self.start(person, "--family", "systemLarge")
            frame = eventually(lambda: self.accessible(person), "the window in the accessible tree")
            self.assertEqual((frame["role"], frame["name"]), ("frame", "Tracking Widget"))
            links = self.links(frame)
            self.assertEqual([link["role"] for link in links], ["link"] * 3)
            self.assertTrue(links[0]["name"].startswith("Fathom & Co.: arriving today"), links[0])
            self.assertEqual(links[0]["link"], "velaapp://order/5501")
            person.run(sys.executable, HERE / "accessible_tree.py", "Birthday present")
            eventually(lambda: any("/delivery/d-7002" in link for link in person.opened_links()), "the third link")
            person.sign_out()
            prompt = eventually(lambda: self.prompt(person), "the prompt as a link")
            self.assertEqual(prompt["link"], "velaapp://home_orders")

    def prompt(self, person):
        links = self.links(self.accessible(person))
        return links[0] if len(links) == 1 and "Sign" in links[0]["name"] else None

    def accessible(self, person):
        applications = json.loads(person.run(sys.executable, HERE / "accessible_tree.py"))
        frames = [frame for application in applications for frame in application["children"]]
        return frames[0] if frames and self.links(frames[0]) else None

    def links(self, item):
        if not item:
            return []
        own = [item] if item["role"] == "link" else []
        return own + [link for child in item["children"] for link in self.links(child)]

    def forgets(self, window, words):
        """Nothing of the person is left in the window's memory."""
        eventually(lambda: not self.found_in_memory(window.pid, words),
                   lambda: f"a memory without {self.found_in_memory(window.pid, words)}")

    @staticmethod
    def found_in_memory(process, words):
        found = set()
        with open(f"/proc/{process}/maps", encoding="utf-8") as maps, open(f"/proc/{process}/mem", "rb") as memory:
            for line in maps:
                bounds, rights = line.split()[:2]
                if not rights.startswith("rw"):
                    continue
                start, end = (int(bound, 16) for bound in bounds.split("-"))
                try:
                    memory.seek(start)
                    content = memory.read(end - start)
                except OSError:
                    continue
                found |= {word for word in words if word in content}
        return found

    def test_follows_the_desktops_settings_while_it_runs(self):
        with Person() as person:
            person.start_bus()
            portal = person.start(sys.executable, HERE / "settings_portal.py", stdin=subprocess.PIPE)
            window = self.start(person)
            self.settled()
            x, y, width, _ = self.place(person, window)
            middle = (x + width // 2, y + 5)
            self.assertEqual(self.display.picture().getpixel(middle), (255, 255, 255))
            light = self.display.picture()
            self.tell(portal, "color-scheme 1")
            eventually(lambda: max(self.display.picture().getpixel(middle)) < 60, "the dark widget")
            keep(self.display.picture(), "window-dark")
            dark = self.display.picture()
            self.tell(portal, "contrast 1")
            eventually(lambda: self.display.picture().tobytes() != dark.tobytes(), "more contrast")
            self.settled()
            self.tell(portal, "contrast 0")
            self.tell(portal, "color-scheme 2")
            eventually(lambda: self.display.picture().tobytes() == light.tobytes(), "the light widget as it was")
            portal.stdin.close()

    @staticmethod
    def tell(portal, words):
        portal.stdin.write(words.encode() + b"\n")
        portal.stdin.flush()

    def test_draws_no_frame_while_nothing_changes_and_empties_at_the_sign_out(self):
        with Person() as person:
            window = self.start(person)
            eventually(lambda: self.rests(person), "two seconds without a frame")
            drawn, used = self.frames(person), self.ticks(window.pid)
            time.sleep(5)
            self.assertEqual(self.frames(person), drawn)
            print(f"five idle seconds: {self.ticks(window.pid) - used} ticks of CPU, KiB: {self.private(window.pid)}")
            person.sign_out()
            signed_out = time.monotonic()
            # The bar is gone, and what stands there is the prompt's button.
            x, y, _, _ = self.place(person, window)
            eventually(lambda: self.display.picture().getpixel((x + 30, y + 130)) == self.display.picture().getpixel(
                (x + 300, y + 130)) != (255, 255, 255), "the prompt")
            print(f"the window knew of the sign-out after {time.monotonic() - signed_out:.2f} s")
            keep(self.display.picture(), "window-signed-out")
            self.assertLessEqual(self.frames(person) - drawn, 3)
            self.forgets(window, [b"Fathom", b"order/5501"])

    @staticmethod
    def ticks(process):
        words = Path(f"/proc/{process}/stat").read_text().rsplit(")", 1)[1].split()
        return int(words[11]) + int(words[12])

    @staticmethod
    def private(process):
        lines = Path(f"/proc/{process}/smaps_rollup").read_text().splitlines()
        return {line.split(":")[0]: int(line.split()[1]) for line in lines if line.startswith(("Private_", "Pss:"))}

    def test_outlives_the_live_host_and_touches_nobody_when_it_is_killed(self):
        with Person() as person:
            window = self.start(person)
            other = self.start(person, "--family", "systemSmall")
            shown = self.settled()
            first = person.live_host()
            os.kill(first, signal.SIGKILL)
            eventually(lambda: self.another_host(person, first), "another host")
            self.assertEqual(self.display.picture().tobytes(), shown.tobytes())
            os.killpg(window.pid, signal.SIGKILL)
            window.wait(PATIENCE)
            time.sleep(0.5)
            self.assertIsNone(other.poll())
            self.assertNotEqual(person.live_host(), first)
            person.sign_out()
            eventually(lambda: self.display.picture().tobytes() != shown.tobytes(), "the sign-out in the other")

    def settled(self):
        """The screen once it stays as it is."""
        latest = []

        def same():
            latest.append(self.display.picture())
            time.sleep(0.4)
            return len(latest) > 2 and latest[-1].tobytes() == latest[-3].tobytes()

        eventually(same, "a screen that stays as it is")
        return latest[-1]

    @staticmethod
    def another_host(person, first):
        try:
            return person.live_host() != first
        except AssertionError:
            return False

    def test_stands_empty_in_its_family_while_no_host_can_be_had(self):
        with Person() as person:
            folder = Path(person.environment["XDG_RUNTIME_DIR"]) / "vela-widget"
            folder.mkdir(mode=0o700)
            with open(folder / "host.lock", "w", encoding="utf-8") as lock:
                # As a host that hangs before it listens.
                fcntl.flock(lock, fcntl.LOCK_EX)
                self.display = XDisplay(person, (1280, 800))
                self.prepare(person)
                window = person.start("vela-widget", "window", "--family", "systemSmall")
                eventually(lambda: self.windows(person, window)
                           and self.place(person, window) == (1098, 198, 158, 158), "the small window")
                eventually(lambda: self.display.picture().getpixel((1170, 260)) == (255, 255, 255), "its ground")
            eventually(lambda: pixels(self.display.picture(), BRAND, 30) > 50, "the widget once there is a host")

    def test_says_once_that_its_place_cannot_be_kept(self):
        with Person() as person:
            (person.folder / "state").mkdir(mode=0o500)
            window = self.start(person)
            person.run("xdotool", "windowfocus", "--sync", self.windows(person, window)[0])
            x, y, _, _ = self.place(person, window)
            for step in (1, 2, 3):
                person.run("xdotool", "key", "Left", "sleep", 0.6)
                eventually(lambda: self.place(person, window)[:2] == (x - 16 * step, y), "the window further left")
            person.run("xdotool", "key", "ctrl+q")
            self.assertEqual(window.wait(PATIENCE), 0)
            log = (person.folder / "vela-widget.log").read_text()
            self.assertEqual(log.count("where the window stands is not kept: "), 1, log)

    def test_says_that_there_is_no_display(self):
        with Person() as person:
            done = subprocess.run(["vela-widget", "window"], env=person.environment, capture_output=True, text=True,
                                  timeout=20)
            self.assertEqual(done.returncode, 1)
            self.assertIn("display", done.stderr)


class InKWin(WindowTest):
    """Whose layers are of an older protocol."""

    # At the upper right, 24 from the edges.
    PLACE = (1280 - 24 - 338, 24)

    def start(self, person):
        display = KWinDisplay(person)
        self.prepare(person)
        return display

    def shows(self, person, display):
        window = person.start("vela-widget", "window")
        keep(eventually(lambda: pixels(display.picture(), BRAND, 30) > 300 and display.picture(), "the widget"), "window-kwin")
        return window

    def test_is_clicked_worked_by_the_keyboard_and_dragged(self):
        with Person() as person:
            display = self.start(person)
            self.shows(person, display)
            x, y = self.PLACE
            self.assertEqual(display.picture().getpixel((x + 100, y + 3)), (255, 255, 255))
            display.click(x + 60, y + 100)
            eventually(lambda: any("/order/5501" in link for link in person.opened_links()), "the link")
            display.do("key", "Tab")
            keep(eventually(lambda: pixels(display.picture(), (26, 94, 204), 20) > 200 and display.picture(),
                            "the focus ring"), "window-kwin-keyboard")
            display.do("key", "Return")
            eventually(lambda: len(person.opened_links()) == 2, "the link again")
            display.do("mousedown", 1)
            for step in range(1, 21):
                display.do("mousemove", x + 60 - 20 * step, y + 100 + 15 * step)
            display.do("mouseup", 1)
            eventually(lambda: display.picture().getpixel((x - 200, y + 340)) == (255, 255, 255), "the widget there")
            eventually(lambda: "systemMedium" in self.remembered(person), "its place")
            self.assertEqual(len(person.opened_links()), 2)

    def test_leaves_the_keyboard_to_who_has_it(self):
        with Person() as person:
            display = self.start(person)
            written = person.folder / "letter"
            with open(written, "wb") as file:
                person.start(sys.executable, HERE / "text_field.py", stdout=file)
            lines = lambda: written.read_text().splitlines()
            eventually(lambda: lines() == ["ready"], lines)
            window = self.shows(person, display)
            display.do("type", "a")
            eventually(lambda: lines() == ["ready", "a"], lines)
            display.click(self.PLACE[0] + 60, self.PLACE[1] + 10)
            eventually(lambda: display.do("key", "ctrl+q") or window.poll() == 0, "the window's end by its key")
            eventually(lambda: lines() == ["ready", "a", "ready"], lines)
            display.do("type", "b")
            eventually(lambda: lines() == ["ready", "a", "ready", "ab"], lines)


class InALayer(WindowTest):
    def test_stands_below_windows_is_clicked_and_dragged(self):
        with Person() as person:
            self.prepare(person)
            display = WaylandDisplay(person, "", (1280, 800))
            window = person.start("vela-widget", "window")
            shown = eventually(lambda: pixels(display.picture(), BRAND, 30) > 300 and display.picture(), "the widget")
            keep(shown, "window-layer")
            # At the upper right, 24 from the edges: the ground shows through the round corner.
            x, y = 1280 - 24 - 338, 24
            self.assertEqual(shown.getpixel((x, y)), (0x20, 0x20, 0x20))
            self.assertEqual(shown.getpixel((x + 100, y + 3)), (255, 255, 255))
            tree = self.compositor(person, "-t", "get_tree")
            self.assertNotIn("Tracking Widget", tree, "a layer is no window")
            pointer = VirtualPointer(person.environment, (1280, 800))
            self.addCleanup(pointer.close)
            time.sleep(0.5)
            pointer.move(x + 60, y + 100)
            pointer.press()
            pointer.release()
            eventually(lambda: any("/order/5501" in link for link in person.opened_links()), "the link")
            pointer.press()
            for step in range(1, 21):
                pointer.move(x + 60 - 20 * step, y + 100 + 15 * step)
                time.sleep(0.02)
            pointer.release()
            place = eventually(lambda: self.remembered(person).get("systemMedium"), "its place")
            found = next(iter(place["places"].values()))
            self.assertAlmostEqual(found["x"], x - 400, delta=25)
            self.assertAlmostEqual(found["y"], y + 300, delta=25)
            eventually(lambda: (picture := display.picture()) and picture.getpixel(
                (found["x"] + 100, found["y"] + 3)) == (255, 255, 255), "the widget there")
            self.assertEqual(len(person.opened_links()), 1)
            self.assertIsNone(window.poll())

    @staticmethod
    def compositor(person, *words):
        socket = next(Path(person.environment["XDG_RUNTIME_DIR"]).glob("sway-ipc.*"))
        return person.run("swaymsg", "-s", socket, *words)

    @staticmethod
    def scale_texts(person, factor):
        folder = person.folder / "config" / "glib-2.0" / "settings"
        folder.mkdir(parents=True, exist_ok=True)
        (folder / "new").write_text(f"[org/gnome/desktop/interface]\ntext-scaling-factor={factor}\n")
        (folder / "new").rename(folder / "keyfile")

    def test_follows_text_scaling_and_the_monitors_scale_while_it_runs(self):
        with Person() as person:
            self.prepare(person)
            person.environment["GSETTINGS_BACKEND"] = "keyfile"
            self.scale_texts(person, 1.0)
            display = WaylandDisplay(person, "", (1280, 800))
            person.start("vela-widget", "window")
            usual = eventually(lambda: pixels(display.picture(), BRAND, 30) > 300 and self.ink(display), "the widget")
            self.scale_texts(person, 1.5)
            eventually(lambda: self.ink(display) > 1.3 * usual, "larger words")
            keep(display.picture(), "window-large-text")
            self.scale_texts(person, 1.0)
            eventually(lambda: self.ink(display) == usual, "words as they were")
            self.compositor(person, "output", "HEADLESS-1", "scale", "2")
            eventually(lambda: self.ink(display) > 2.5 * usual, "twice as many pixels a side")
            keep(display.picture(), "window-scale")

    def test_is_seen_when_its_monitor_changes_while_it_is_drawn(self):
        with Person() as person:
            self.prepare(person)
            person.environment["GSETTINGS_BACKEND"] = "keyfile"
            self.scale_texts(person, 2.0)
            display = WaylandDisplay(person, "", (1280, 800))
            person.start("vela-widget", "window")
            eventually(lambda: pixels(display.picture(), BRAND, 30) > 300, "the widget")
            for _ in range(5):
                # What is beyond the smaller monitor gets no frame.
                for factor, scale in ((1.0, "2"), (2.0, "1")):
                    self.scale_texts(person, factor)
                    self.compositor(person, "output", "HEADLESS-1", "scale", scale)
                    eventually(lambda: pixels(display.picture(), BRAND, 30) > 300, f"the widget at a scale of {scale}")

    def test_outlives_its_only_monitor_and_comes_back_with_it(self):
        with Person() as person:
            self.prepare(person)
            display = NestedDisplay(person)
            window = person.start("vela-widget", "window")
            shown = eventually(lambda: pixels(display.picture(), BRAND, 30) > 300 and display.picture(), "the widget")
            display.unplug()
            eventually(lambda: pixels(display.picture(), BRAND, 30) == 0, "no monitor")
            time.sleep(2)
            self.assertIsNone(window.poll())
            display.plug_in()
            eventually(lambda: (picture := display.picture()) and picture.tobytes() == shown.tobytes(), "the widget as it was")

    @staticmethod
    def ink(display):
        """How much of it is in the colour of the first status line."""
        picture = display.picture()
        return sum(pixel == (28, 28, 30) for pixel in picture.getdata()) if picture else 0


if __name__ == "__main__":
    unittest.main()
