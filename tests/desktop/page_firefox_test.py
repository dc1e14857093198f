#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0

"""The page in Firefox."""

import unittest

from browsers import Firefox
from displays import keep
from pages import LISTED, SHOWN, WIDTHS, page, violations, walk


class PageInFirefox(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.person, cls.browser = cls.enterClassContext(page(Firefox))

    def setUp(self):
        self.browser.zoom = 1
        self.browser.open(self.person.address)
        self.browser.sees(f"{LISTED} === 10", "ten packages")

    def test_is_whole_at_every_width_and_breaks_no_rule(self):
        self.assertEqual(violations(self.browser), [])
        for width in WIDTHS:
            self.browser.zoom = 2 if width < 500 else 1
            self.browser.resize(width, 800)
            self.assertTrue(self.browser.script("return document.documentElement.scrollWidth <= innerWidth"), width)
            keep(self.browser.picture(), f"page-firefox-{width}")

    def test_a_name_read_from_the_right_hangs_on_the_right(self):
        right, edge = self.browser.script("""
            const name = [...document.querySelectorAll('.all .name')].find(each => getComputedStyle(each).direction === 'rtl');
            const words = document.createRange();
            words.selectNodeContents(name);
            return [words.getBoundingClientRect().right, name.parentNode.getBoundingClientRect().right];""")
        self.assertAlmostEqual(right, edge, delta=2)

    def test_is_dark_where_the_person_says_so(self):
        self.browser.script("""
            const scheme = document.querySelector('[name=scheme]');
            scheme.value = 'dark';
            scheme.dispatchEvent(new Event('change', {bubbles: true}));""")
        self.browser.sees("getComputedStyle(document.querySelector('.systemSmall.light')).display === 'none'", "the dark")
        self.assertTrue(self.browser.script("return location.search === '?scheme=dark'"))
        self.browser.resize(1280, 1100)
        keep(self.browser.picture(), "page-firefox-dark")

    def test_the_keyboard_reaches_everything_and_opens_a_package(self):
        walk(self, self.browser)

    def test_z_a_sign_out_is_seen_without_loading_again(self):
        self.person.sign_out()
        self.browser.sees(f"!{SHOWN}.includes('Fathom')", "an empty page")


if __name__ == "__main__":
    unittest.main()
