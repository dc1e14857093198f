# SPDX-License-Identifier: Apache-2.0

"""A person whose programs are made to fail: her folder, her account, what her store holds afterwards."""

import json
import os
import shutil
import signal
import sqlite3
import subprocess
import time
from dataclasses import dataclass
from pathlib import Path

from account import MARK, pair

SUITE = "group.com.tervane.pontal.shared"
CURRENT, LEGACY = "com.brightfen.pontal_ck", "com.brightfen.pontal_ak"
TOKENS = ("accessToken", "refreshToken")
# How long anything of a person's may go on once her command has ended: a renewal in flight has ten seconds.
LINGER = 11


@dataclass
class Fault:
    """`number` counts the calls of one kind in one program, from 1; 0 counts only."""

    program: str
    call: str
    number: int
    effect: str

    def text(self):
        return f"{self.program}:{self.call}:{self.number}:{self.effect}"


@dataclass
class Ended:
    status: int  # minus the signal that ended it; None when it had to be stopped
    output: bytes
    errors: str
    seconds: float
    counts: dict
    was_injected: bool
    lingered: float  # seconds for which something of it went on


class Counters:
    """What the injected library has counted, in a file that outlives the program."""

    CALLS = ("memory", "open", "read", "write", "receive", "send", "connect", "flush", "rename", "map", "thread", "epoll",
             "poll", "socket", "spawn", "lock", "remove", "folder")

    def __init__(self, path):
        self.path = path
        path.write_bytes(bytes(8 * (len(self.CALLS) + 1)))

    def read(self):
        """The calls made of each kind, and whether one of them was made to fail."""
        data = self.path.read_bytes()
        numbers = [int.from_bytes(data[at:at + 8], "little") for at in range(0, len(data), 8)]
        return dict(zip(self.CALLS, numbers)), numbers[-1] > 0


def session_of(leader):
    """The processes of a session that are alive."""
    alive = []
    for entry in os.listdir("/proc"):
        if not entry.isdigit():
            continue
        try:
            fields = Path(f"/proc/{entry}/stat").read_text().rsplit(") ", 1)[1].split()
        except (OSError, IndexError):
            continue
        if int(fields[3]) == leader and fields[0] != "Z":
            alive.append(int(entry))
    return alive


class Person:
    def __init__(self, programs, library, folder, url):
        self.programs, self.library, self.folder, self.url = Path(programs), library, Path(folder), url
        self.folder.mkdir(parents=True, exist_ok=True)

    @property
    def keychain(self):
        return self.folder / "data/vela/keychain.sqlite"

    @property
    def defaults(self):
        return self.folder / "data" / SUITE / "preferences.json"

    @property
    def output(self):
        return self.folder / "output/widget"

    def environment(self):
        kept = {key: os.environ[key] for key in ("PATH", "LD_LIBRARY_PATH") if key in os.environ}
        bundle = self.folder / "bundle"
        return kept | {
            "HOME": str(self.folder), "XDG_DATA_HOME": str(self.folder / "data"), "TZ": "UTC", "LC_ALL": "C.UTF-8",
            "BASE_URL": self.url, "VELA_BUNDLE": str(bundle),
        }

    def make_bundle(self, original):
        """The bundle of the build, with the event collector on loopback."""
        bundle = self.folder / "bundle"
        bundle.mkdir()
        for resource in Path(original).iterdir():
            if resource.is_file() and resource.name != "Info.json":
                (bundle / resource.name).symlink_to(resource.resolve())
        (bundle / "Info.json").write_text(json.dumps({"EVENT_COLLECTOR_URL": f"{self.url}/v1/produce"}))

    def start(self, arguments, stdin=b"", fault=None):
        environment = self.environment()
        counters = Counters(self.folder / "counters")
        if fault:
            environment |= {"LD_PRELOAD": str(self.library), "VELA_FAULT": fault.text(),
                            "VELA_FAULT_COUNTERS": str(counters.path)}
        source = self.folder / "stdin"
        source.write_bytes(stdin)
        with open(source, "rb") as standard_input, open(self.folder / "stdout", "wb") as output, \
                open(self.folder / "stderr", "wb") as errors:
            process = subprocess.Popen([self.programs / arguments[0], *arguments[1:]], stdin=standard_input,
                                    stdout=output, stderr=errors, env=environment, start_new_session=True)
        return process, counters

    def run(self, arguments, stdin=b"", fault=None, limit=20):
        started = time.monotonic()
        process, counters = self.start(arguments, stdin, fault)
        try:
            status = process.wait(limit)
        except subprocess.TimeoutExpired:
            status = None
        seconds = time.monotonic() - started
        lingered = self.end_session(process, LINGER if status is not None else 0)
        counts, was_injected = counters.read()
        return Ended(status, (self.folder / "stdout").read_bytes(),
                     (self.folder / "stderr").read_bytes().decode(errors="replace"), seconds, counts, was_injected,
                     lingered)

    def end_session(self, process, patience):
        """Waits for what a command left running, then ends it."""
        started = time.monotonic()
        while alive := session_of(process.pid):
            if time.monotonic() - started > patience:
                for each in alive:
                    os.kill(each, signal.SIGKILL)
                process.wait()
                return time.monotonic() - started
            time.sleep(0.005)
        return time.monotonic() - started

    def stored(self):
        """Texts by (service, key) as the keychain has them; None when it cannot be read."""
        if not self.keychain.exists():
            return {}
        try:
            with sqlite3.connect(self.keychain) as database:
                tables = database.execute("SELECT name FROM sqlite_schema WHERE name = 'items'").fetchall()
                rows = database.execute("SELECT service, account, data FROM items").fetchall() if tables else []
            return {(service, account): bytes(data).decode() for service, account, data in rows}
        except (sqlite3.Error, UnicodeDecodeError):
            return None

    def stored_pair(self):
        """The index of the pair that she is signed in with, None for none, "torn" for halves of two, or "damaged".
        A token is where it should be, or still where older versions kept it."""
        items = self.stored()
        if items is None:
            return "damaged"
        held = [items.get((CURRENT, key)) or items.get((LEGACY, key)) for key in TOKENS]
        if held == [None, None]:
            return None
        index = (held[0] or "").removeprefix(f"{MARK}access-")
        return int(index) if index.isdigit() and held == [pair(int(index))[key] for key in TOKENS] else "torn"

    def default_values(self):
        """The shared defaults; None when the file is not whole."""
        try:
            return json.loads(self.defaults.read_text()) if self.defaults.exists() else {}
        except ValueError:
            return None

    def leftovers(self):
        """Temporary files of ours. A rollback journal is not one: the next reader of the keychain uses it."""
        return [str(path.relative_to(self.folder)) for path in self.folder.rglob("*")
                if path.name.endswith((".tmp", ".new"))]

    def copy_of(self, template):
        data = Path(template) / "data"
        if data.exists():
            shutil.copytree(data, self.folder / "data")


def shows_token(*texts):
    return any(MARK in (text if isinstance(text, str) else text.decode(errors="replace")) for text in texts)
