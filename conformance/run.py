#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0

"""Compares the programs with an independent reading of the rules, over their command line and over HTTP.

    conformance/run.py --programs build/release/bin --count 2000

Random replies come from a seed that is printed; --seed N --first I --count 1 plays one of them again.
"""

import argparse
import json
import random
import sys
import tempfile
import threading
import time
from concurrent.futures import ThreadPoolExecutor
from datetime import datetime, timezone
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parent))

import cases
import days
import reading
import wire
import zones
from program import Person, complaints_about_timeline
from server import Answer, Case, Server, json_answer


class Report:
    def __init__(self, limit):
        self.passed = self.failed = 0
        self.limit = limit
        self.lock = threading.Lock()

    def __call__(self, name, complaints):
        with self.lock:
            self.passed += not complaints
            self.failed += bool(complaints)
            if complaints and self.failed <= self.limit:
                print(f"FAILED {name}")
                for complaint in complaints:
                    print(f"    {complaint}")


def encoded(reply, chooser):
    text = json.dumps(reply, ensure_ascii=chooser.random() < 0.5, indent=chooser.choice([None, None, 1]))
    return text.encode()


def play_random(index, seed, server, people, report):
    zone_name = list(people)[index % len(people)]
    zone = zones.MachineZone(zone_name)
    chooser = random.Random(f"{seed}/{index}")
    replies = wire.RandomReplies(f"{seed}/{index}/data", zone, datetime.now(timezone.utc))
    data = replies.data()
    if chooser.random() < 0.25:
        data = replies.broken(data)
    reply = {"data": data}
    if chooser.random() < 0.1:
        reply["errors"] = [{"message": chooser.choice(["Oh", "Not Unauthorized", "unauthorized"])}]
    status = chooser.choices([200, 500, 403], [18, 1, 1])[0]

    name = f"random-{index}"
    body = Answer(encoded(reply, chooser), status)
    refused = json_answer(cases.refreshed(None, "invalid_refresh_token"))
    case = server.cases[name] = Case(cases.script(body, refused))
    run = people[zone_name].timeline(server, name)
    # A midnight may fall into the run: what counts as today then is either day.
    expected = [
        reading.outcome_of(status, reply, reading.Clock(zone, moment)) for moment in (run.started, run.ended)
    ]
    complaints = complaints_about_timeline(run, expected)
    signed_out = expected[0][0] == "notLoggedIn"
    checks = [lambda r: cases.expect_query(r, cases.bearer("a1")), lambda r: cases.expect_refresh(r, "r1")]
    if len(case.requests) != 1 + signed_out:
        complaints.append(f"{len(case.requests)} requests, expected {1 + signed_out}")
    for check, received in zip(checks, case.requests):
        complaints += check(received)
    report(f"{name} ({zone_name})", complaints)
    del server.cases[name]


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--programs", default="build/release/bin", help="folder of vela-widget and vela-companion")
    parser.add_argument("--count", type=int, default=400, help="random replies")
    parser.add_argument("--first", type=int, default=0, help="index of the first random reply")
    parser.add_argument("--seed", type=int, default=None)
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("--limit", type=int, default=20, help="failures that are printed in full")
    arguments = parser.parse_args()
    seed = arguments.seed if arguments.seed is not None else int(time.time())
    programs = Path(arguments.programs).resolve()
    print(f"seed {seed}, {arguments.count} random replies")

    report = Report(arguments.limit)
    server = Server()
    with tempfile.TemporaryDirectory(prefix="vela-conformance-") as folder:
        try:
            bench = cases.Bench(server, report)
            for group in [*cases.ALL, days.play] if arguments.first == 0 else []:
                group(bench, lambda name, zone="UTC": Person(programs, Path(folder) / name, zone))
            people = {}
            for number, zone in enumerate(zones.values(datetime.now(timezone.utc))):
                people[zone] = Person(programs, Path(folder) / f"zone-{number}", zone)
                people[zone].sign_in("a1", "r1")
            with ThreadPoolExecutor(arguments.jobs) as pool:
                indices = range(arguments.first, arguments.first + arguments.count)
                list(pool.map(lambda index: play_random(index, seed, server, people, report), indices))
        finally:
            server.stop()
    print(f"{report.passed} passed, {report.failed} failed")
    return 1 if report.failed else 0


if __name__ == "__main__":
    sys.exit(main())
