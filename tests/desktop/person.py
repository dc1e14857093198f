# SPDX-License-Identifier: Apache-2.0

"""A signed-in person with a sandbox, folders and programs of her own, and what goes on around her surfaces.

Everything that is started here is ended here, by its own process group; nothing of the machine's session is touched.
"""

import contextlib
import json
import os
import shutil
import signal
import subprocess
import sys
import tempfile
import time
from pathlib import Path

PROGRAMS = Path(os.environ.get("VELA_PROGRAMS", "build/release/bin")).absolute()
PICTURES = Path(os.environ.get("VELA_DESKTOP_PICTURES", "build/desktop")).absolute()
# Seconds. What a desktop takes at most to show something on a loaded machine.
PATIENCE = 30


def eventually(holds, what, patience=PATIENCE):
    """Gives the first truthy value of `holds()`; fails with `what` where there is none in time."""
    deadline = time.monotonic() + patience
    while True:
        value = holds()
        if value:
            return value
        if time.monotonic() > deadline:
            raise AssertionError(f"never seen within {patience} s: {what() if callable(what) else what}")
        time.sleep(0.05)


class Person:
    """A context: a sandbox, a data folder, a runtime folder, and a handler of links that notes them."""

    def __init__(self, scenario="everyday"):
        self.scenario = scenario
        self._exit = contextlib.ExitStack()
        self._sessions = set()

    def __enter__(self):
        try:
            self._make()
        except BaseException:
            self._exit.close()
            raise
        return self

    def __exit__(self, *failure):
        if failure[0]:
            for log in sorted(self.folder.glob("*.log")):
                print(f"--- {log.name}\n{log.read_text(errors='replace')[-4000:]}", file=sys.stderr)
        self._exit.close()

    def _make(self):
        self.folder = Path(tempfile.mkdtemp(prefix="vela-"))
        self._exit.callback(shutil.rmtree, self.folder, ignore_errors=True)
        self._exit.callback(self._end_strays)
        for name in ("data", "runtime", "config", "home", "handlers"):
            (self.folder / name).mkdir(mode=0o700)
        self.links = self.folder / "links"
        self._note_links()
        self.environment = {
            "PATH": f"{self.folder / 'handlers'}:{PROGRAMS}:/usr/bin:/bin:/usr/sbin:/sbin",
            "HOME": str(self.folder / "home"),
            "SHELL": "/bin/sh",
            "LANG": "C.UTF-8",
            "TZ": "UTC",
            "XDG_DATA_HOME": str(self.folder / "data"),
            "XDG_RUNTIME_DIR": str(self.folder / "runtime"),
            "XDG_CONFIG_HOME": str(self.folder / "config"),
        }
        self._start_sandbox()
        self._exit.callback(self.end_live_host)
        self.sign_in()

    def _note_links(self):
        """What opens links: nothing is opened, and each link becomes a line of a file."""
        handler = self.folder / "handlers" / "xdg-open"
        handler.write_text(f'#!/bin/sh\nprintf "%s\\n" "$1" >> "{self.links}"\n')
        handler.chmod(0o700)

    def _start_sandbox(self, port=0):
        self.ready = self.folder / "ready"
        self.sandbox = self.start(PROGRAMS / "vela-sandbox", "--scenario", self.scenario, "--ready-file", self.ready,
                                  "--port", port, "--stop-after", "300", "--stop-with-parent")
        address = eventually(lambda: self.ready.exists() and self.ready.read_text(), "the sandbox's address")
        self.environment["BASE_URL"] = address

    def change(self, scenario):
        """The server knows something else from now on."""
        port = self.environment["BASE_URL"].rsplit(":", 1)[1].strip("/")
        self.end(self.sandbox)
        self.scenario = scenario
        self._start_sandbox(port)

    def order_from(self, *shops):
        """An order in transit from each of these, and nothing else."""
        items = [{"__typename": "Order", "id": str(number), "createdAt": {"$now": "-6d"}, "displayStatus": "in_transit",
                  "deliveryStatus": "in_transit", "shop": {"name": name}} for number, name in enumerate(shops)]
        scenario = self.folder / "scenario.json"
        scenario.write_text(json.dumps({"description": "An order from each shop.", "items": items}))
        self.change(scenario)

    def start(self, *command, environment=None, **options):
        """Starts a program in a process group of its own, which ends with the person."""
        name = Path(str(command[0])).name
        log = open(self.folder / f"{name}.log", "ab")
        options.setdefault("stdout", log)
        process = subprocess.Popen([str(word) for word in command], env=environment or self.environment,
                                   stdin=options.pop("stdin", subprocess.DEVNULL), stderr=log,
                                   start_new_session=True, **options)
        log.close()
        self._exit.callback(self.end, process)
        self._sessions.add(process.pid)
        return process

    @staticmethod
    def end(process):
        for number in (signal.SIGTERM, signal.SIGKILL):
            with contextlib.suppress(ProcessLookupError):
                os.killpg(process.pid, number)
            with contextlib.suppress(subprocess.TimeoutExpired):
                process.wait(5)
                return

    def start_bus(self):
        """A session's bus of her own; what is started afterwards finds it."""
        path = self.folder / "bus"
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = f"unix:path={path}"
        self.start("dbus-daemon", "--session", "--nofork", "--nopidfile", f"--address=unix:path={path}")
        eventually(path.exists, "the bus's socket")

    def enter_desktop(self, name):
        """What a login makes of her surroundings. Of the system's services a shell has none, and goes on."""
        self.environment |= {
            "DBUS_SYSTEM_BUS_ADDRESS": f"unix:path={self.folder / 'bus'}",
            "XDG_DATA_DIRS": f"{PROGRAMS.parent / 'share'}:/usr/local/share:/usr/share",
            "XDG_CACHE_HOME": str(self.folder / "cache"),
            "XDG_CURRENT_DESKTOP": name,
        }

    def run(self, *command, text=None, status=0):
        """What the program prints; fails on another status."""
        done = subprocess.run([str(word) for word in command], env=self.environment, input=text, text=True,
                              capture_output=True, timeout=PATIENCE)
        if status is not None and done.returncode != status:
            raise AssertionError(f"{command} ended with {done.returncode}: {done.stderr}")
        return done.stdout

    def setup(self, host):
        """What the widget tells people to paste into that host's configuration."""
        return self.run(PROGRAMS / "vela-widget", "setup", host)

    def sign_in(self):
        credentials = self.run(PROGRAMS / "vela-sandbox", "--print-credentials")
        self.run(PROGRAMS / "vela-companion", "sign-in", text=credentials)

    def sign_out(self):
        self.run(PROGRAMS / "vela-companion", "sign-out")

    def requests(self):
        """What the account server was asked, the first first."""
        log = json.loads(self.run(PROGRAMS / "vela-sandbox", "events", "--ready-file", self.ready))
        return [request for request in log["requests"] if request.get("operation") == "TrackingWidget"]

    def opened_links(self):
        return self.links.read_text().splitlines() if self.links.exists() else []

    def run_live_host(self, *options):
        """Before any reader, which would start one without the options."""
        self.start("vela-widget", "run", *options)
        eventually((self.folder / "runtime" / "vela-widget" / "host.socket").exists, "the live host")

    def end_live_host(self):
        """One that a reader started lives on without it."""
        with contextlib.suppress(Exception):
            host = self.live_host()
            os.kill(host, signal.SIGTERM)
            eventually(lambda: not Path(f"/proc/{host}").exists(), "the end of the live host")

    def live_host(self):
        """Its process, found by the folder that it was started for."""
        for process in self.processes(b"run"):
            return process
        raise AssertionError("no live host runs")

    def bar_live_hosts(self):
        """The one that runs ends, and there is no place for another until the folder that is given is taken away."""
        place = self.folder / "runtime" / "vela-widget"
        host = self.live_host()
        os.rename(place, self.folder / f"before-{host}")
        place.write_text("No folder.")
        with contextlib.suppress(ProcessLookupError):
            os.kill(host, signal.SIGKILL)
        return place

    def processes(self, command):
        """The person's own of `vela-widget COMMAND`."""
        for process in self._processes():
            with contextlib.suppress(OSError):
                words = Path(f"/proc/{process}/cmdline").read_bytes().split(b"\0")
                if command in words[1:2] and words[0].endswith((b"vela-widget", b"exe")):
                    yield process

    def close_sign_in_window(self, click):
        """The one that a click on a signed-out widget opens. A click may come while the widget is laid out anew."""
        clicked = 0.0

        def found():
            nonlocal clicked
            if time.monotonic() - clicked > 5:
                clicked = time.monotonic()
                click()
            for process in Path("/proc").glob("[0-9]*"):
                with contextlib.suppress(OSError):
                    # It holds secrets and lets nobody read its surroundings.
                    name = (process / "cmdline").read_bytes().split(b"\0")[0]
                    if name.endswith(b"vela-companion-window") and os.getsid(int(process.name)) in self._sessions:
                        return int(process.name)
        os.kill(eventually(found, "the sign-in window"), signal.SIGKILL)

    def _processes(self):
        """All that run in her surroundings."""
        mark = f"XDG_RUNTIME_DIR={self.folder / 'runtime'}".encode()
        for process in Path("/proc").glob("[0-9]*"):
            with contextlib.suppress(OSError):
                if mark in (process / "environ").read_bytes().split(b"\0"):
                    yield int(process.name)

    def _end_strays(self):
        """What desktops start in groups of their own, and leave."""
        for process in self._processes():
            with contextlib.suppress(OSError):
                os.kill(process, signal.SIGKILL)
