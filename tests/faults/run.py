#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0

"""Makes every call fail that our programs ask of the system, one in a run, and looks whether what must hold still does.

    tests/faults/run.py --programs build/release/bin --library build/release/tests/vela-faults.so

Each command is run once to count its calls, then once for each call and each way in which that call can fail. Without
--all (or VELA_LONG_TESTS=1) a few of each are taken. After every run:

- no program of ours has crashed or hung, and nothing of it goes on;
- it has exited 0 with the right output, or 1 with a line on standard error;
- the keychain holds a whole pair that the server gave, the defaults are whole, a picture is whole or absent;
- no token is in any output, and no temporary file is left.

Then programs are killed at any instant of renewals, sign-ins, sign-outs, migrations, writes of defaults and drawings,
and the person must still be signed in, or her store hold a whole pair.

Prints a table, and every run in which something did not hold, with what it takes to see it again. Exits 1 if there
is one.
"""

import argparse
import errno
import os
import random
import shutil
import sys
import tempfile
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

import kills
import roads
from account import Accounts, pair
from person import Counters, Fault, Person, shows_token

# Seconds. A command that is made to wait (a lock, a server) ends in its own time; none of these is.
LIMIT = 10
SLOW = 8
BY_THE_CLOCK = ("hang", "took ", "something went on")


def limit_of(fault):
    """The library under the extension's loop does not look whether it is watched what it is told to watch. Its host
    then gives it up after 150 s."""
    return 160 if is_unwatched(fault) else LIMIT


def is_unwatched(fault):
    return fault.call == "epoll" and fault.program == roads.EXTENSION


def may_lose_the_pair(fault):
    """A renewed pair that does not arrive, or for which there is no memory as it does, is lost: the server takes the old
    token no more, and nobody gives a pair a second time."""
    return fault.call in ("receive", "memory") and fault.program == roads.EXTENSION


def effect_text(effect):
    return effect if effect in ("short", "kill") else str(getattr(errno, effect))


class Trials:
    def __init__(self, programs, library, folder):
        self.programs, self.library, self.folder = Path(programs).resolve(), Path(library).resolve(), Path(folder)
        self.bundle = self.programs.parent / "share/vela-widget"
        self.accounts = Accounts()
        self.count = 0
        self.templates = {}

    def new_person(self, setting, name=None):
        self.count += 1
        name = name or f"person-{self.count}"
        account = self.accounts.open(name)
        account.is_expired = setting.is_expired
        person = Person(self.programs, self.library, self.folder / name, f"{self.accounts.url}/{name}")
        person.make_bundle(self.bundle)
        person.output.parent.mkdir()
        return person, account

    def template(self, setting):
        """The folder of a person who stands so; made once."""
        key = repr(setting)
        if key not in self.templates:
            person, _ = self.new_person(setting)
            if setting.pair is not None:
                legacy = ["--legacy"] if setting.is_legacy else []
                ended = person.run(["vela-companion", "sign-in", "--user-id", "user-0", *legacy],
                                   stdin=roads.json.dumps(pair(setting.pair)).encode())
                if ended.status != 0:
                    raise RuntimeError(f"cannot sign in: {ended.errors}")
            self.templates[key] = person.folder
        return self.templates[key]

    def trial(self, road, fault, baseline=None):
        """Runs a road with a fault; what is wrong afterwards, and what was counted."""
        person, account = self.new_person(road.setting)
        person.copy_of(self.template(road.setting))
        arguments = [str(person.output) if each == "OUTPUT" else each for each in road.arguments]
        ended = person.run(arguments, road.stdin, fault, limit_of(fault))
        wrong = list(problems(road, person, account, ended, baseline, fault)) if baseline else []
        picture = person.output.read_bytes() if person.output.exists() else b""
        self.accounts.close(person.folder.name)
        shutil.rmtree(person.folder)
        return ended, wrong, picture


def problems(road, person, account, ended, baseline, fault):
    if ended.status is None:
        yield "hang"
        return
    if ended.status < 0:
        yield f"crash (signal {-ended.status})"
    elif ended.status == 0:
        yield from roads_output(road, person, ended, baseline, fault)
    elif ended.status == 1:
        if f"{road.arguments[0]}: " not in ended.errors:
            yield "exit 1 without a word"
        if person.output.exists() and not roads.is_whole_png(person.output.read_bytes()):
            yield "half a picture"
    else:
        yield f"exit {ended.status}"
    if ended.seconds > SLOW and not is_unwatched(fault):
        yield f"took {ended.seconds:.0f} s"
    if ended.lingered > 1:
        yield f"something went on for {ended.lingered:.0f} s"
    if shows_token(ended.output, ended.errors):
        yield "a token in the output"
    yield from state_problems(road, person, account, ended, fault)
    if person.leftovers():
        yield f"left behind: {person.leftovers()}"


def roads_output(road, person, ended, baseline, fault):
    yield from road.output(ended, baseline, fault.program)
    if "OUTPUT" in road.arguments:
        yield from roads.drawing_output(person)


def state_problems(road, person, account, ended, fault):
    stored = person.stored_pair()
    allowed = road.pairs_after_success if ended.status == 0 else road.pairs_after_failure
    if stored not in allowed:
        yield f"the keychain holds {'pair ' if isinstance(stored, int) else ''}{stored}"
    elif account.latest > 0 and stored != account.latest and not may_lose_the_pair(fault):
        yield "the renewed pair is lost"
    values = person.default_values()
    if values is None:
        yield "damaged defaults"
    elif ended.status == 0 and values.get("userId") != road.user_after_success:
        yield f"the user id is {values.get('userId')}"


def chosen(count, most, seed):
    """Up to `most` of 1 to count: the first and the last, if there are several, and others by chance."""
    ends = [1, count] if 2 < most < count else []
    others = [number for number in range(1, count + 1) if number not in ends]
    return sorted(ends + random.Random(seed).sample(others, min(most - len(ends), len(others))))


def faults_of(road, program, trials, options):
    """The faults that are worth a run on a road, and how it goes without one."""
    baseline, _, picture = trials.trial(road, Fault(program, "memory", 0, "0"))
    if baseline.status != 0:
        raise RuntimeError(f"{road.name} fails without a fault: {baseline.errors}")
    faults = []
    for call in options.calls:
        if not options.all and is_unwatched(Fault(program, call, 0, "0")):
            continue
        most = 10**9 if call == "memory" and program == road.starved else options.most
        for number in chosen(baseline.counts[call], most, f"{road.name} {program} {call}"):
            faults += [Fault(program, call, number, effect_text(effect)) for effect in roads.EFFECTS[call]]
    return baseline, picture, faults


def table_row(road, program, call, outcomes):
    mine = [each for each in outcomes if each[0].call == call]
    statuses = [ended.status for _, ended, _, _ in mine]
    hits = sum(ended.was_injected for _, ended, _, _ in mine)
    differs = sum(1 for *_, differs in mine if differs)
    found = sum(1 for _, _, wrong, _ in mine if wrong)
    return (f"{road.name:20} {program:20} {call:8} {len(mine):6} {hits:6} {statuses.count(0):6} "
            f"{statuses.count(1):6} {differs:6} {found:6}")


def run_road(road, program, trials, options, pool):
    baseline, picture, faults = faults_of(road, program, trials, options)

    def attempt(fault):
        ended, wrong, drawn = trials.trial(road, fault, baseline)
        for _ in range(3):
            if not wrong or not all(each.startswith(BY_THE_CLOCK) for each in wrong):
                break
            # Other work may have held it up; what waits for ever does so again.
            ended, wrong, drawn = trials.trial(road, fault, baseline)
        return fault, ended, wrong, ended.status == 0 and drawn != picture

    outcomes = list(pool.map(attempt, faults))
    for call in options.calls:
        if any(fault.call == call for fault, *_ in outcomes):
            print(table_row(road, program, call, outcomes), flush=True)
    found = []
    for fault, ended, wrong, _ in outcomes:
        for each in wrong:
            found.append(f"{road.name}: {fault.text()}: {each}: {ended.errors.strip()[-200:]}")
    print(*found, sep="\n", end="\n" if found else "", flush=True)
    return len(outcomes), len(found)


def arguments():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--programs", required=True, help="the folder of our programs")
    parser.add_argument("--library", required=True, help="vela-faults.so")
    parser.add_argument("--all", action="store_true", default=os.environ.get("VELA_LONG_TESTS") == "1",
                        help="every call, not a few of each kind")
    parser.add_argument("--most", type=int, help="how many calls of a kind, in each command and program")
    parser.add_argument("--roads", nargs="*", help="these commands alone")
    parser.add_argument("--program", help="faults in this program alone")
    parser.add_argument("--calls", nargs="*", default=list(Counters.CALLS), help="these kinds of calls alone")
    parser.add_argument("--kills", type=int, help="how many programs are killed, at any instant")
    parser.add_argument("--seed", default="1", help="another seed kills at other instants")
    parser.add_argument("--jobs", type=int, default=2)
    options = parser.parse_args()
    options.most = options.most or (10**9 if options.all else 1)
    if options.kills is None:
        options.kills = 2000 if options.all else 20
    return options


def run_kills(trials, options):
    found, tally, unsaved = kills.kill_again_and_again(trials, options.kills, options.jobs, options.seed)
    print(*found, sep="\n", end="\n" if found else "")
    print(f"{sum(tally.values())} kills: " + ", ".join(f"{count} {kind}" for kind, count in sorted(tally.items())) +
          f"; {unsaved} between the server's answer and the store")
    return len(found)


def main():
    options = arguments()
    shared = "/dev/shm" if os.access("/dev/shm", os.W_OK) else None
    print(f"{'command':20} {'program':20} {'call':8} {'faults':>6} {'hit':>6} {'exit 0':>6} {'exit 1':>6} "
          f"{'differ':>6} {'wrong':>6}")
    total, found = 0, 0
    with tempfile.TemporaryDirectory(prefix="vela-faults-", dir=shared) as folder, \
            ThreadPoolExecutor(options.jobs) as pool:
        trials = Trials(options.programs, options.library, folder)
        for road in roads.all_roads():
            if options.roads and road.name not in options.roads:
                continue
            for program in road.programs:
                if options.program in (None, program):
                    count, wrong = run_road(road, program, trials, options, pool)
                    total += count
                    found += wrong
        if options.kills:
            found += run_kills(trials, options)
        trials.accounts.stop()
    print(f"{total} faults, {found} things wrong")
    return 1 if found or not total + options.kills else 0


if __name__ == "__main__":
    sys.exit(main())
