# SPDX-License-Identifier: Apache-2.0

"""The page of a person's own in a real browser, and what every browser has to do with it."""

import contextlib
from pathlib import Path

from browsers import ENTER, SHIFT, TAB
from person import Person, eventually

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
    """The address of the page that is served from now on."""
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
    test.assertEqual(first, "Fathom & Co.: arriving today, between 2 and 4 PM; 80 percent of the way")
    browser.press((SHIFT, TAB), ENTER)
    test.assertEqual(len(browser.script("return window.opened")), 1)
