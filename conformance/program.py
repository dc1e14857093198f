# SPDX-License-Identifier: Apache-2.0

"""Runs the programs as a person would, each with its own data folder, zone and bundle."""

import json
import os
import re
import subprocess
import tempfile
from dataclasses import dataclass
from datetime import datetime, timedelta, timezone
from pathlib import Path


@dataclass
class Run:
    status: int
    output: str
    errors: str
    started: datetime
    ended: datetime

    @property
    def keychain_lines(self):
        return [line for line in self.errors.splitlines() if line.startswith("Failed to ")]


SANITIZER_REPORTS = ("Sanitizer: ", "runtime error: ")


class Person:
    """A data folder, and the programs that work on it."""

    def __init__(self, programs, home, zone="UTC"):
        self.programs = Path(programs)
        self.home = Path(home)
        self.zone = zone
        self.home.mkdir(parents=True, exist_ok=True)

    def environment(self, **more):
        kept = {key: os.environ[key] for key in ("PATH", "LD_LIBRARY_PATH", "ASAN_OPTIONS") if key in os.environ}
        return kept | {
            "HOME": str(self.home),
            "XDG_DATA_HOME": str(self.home / "data"),
            "TZ": self.zone,
            "LC_ALL": "C",
        } | more

    def run(self, program, *arguments, stdin="", **environment):
        started = datetime.now(timezone.utc)
        ended = subprocess.run(
            [self.programs / program, *arguments],
            input=stdin, text=True, capture_output=True, timeout=120, env=self.environment(**environment),
        )
        if any(mark in ended.stderr for mark in SANITIZER_REPORTS):
            raise RuntimeError(f"{program} {arguments}: {ended.stderr}")
        return Run(ended.returncode, ended.stdout, ended.stderr, started, datetime.now(timezone.utc))

    def companion(self, *arguments, stdin=""):
        run = self.run("vela-companion", *arguments, stdin=stdin)
        if run.status != 0:
            raise RuntimeError(f"vela-companion {arguments}: {run.errors}")
        return run

    def sign_in(self, access, refresh, *options):
        return self.companion("sign-in", *options, stdin=json.dumps({"accessToken": access, "refreshToken": refresh}))

    def timeline(self, server, name, family="systemMedium"):
        bundle = self.home / f"bundle-{name}"
        bundle.mkdir(exist_ok=True)
        info = {"EVENT_COLLECTOR_URL": f"{server.url}/{name}/v1/produce"}
        (bundle / "Info.json").write_text(json.dumps(info))
        return self.run(
            "vela-widget", "timeline", "--family", family,
            BASE_URL=f"{server.url}/{name}", VELA_BUNDLE=str(bundle),
        )


TIMESTAMP = re.compile(r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z$")


def instant(text):
    if not TIMESTAMP.match(text):
        raise ValueError(f"not a timestamp: {text}")
    return datetime.strptime(text, "%Y-%m-%dT%H:%M:%S.%f%z")


def parsed_with_sorted_keys(text):
    """Raises ValueError for keys out of order."""

    def check(pairs):
        keys = [key.encode() for key, _ in pairs]
        if keys != sorted(keys):
            raise ValueError(f"keys out of order: {keys}")
        return dict(pairs)

    return json.loads(text, object_pairs_hook=check)


def complaints_about_timeline(run, expected):
    """What is wrong with a timeline's output; `expected` are the outcomes that may have been: (state, packages)."""
    if run.status != 0:
        return [f"exit status {run.status}: {run.errors}"]
    try:
        timeline = parsed_with_sorted_keys(run.output)
        complaints = []
        if set(timeline) != {"entries", "policy"} or set(timeline["policy"]) != {"after"}:
            complaints.append(f"members of the timeline: {timeline.keys()}, {timeline['policy'].keys()}")
        if len(timeline["entries"]) != 1:
            return complaints + [f"{len(timeline['entries'])} entries"]
        entry = timeline["entries"][0]
        outcome = entry["state"], entry.get("packages")
        allowed_members = {"date", "state"} | ({"packages"} if entry["state"] == "loggedIn" else set())
        if set(entry) != allowed_members:
            complaints.append(f"members of the entry: {entry.keys()}")
        if outcome not in expected:
            complaints.append(difference(outcome, expected[0]))
        date = instant(entry["date"])
        began = instant(timeline["policy"]["after"]) - timedelta(hours=1)
        slack = timedelta(milliseconds=1)
        if not run.started - slack <= began <= date + slack <= run.ended + 2 * slack:
            complaints.append(f"started {run.started}, reload hour from {began}, entry {date}, ended {run.ended}")
        return complaints
    except (ValueError, KeyError, TypeError) as error:
        return [f"{type(error).__name__}: {error}: {run.output[:500]}"]


def difference(got, wanted):
    if got[0] != wanted[0]:
        return f"state {got[0]}, expected {wanted[0]}"
    if len(got[1] or []) != len(wanted[1] or []):
        return f"{len(got[1] or [])} packages, expected {len(wanted[1] or [])}"
    for index, (one, other) in enumerate(zip(got[1] or [], wanted[1] or [])):
        for key in other:
            if one.get(key) != other[key]:
                return f"package {index}: {key} is {one.get(key)!r}, expected {other[key]!r}"
        if one.keys() != other.keys():
            return f"package {index}: members {sorted(one)}"
    return f"{got} is not {wanted}"
