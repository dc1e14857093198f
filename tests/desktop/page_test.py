#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0

"""The page in real browsers: whole at every width, current by itself, empty after a sign-out or without its server, for
the keyboard alone, and without a violation of what axe-core knows."""

import contextlib
import json
import os
import re
import signal
import time
import unittest
from pathlib import Path

from browsers import ENTER, SHIFT, TAB, Chromium, Firefox
from displays import keep
from person import PICTURES, Person, eventually

AXE = Path(__file__).parent / "page/node_modules/axe-core/axe.min.js"
WIDTHS = (320, 768, 1280, 2560)
LISTED = "document.querySelectorAll('.all a').length"
SHOWN = "document.body.innerText"


@contextlib.contextmanager
def page(browser, scenario="everyday", query="", signed_in=True, **options):
    """A person's browser that shows her page."""
    with Person(scenario=scenario) as person:
        if not signed_in:
            person.sign_out()
        person.address = served(person)
        opened = browser(person, **options)
        try:
            opened.open(person.address + query)
            yield person, opened
        finally:
            opened.close()


def served(person):
    output = person.folder / "address"
    with open(output, "wb") as file:
        person.server = person.start("vela-widget", "serve", stdout=file)
    return eventually(lambda: output.read_text().endswith("\n") and output.read_text().strip(), "the page's address")


def violations(browser):
    """What axe-core finds, a line each."""
    browser.script(AXE.read_text() + "; window.axe = axe;")
    found = browser.script_when_done("""
        const done = arguments[arguments.length - 1];
        axe.run(document, {resultTypes: ['violations']}).then(
            result => done(result.violations.map(each => each.id + ': ' + each.nodes.map(node => node.html).join(' | '))),
            error => done(['failed: ' + error]));""")
    return [line[:600] for line in found]


class PageInChromium(unittest.TestCase):
    def test_is_whole_at_every_width_and_breaks_no_rule(self):
        with page(Chromium) as (_, browser):
            browser.sees(f"{LISTED} === 10", "ten packages")
            for scheme in ("light", "dark"):
                browser.prefer({"prefers-color-scheme": scheme})
                self.assertEqual(violations(browser), [])
                for width in WIDTHS:
                    keep(browser.whole_page(width), f"page-chromium-{width}-{scheme}")
                    self.assertEqual(browser.script("return document.documentElement.scrollWidth"), width)

    def test_breaks_no_rule_signed_out_nor_without_packages_nor_before_anything_is_known(self):
        with page(Chromium, signed_in=False) as (_, browser):
            browser.sees("document.querySelector('.systemLarge svg title')", "the prompt")
            self.assertEqual(browser.script(f"return {LISTED}"), 0)
            self.assertEqual(violations(browser), [])
            keep(browser.whole_page(1280), "page-chromium-signed-out")
        with page(Chromium, scenario="empty") as (_, browser):
            browser.sees("document.querySelector('desc')?.textContent.includes('no new orders')", "the prompt")
            self.assertEqual(violations(browser), [])
        with Person() as person:
            person.end(person.sandbox)
            address = served(person)
            browser = Chromium(person)
            browser.open(address)
            browser.sees("document.getElementById('remark').textContent.includes('cannot be reached')", "the trouble")
            self.assertEqual(violations(browser), [])
            keep(browser.whole_page(1280), "page-chromium-placeholder")
            browser.close()

    def test_is_readable_with_more_contrast_and_with_forced_colours(self):
        for name, value in (("prefers-contrast", "more"), ("forced-colors", "active")):
            with page(Chromium, prefers={name: value}) as (_, browser):
                browser.sees("document.querySelector('[fill=\"#4C5159\"]')", "the drawings of more contrast")
                keep(browser.whole_page(1280), f"page-chromium-{name}")
                self.assertEqual(violations(browser), [])

    def test_a_sign_out_and_a_sign_in_are_seen_without_loading_again(self):
        with page(Chromium) as (person, browser):
            browser.sees(f"{LISTED} === 10", "ten packages")
            browser.script("window.isTheSame = true")
            signed_out = time.monotonic()
            person.sign_out()
            browser.sees(f"!{SHOWN}.includes('Fathom')", "an empty page", 5)
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

    def test_everything_comes_from_the_page_itself_and_it_can_be_installed(self):
        with page(Chromium) as (_, browser):
            browser.sees(f"{LISTED} === 10", "ten packages")
            loaded = browser.script("return performance.getEntriesByType('resource').map(each => each.name)")
            origin = browser.script("return origin")
            self.assertTrue(any(name.endswith(".otf") for name in loaded), loaded)
            self.assertEqual([name for name in loaded if not name.startswith(origin)], [])
            self.assertEqual(browser.script("return [...document.fonts].filter(f => f.status === 'error').length"), 0)
            self.assertEqual(browser.tool("Page.getInstallabilityErrors")["installabilityErrors"], [])
            ids = browser.script("return [...document.querySelectorAll('[id]')].map(each => each.id)")
            self.assertEqual(len(ids), len(set(ids)))

    def test_shows_its_packages_without_scripts(self):
        with page(Chromium) as (person, browser):
            browser.sees(f"{LISTED} === 10", "ten packages")
            browser.tool("Emulation.setScriptExecutionDisabled", value=True)
            browser.prefer({"prefers-color-scheme": "dark"})
            browser.open(person.address + "?textSize=xxLarge")
            keep(browser.whole_page(1280, 1400), "page-chromium-without-scripts")
            tree = browser.tool("DOM.getDocument", depth=-1)
            self.assertEqual(json.dumps(tree).count('"velaapp://order/5501"'), 9)

    def test_prints_the_packages_and_not_the_controls(self):
        with page(Chromium) as (person, browser):
            browser.sees(f"{LISTED} === 10", "ten packages")
            browser.prefer({"prefers-color-scheme": "dark"})
            file = person.folder / "page.pdf"
            file.write_bytes(browser.printed())
            text = person.run("pdftotext", file, "-")
            self.assertIn("Fathom & Co.", text)
            self.assertIn("Between 2 and 4 PM", text)
            self.assertNotIn("Ask now", text)
            self.assertNotIn("Lock screen", text)
            person.run("pdftoppm", "-png", "-r", "60", file, PICTURES / "page-print")


class PageInFirefox(unittest.TestCase):
    def test_is_whole_at_every_width_and_breaks_no_rule(self):
        with page(Firefox) as (_, browser):
            browser.sees(f"{LISTED} === 10", "ten packages")
            self.assertEqual(violations(browser), [])
            for width in WIDTHS[1:]:
                keep(browser.whole_page(width), f"page-firefox-{width}")
                self.assertEqual(browser.script("return document.documentElement.scrollWidth"), width)

    def test_is_whole_on_the_narrowest(self):
        with page(Firefox, zoom=2, prefers={"prefers-color-scheme": "dark"}) as (_, browser):
            browser.sees(f"{LISTED} === 10", "ten packages")
            browser.resize(320, 800)
            self.assertEqual(browser.script("return innerWidth"), 320)
            self.assertTrue(browser.script("return document.documentElement.scrollWidth <= innerWidth"))
            keep(browser.picture(), "page-firefox-320-dark")

    def test_the_keyboard_reaches_everything_and_opens_a_package(self):
        with page(Firefox) as (_, browser):
            walk(self, browser)

    def test_a_sign_out_is_seen_without_loading_again(self):
        with page(Firefox) as (person, browser):
            browser.sees(f"{LISTED} === 10", "ten packages")
            person.sign_out()
            browser.sees(f"!{SHOWN}.includes('Fathom')", "an empty page", 5)


class Keyboard(unittest.TestCase):
    def test_reaches_everything_and_opens_a_package(self):
        with page(Chromium) as (_, browser):
            walk(self, browser)


def walk(test, browser):
    """From the top to the last package by the tabulator, and back by one."""
    browser.sees(f"{LISTED} === 10", "ten packages")
    browser.script("""
        window.opened = [];
        addEventListener('click', event => {
            const link = event.target.closest('a');
            if (link && !link.classList.contains('skip')) { opened.push(link.getAttribute('href')); event.preventDefault(); }
        }, true);
        document.body.tabIndex = -1; document.body.focus(); document.body.removeAttribute('tabindex');""")
    stops = []
    for _ in range(40):
        browser.press(TAB)
        stops.append(browser.script("""
            const at = document.activeElement, box = at.getBoundingClientRect();
            return [at.getAttribute('aria-label') || at.querySelector('.spoken')?.textContent || at.textContent || at.name, at.tagName,
                    at.closest('[data-part]') ? at.closest('[data-part]').dataset.part : '',
                    box.width > 0 && box.height > 0, at.matches(':focus-visible')];"""))
        if stops[-1][2] == "all" and sum(stop[2] == "all" for stop in stops) == 10:
            break
    parts = [stop[2] for stop in stops]
    test.assertEqual(parts.count("all"), 10, stops)
    test.assertEqual([parts.count(f"system{size} light") for size in ("Small", "Medium", "Large")], [1, 1, 3])
    test.assertEqual([parts.count(name) for name in ("accessoryInline", "accessoryRectangular")], [1, 1])
    test.assertEqual(stops[0][0], "Skip to your packages")
    test.assertTrue(all(stop[0] and stop[3] and stop[4] for stop in stops), stops)
    first = stops[parts.index("all")][0]
    test.assertTrue(re.fullmatch(r"Fathom & Co\.: arriving today, between 2 and 4 PM; 80 percent of the way", first), first)
    browser.press((SHIFT, TAB), ENTER)
    test.assertEqual(len(browser.script("return window.opened")), 1)


if __name__ == "__main__":
    unittest.main()
