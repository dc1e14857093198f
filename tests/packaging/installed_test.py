#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0

"""The installed tree: it can be moved, it says nothing of where it was built, desktops and software centres accept it, and
others can build a surface of their own upon it that talks to the live host."""

import os
import re
import shutil
import signal
import struct
import subprocess
import tempfile
import time
import unittest
from pathlib import Path

from place import BUILD, SOURCES, clean_environment, main, require, require_release

HOSTING = SOURCES / "tests/packaging/hosting"


def run(*command, **options):
    words = [str(word) for word in command]
    done = subprocess.run(words, capture_output=True, text=True, env=options.pop("env", clean_environment()), **options)
    if done.returncode != 0:
        raise AssertionError(f"{words} ended with {done.returncode}: {done.stdout}{done.stderr}")
    return done.stdout


class Prefix(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = Path(tempfile.mkdtemp(prefix="vela-installed-"))
        cls.addClassCleanup(shutil.rmtree, cls.folder)
        first = cls.folder / "first"
        run("cmake", "--install", BUILD, "--prefix", first)
        # Nothing may depend on where it stood.
        cls.prefix = cls.folder / "moved"
        first.rename(cls.prefix)


class Installed(Prefix):
    def files(self):
        return [path for path in sorted(self.prefix.rglob("*")) if path.is_file()]

    def elves(self):
        return [path for path in self.files() if path.read_bytes()[:4] == b"\x7fELF"]

    def test_no_file_names_a_folder_of_the_build(self):
        for path in self.files():
            content = path.read_bytes()
            for folder in (SOURCES, BUILD):
                self.assertFalse(str(folder).encode() + b"/" in content, f"{path} names {folder}")

    def test_no_program_looks_for_libraries_in_a_folder_of_its_own(self):
        self.assertGreater(len(self.elves()), 4)
        for path in self.elves():
            self.assertNotRegex(run("readelf", "-d", path), r"R(UN)?PATH", path.name)

    def test_programs_are_hardened(self):
        for path in self.elves():
            self.assertIn("GNU_RELRO", run("readelf", "-lW", path), path.name)
            self.assertRegex(run("readelf", "-d", path), r"BIND_NOW|FLAGS_1.*NOW", path.name)
            self.assertIn("Type:                              DYN", run("readelf", "-h", path), path.name)

    def test_desktop_files_and_software_centre_data_are_valid(self):
        data = self.prefix / "share"
        for path in data.glob("applications/*.desktop"):
            if shutil.which("desktop-file-validate"):
                self.assertEqual(run("desktop-file-validate", path), "", path.name)
        metainfo = list(data.glob("metainfo/*.xml"))
        self.assertTrue(metainfo)
        for path in metainfo:
            if shutil.which("appstreamcli"):
                run("appstreamcli", "validate", "--no-net", path)
            text = path.read_text()
            for program in re.findall("<binary>(.*)</binary>", text):
                self.assertTrue((self.prefix / "bin" / program).exists(), program)
            for name in re.findall('<launchable type="desktop-id">(.*)</launchable>', text):
                self.assertTrue((data / "applications" / name).exists(), name)

    def test_menus_find_programs_whatever_the_path(self):
        first = str(self.prefix.with_name("first"))
        entries = list((self.prefix / "share/applications").glob("*.desktop"))
        self.assertTrue(entries)
        for entry in entries:
            for key, program in re.findall(r'^(TryExec|Exec)="?([^"\s]*)', entry.read_text(), re.MULTILINE):
                self.assertTrue(program.startswith(f"{first}/bin/"), f"{key} of {entry.name}")
                self.assertTrue((self.prefix / "bin" / Path(program).name).exists(), f"{key} of {entry.name}")

    def test_a_prefix_may_have_a_name_that_others_would_read(self):
        prefix = self.folder / "100% of `a` $HOME"
        run("cmake", "--install", BUILD, "--prefix", prefix)
        for entry in (prefix / "share/applications").glob("*.desktop"):
            if shutil.which("desktop-file-validate"):
                self.assertEqual(run("desktop-file-validate", entry), "", entry.name)
        if shutil.which("systemd-analyze"):
            runtime = self.folder / "runtime"
            runtime.mkdir(mode=0o700)
            unit = next(prefix.rglob("vela-widget.service"))
            run("systemd-analyze", "verify", "--user", unit, env=clean_environment(XDG_RUNTIME_DIR=runtime))

    def test_icons_have_the_size_of_their_folder(self):
        icons = sorted((self.prefix / "share/icons/hicolor").glob("*x*/apps/*.png"))
        self.assertGreater(len(icons), 8)
        for icon in icons:
            size = int(icon.parent.parent.name.partition("x")[0])
            self.assertEqual(struct.unpack(">II", icon.read_bytes()[16:24]), (size, size), icon)

    def test_headers_stand_alone(self):
        folder = self.prefix / "include/vela-widget"
        headers = [path.relative_to(folder) for path in sorted(folder.rglob("*.hpp"))]
        self.assertGreater(len(headers), 10)
        for header in headers:
            for own in re.findall(r'#include "([^"]+)"', (folder / header).read_text()):
                self.assertTrue((folder / own).exists(), f"{header} includes {own}")


def printed(language):
    """The block in that language on the page for those who host."""
    text = (SOURCES / "docs/hosting.md").read_text(encoding="utf-8")
    return re.search(f"```{language}\n(.*?)\n```", text, re.DOTALL)[1] + "\n"


class Surface:
    """A person who is signed in at a sandbox, with nothing but the installed tree."""

    def __init__(self, prefix, folder):
        self.programs = prefix / "bin"
        self.folder = Path(tempfile.mkdtemp(dir=folder))
        (self.folder / "run").mkdir(mode=0o700)
        self.environment = clean_environment(XDG_DATA_HOME=self.folder / "data", XDG_RUNTIME_DIR=self.folder / "run")

    def __enter__(self):
        ready = self.folder / "ready"
        self.sandbox = subprocess.Popen([self.programs / "vela-sandbox", "--ready-file", ready, "--stop-after", "600",
                                         "--stop-with-parent"], stdout=subprocess.DEVNULL, env=self.environment)
        end = time.monotonic() + 60
        while not ready.exists() and time.monotonic() < end:
            time.sleep(0.05)
        self.environment["BASE_URL"] = ready.read_text()
        credentials = run(self.programs / "vela-sandbox", "--print-credentials", env=self.environment)
        run(self.programs / "vela-companion", "sign-in", input=credentials, env=self.environment)
        return self

    def __exit__(self, *failure):
        lock = self.folder / "run/vela-widget/host.lock"
        if lock.exists():
            os.kill(int(lock.read_text()), signal.SIGTERM)
            end = time.monotonic() + 10
            while lock.exists() and time.monotonic() < end:
                time.sleep(0.05)
        self.sandbox.terminate()
        self.sandbox.wait()


class Hosting(Prefix):
    """Those who show the widget on a surface of their own."""

    def shows_the_shop(self, program):
        with Surface(self.prefix, self.folder) as surface:
            self.assertEqual(run(program, env=surface.environment).splitlines(), ["Fathom & Co.", "a picture"])

    def test_by_cmake(self):
        build = self.folder / "by-cmake"
        run("cmake", "-S", HOSTING, "-B", build, f"-DCMAKE_PREFIX_PATH={self.prefix}", "-DCMAKE_CXX_FLAGS=-O0")
        run("cmake", "--build", build)
        self.shows_the_shop(build / "hosting")

    def test_where_the_widget_is_not(self):
        alone = self.folder / "alone"
        run("cmake", "--install", BUILD, "--prefix", alone, "--component", "development")
        run("cmake", "-S", HOSTING, "-B", self.folder / "by-cmake-alone", f"-DCMAKE_PREFIX_PATH={alone}")
        environment = clean_environment(PKG_CONFIG_PATH=alone / "lib/pkgconfig")
        program = run("pkg-config", "--variable=program", "vela-widget", env=environment).strip()
        # As it is written, and not by way of a folder that only those have who build.
        self.assertEqual(program, str(alone / "bin/vela-widget"))

    def test_by_pkg_config_as_the_page_prints_it(self):
        folder = self.folder / "by-pkg-config"
        folder.mkdir()
        shutil.copy(HOSTING / "hosting.cpp", folder / "surface.cpp")
        environment = clean_environment(PKG_CONFIG_PATH=self.prefix / "lib/pkgconfig")
        # Who moves a tree says where the program is.
        command = printed("sh").replace("$(pkg-config --variable=program vela-widget)", str(self.prefix / "bin/vela-widget"))
        self.assertIn(f'"{self.prefix}', command)
        run("sh", "-c", f"{command.strip()} -o surface", cwd=folder, env=environment)
        self.shows_the_shop(folder / "surface")

    def test_the_page_prints_what_is_built(self):
        built = (HOSTING / "CMakeLists.txt").read_text() + (HOSTING / "hosting.cpp").read_text()
        for line in (printed("cmake") + printed("cpp")).splitlines():
            self.assertIn(line.partition(" //")[0].replace("(surface ", "(hosting ").strip(), built)


require_release()
require(BUILD / "bin/vela-widget")
require(BUILD / "lib/libvela-widget.a")
if __name__ == "__main__":
    main()
