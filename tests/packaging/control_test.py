#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0

"""What the Debian packages say they need is what the sources need: libraries that are opened by name, programs that are
started, data that is read, and what the build takes."""

import json
import re
import subprocess
import unittest

from place import SOURCES, main

CONTROL = SOURCES / "packaging/debian/control"
# Where Debian 12 has what our sources ask for by name.
PACKAGE_OF_LIBRARY = {"libsystemd.so.0": "libsystemd0", "libsecret-1.so.0": "libsecret-1-0"}
PACKAGE_OF_PROGRAM = {"xdg-open": "xdg-utils"}
# Needed by nothing of what is packaged: tests, and what Debian's own build brings.
NOT_FOR_PACKAGES = {"libgmock-dev", "libgtest-dev", "ccache", "g++", "ca-certificates"}


def fields_of(paragraph):
    fields = {}
    for line in paragraph.splitlines():
        if line.startswith((" ", "\t")):
            fields[name] += " " + line.strip()
        else:
            name, _, value = line.partition(":")
            fields[name] = value.strip()
    return fields


def names_in(relations):
    return {re.split(r"[ (|:]", relation.strip())[0] for relation in relations.split(",") if relation.strip()}


def paragraphs():
    return [fields_of(text) for text in CONTROL.read_text(encoding="utf-8").strip().split("\n\n")]


def package(name):
    return next(fields for fields in paragraphs() if fields.get("Package") == name)


def needed_by(name):
    fields = package(name)
    return names_in(fields.get("Depends", "")) | names_in(fields.get("Recommends", ""))


def listed(kind):
    return set((SOURCES / f"packaging/debian-packages-{kind}.txt").read_text().split())


def sources():
    found = subprocess.run(["git", "ls-files", "platform", "host", "server", "analytics", "drawing", "widget"], cwd=SOURCES,
                           check=True, capture_output=True, text=True).stdout.split()
    return [SOURCES / name for name in found if name.endswith((".cpp", ".hpp")) and (SOURCES / name).exists()]


class Control(unittest.TestCase):
    def test_libraries_that_are_opened_by_name_are_depended_on(self):
        opened = set()
        for path in sources():
            opened |= set(re.findall(r'dlopen\(\s*"([^"]+)"', path.read_text(encoding="utf-8")))
        self.assertEqual(opened, set(PACKAGE_OF_LIBRARY), "another library is opened: say which package has it")
        for library in opened:
            self.assertIn(PACKAGE_OF_LIBRARY[library], needed_by("vela-widget"), library)

    def test_those_packages_do_hold_the_libraries(self):
        for library, name in PACKAGE_OF_LIBRARY.items():
            done = subprocess.run(["dpkg-query", "-L", name], capture_output=True, text=True)
            if done.returncode != 0:
                self.skipTest(f"{name} is not installed")
            self.assertIn(f"/{library}\n", done.stdout, name)

    def test_programs_that_are_started_are_depended_on(self):
        text = "".join(path.read_text(encoding="utf-8") for path in sources())
        for program, name in PACKAGE_OF_PROGRAM.items():
            self.assertIn(f'"{program}"', text, "nobody starts it any more")
            self.assertIn(name, needed_by("vela-widget"), program)

    def test_what_is_read_at_run_time_is_depended_on(self):
        self.assertLessEqual(listed("run"), needed_by("vela-widget"))
        self.assertIn("ca-certificates", needed_by("vela-widget"))

    def test_a_package_is_built_of_what_the_build_takes(self):
        wanted = listed("build") - NOT_FOR_PACKAGES
        self.assertLessEqual(wanted, names_in(paragraphs()[0]["Build-Depends"]))

    def test_what_a_package_is_built_of_is_installed_before(self):
        prepared = listed("build") | listed("package")
        # What every package's build takes for granted comes with nothing else that is installed here.
        wanted = (names_in(paragraphs()[0]["Build-Depends"]) - {"debhelper-compat"}) | {"debhelper", "build-essential"}
        self.assertLessEqual(wanted, prepared)

    def test_what_the_library_is_linked_with_comes_with_its_package(self):
        self.assertLessEqual({"libboost1.81-dev", "libicu-dev"}, needed_by("libvela-widget-dev"))

    def test_every_surface_needs_the_widget(self):
        for fields in paragraphs()[1:]:
            if fields["Package"].startswith(("vela-widget-", "vela-sandbox")):
                self.assertIn("vela-widget", names_in(fields["Depends"]), fields["Package"])

    def test_every_place_says_the_same_version(self):
        version = re.search(r"VERSION (\d+\.\d+\.\d+)", (SOURCES / "CMakeLists.txt").read_text())[1]
        changelog = (SOURCES / "packaging/debian/changelog").read_text()
        self.assertTrue(changelog.startswith(f"vela-widget ({version}) "))
        self.assertEqual(json.loads((SOURCES / "surfaces/plasma/metadata.json").read_text())["KPlugin"]["Version"], version)
        for path in (SOURCES / "packaging/desktop").glob("*.metainfo.xml"):
            self.assertEqual(re.search(r'<release version="([^"]+)"', path.read_text())[1], version, path.name)

    def test_a_desktop_that_is_needed_is_one_that_takes_it(self):
        versions = [int(each) for each in
                    json.loads((SOURCES / "surfaces/gnome-shell/metadata.json").read_text())["shell-version"]]
        needed = package("vela-widget-gnome")["Depends"]
        self.assertIn(f"gnome-shell (>= {min(versions)}), gnome-shell (<< {max(versions) + 1}~)", needed)


if __name__ == "__main__":
    main()
