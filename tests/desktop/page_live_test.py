#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0

"""The page keeps itself current, and shows nothing of a person who has gone or of whom nobody can tell any more."""

import os
import signal
import time
import unittest

from browsers import Chromium
from displays import keep
from pages import LISTED, SHOWN, page, violations


class LivePage(unittest.TestCase):
    def test_a_sign_out_and_a_sign_in_are_seen_without_loading_again(self):
        with page(Chromium) as (person, browser):
            browser.sees(f"{LISTED} === 10", "ten packages")
            browser.script("window.isTheSame = true")
            signed_out = time.monotonic()
            person.sign_out()
            browser.sees(f"!{SHOWN}.includes('Fathom')", "an empty page")
            print(f"the page was empty {time.monotonic() - signed_out:.2f} s after the sign-out began")
            browser.sees("document.querySelector('.systemSmall a, .systemSmall svg')", "the prompt")
            person.sign_in()
            browser.sees(f"{LISTED} === 10", "ten packages")
            self.assertTrue(browser.script("return window.isTheSame"))

    def test_packages_go_when_the_server_ends_and_come_back_with_it(self):
        with page(Chromium) as (person, browser):
            browser.sees(f"{LISTED} === 10", "ten packages")
            os.killpg(person.server.pid, signal.SIGSTOP)
            browser.sees(f"{SHOWN}.includes('does not answer')", "that nobody answers")
            self.assertEqual(browser.script("return document.querySelectorAll('main svg').length"), 0)
            os.killpg(person.server.pid, signal.SIGCONT)
            browser.sees(f"{LISTED} === 10", "ten packages")
            os.killpg(person.server.pid, signal.SIGTERM)
            browser.sees(f"{SHOWN}.includes('does not answer')", "that nobody answers")
            self.assertEqual(violations(browser), [])
            keep(browser.whole_page(1280), "page-chromium-lost")

    def test_focus_stays_on_its_package_through_a_change(self):
        with page(Chromium) as (person, browser):
            browser.sees(f"{LISTED} === 10", "ten packages")
            browser.script("document.querySelectorAll('.all a')[3].focus(); window.before = document.activeElement;")
            href = browser.script("return document.activeElement.getAttribute('href')")
            person.run("vela-widget", "reload")
            browser.script("document.querySelector('[name=textSize]').value = 'xLarge';"
                           "document.querySelector('[name=textSize]').dispatchEvent(new Event('change', {bubbles: true}))")
            browser.sees("!document.contains(window.before)", "the page anew")
            self.assertEqual(browser.script("return document.activeElement.getAttribute('href')"), href)


if __name__ == "__main__":
    unittest.main()
