#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0

"""The page in Chromium: whole at every width, readable for everybody, for the keyboard alone and on paper, and without a
violation of what axe-core knows."""

import json
import unittest

from browsers import Chromium
from displays import keep
from pages import LISTED, WIDTHS, page, served, violations, walk
from person import PICTURES, Person


class PageInChromium(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.person, cls.browser = cls.enterClassContext(page(Chromium))

    def setUp(self):
        self.browser.prefer({})
        self.browser.tool("Emulation.setScriptExecutionDisabled", value=False)
        self.browser.open(self.person.address)
        self.browser.sees(f"{LISTED} === 10", "ten packages")

    def test_is_whole_at_every_width_and_breaks_no_rule(self):
        for scheme in ("light", "dark"):
            self.browser.prefer({"prefers-color-scheme": scheme})
            self.assertEqual(violations(self.browser), [])
            for width in WIDTHS:
                keep(self.browser.whole_page(width), f"page-chromium-{width}-{scheme}")
                self.assertEqual(self.browser.script("return document.documentElement.scrollWidth"), width)

    def test_is_readable_with_more_contrast_and_with_forced_colours(self):
        for name, value in (("prefers-contrast", "more"), ("forced-colors", "active")):
            self.browser.prefer({name: value})
            self.browser.sees("document.querySelector('[fill=\"#4C5159\"]')", "the drawings of more contrast")
            keep(self.browser.whole_page(1280), f"page-chromium-{name}")
            self.assertEqual(violations(self.browser), [])
            self.browser.prefer({})
            self.browser.sees("!document.querySelector('[fill=\"#4C5159\"]')", "the usual drawings")

    def test_bars_in_the_list_stand_at_one_height_and_are_seen(self):
        for preferred in ({"prefers-color-scheme": "light"}, {"prefers-color-scheme": "dark"}, {"prefers-contrast": "more"}):
            self.browser.prefer(preferred)
            self.browser.resize(1280, 1000)
            rows = self.browser.script("""
                const rows = {};
                for (const link of document.querySelectorAll('.all a')) {
                    const top = Math.round(link.getBoundingClientRect().top);
                    (rows[top] ||= []).push(Math.round(link.querySelector('.progress').getBoundingClientRect().top));
                }
                return Object.values(rows);""")
            self.assertEqual([len(set(row)) for row in rows], [1] * 4, rows)
            for part in ("done", "track"):
                self.assertGreaterEqual(self.contrast(f".all .{part}", ".all a"), 3, f"{part}, {preferred}")

    def test_the_ring_of_one_link_of_several_stands_around_what_is_drawn(self):
        self.browser.script("document.querySelectorAll('.systemLarge.light a')[1].focus({focusVisible: true})")
        ring, row, clip = self.browser.script("""
            const rect = document.activeElement.querySelector('rect');
            const size = box => [box.width, box.height];
            const before = [rect.width.baseVal.value, rect.height.baseVal.value];
            return [size(rect.getBoundingClientRect()), before, size(rect.closest('.widget').getBoundingClientRect())];""")
        self.assertTrue(row[0] + 8 < ring[0] < clip[0] and row[1] + 6 < ring[1], (ring, row, clip))

    def contrast(self, shape, ground):
        """Of what fills the one on the other's ground (WCAG 2.2, 1.4.11)."""
        return self.browser.script("""
            const numbers = color => color.match(/[\\d.]+/g).map(Number);
            const shape = getComputedStyle(document.querySelector(arguments[0]));
            const ground = numbers(getComputedStyle(document.querySelector(arguments[1])).backgroundColor);
            const alpha = Number(shape.fillOpacity);
            const seen = numbers(shape.fill).map((value, channel) => alpha * value + (1 - alpha) * ground[channel]);
            const linear = value => (value <= 0.04045 ? value / 12.92 : ((value + 0.055) / 1.055) ** 2.4);
            const light = color => [0.2126, 0.7152, 0.0722].reduce((sum, part, channel) => sum + part * linear(color[channel] / 255), 0);
            const [low, high] = [light(seen), light(ground)].sort((a, b) => a - b);
            return (high + 0.05) / (low + 0.05);""", shape, ground)

    def test_grows_with_the_text_size_that_is_chosen(self):
        height = "document.querySelector('.all a').getBoundingClientRect().height"
        before = self.browser.script(f"return {height}")
        self.browser.script("""
            const textSize = document.querySelector('[name=textSize]');
            textSize.value = 'accessibility5';
            textSize.dispatchEvent(new Event('change', {bubbles: true}));""")
        self.browser.sees("document.querySelector('.systemLarge [font-size]').getAttribute('font-size') > 40", "huge words")
        self.assertGreater(self.browser.script(f"return {height}"), 2 * before)
        for width in (320, 768):
            keep(self.browser.whole_page(width), f"page-chromium-huge-{width}")
            self.assertEqual(self.browser.script("return document.documentElement.scrollWidth"), width)
        self.assertEqual(violations(self.browser), [])

    def test_everything_comes_from_the_page_itself_and_it_can_be_installed(self):
        loaded = self.browser.script("return performance.getEntriesByType('resource').map(each => each.name)")
        self.assertTrue(any(name.endswith(".otf") for name in loaded), loaded)
        self.assertEqual([name for name in loaded if not name.startswith(self.person.address)], [])
        self.assertEqual(self.browser.script("return [...document.fonts].filter(f => f.status === 'error').length"), 0)
        self.assertEqual(self.browser.tool("Page.getInstallabilityErrors")["installabilityErrors"], [])

    def test_has_no_name_twice(self):
        ids = self.browser.script("return [...document.querySelectorAll('[id]')].map(each => each.id)")
        self.assertEqual(len(ids), len(set(ids)))

    def test_shows_its_packages_without_scripts(self):
        self.browser.tool("Emulation.setScriptExecutionDisabled", value=True)
        self.browser.prefer({"prefers-color-scheme": "dark"})
        self.browser.open(self.person.address + "?textSize=xxLarge")
        keep(self.browser.whole_page(1280, 1400), "page-chromium-without-scripts")
        tree = self.browser.tool("DOM.getDocument", depth=-1)
        # Of the home screen in both schemes, of the lock screen, and in the list.
        self.assertEqual(json.dumps(tree).count('"velaapp://order/5501"'), 6 + 2 + 1)

    def test_prints_the_packages_and_not_the_controls(self):
        self.browser.prefer({"prefers-color-scheme": "dark"})
        file = self.person.folder / "page.pdf"
        file.write_bytes(self.browser.printed())
        text = self.person.run("pdftotext", file, "-")
        self.assertIn("Fathom & Co.", text)
        self.assertIn("Between 2 and 4 PM", text)
        self.assertNotIn("Reload", text)
        self.assertNotIn("Lock screen", text)
        self.person.run("pdftoppm", "-png", "-r", "60", file, PICTURES / "page-print")

    def test_the_keyboard_reaches_everything_and_opens_a_package(self):
        walk(self, self.browser)
        keep(self.browser.whole_page(1280), "page-chromium-focus")


class PageWithoutPackages(unittest.TestCase):
    def test_breaks_no_rule_signed_out(self):
        with page(Chromium, signed_in=False) as (_, browser):
            browser.sees("document.querySelector('.systemLarge svg title')", "the prompt")
            self.assertEqual(browser.script(f"return {LISTED}"), 0)
            self.assertEqual(violations(browser), [])
            keep(browser.whole_page(1280), "page-chromium-signed-out")

    def test_breaks_no_rule_with_nothing_to_track(self):
        with page(Chromium, scenario="empty") as (_, browser):
            browser.sees("document.querySelector('desc')?.textContent.includes('no new orders')", "the prompt")
            self.assertEqual(violations(browser), [])

    def test_breaks_no_rule_before_anything_is_known(self):
        with Person() as person:
            person.end(person.sandbox)
            address = served(person)
            browser = Chromium(person)
            browser.open(address)
            browser.sees("document.getElementById('remark').textContent.includes('cannot be reached')", "the trouble")
            self.assertEqual(violations(browser), [])
            keep(browser.whole_page(1280), "page-chromium-placeholder")
            browser.close()


class PageOfHostileShops(unittest.TestCase):
    def test_stays_whole_whatever_shops_are_called(self):
        with page(Chromium, scenario="hostile") as (_, browser):
            browser.sees(f"{LISTED} === 10", "ten packages")
            self.assertEqual(violations(browser), [])
            for width in (320, 1280):
                keep(browser.whole_page(width), f"page-chromium-hostile-{width}")
                self.assertEqual(browser.script("return document.documentElement.scrollWidth"), width)
                self.assertLess(browser.script("return document.documentElement.scrollHeight"), 4000)


if __name__ == "__main__":
    unittest.main()
