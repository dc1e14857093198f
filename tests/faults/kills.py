# SPDX-License-Identifier: Apache-2.0

"""Ends our programs at any instant (SIGKILL), again and again in the life of one person, and looks each time whether
what she has stored is whole and still opens her account."""

import collections
import json
import os
import random
import signal
import threading
import time

import roads
from account import pair
from person import Fault, session_of, shows_token

# Calls at which a kill leaves most behind; the rest of the kills come at random instants.
CALLS = ("write", "flush", "rename", "remove", "lock", "send", "receive", "open", "memory")


class KillLoop:
    """Kinds of commands, each a method that gives what may be true afterwards."""

    def __init__(self, trials, name, seed):
        self.random = random.Random(seed)
        self.person, self.account = trials.new_person(roads.SIGNED_OUT, name)
        self.counts = {}
        self.tally = collections.Counter()
        self.found = []
        self.unsaved = 0
        self.colour = None
        self.sign_in()

    def sign_in(self, *options):
        """Undisturbed, with a pair that the server gives anew."""
        with self.account.lock:
            self.account.latest += 1
            self.account.is_expired = False
            latest = self.account.latest
        ended = self.person.run(["vela-companion", "sign-in", "--user-id", f"user-{latest}", *options],
                                json.dumps(pair(latest)).encode(), limit=60)
        if ended.status != 0:
            self.found.append(f"cannot sign in: {ended.errors}")

    def killed(self, name, arguments, programs, stdin=b""):
        """Runs a command and kills one of its programs on the way; which one."""
        program = self.random.choice(programs)
        if self.random.random() < 0.5:
            fault = self.at_some_call(name, program)
            self.person.run(arguments, stdin, fault, limit=30)
        else:
            self.at_some_instant(arguments, program, stdin)
        return program

    def at_some_call(self, name, program):
        known = self.counts.get((name, program), dict.fromkeys(CALLS, 40))
        call = self.random.choice([each for each in CALLS if known.get(each)] or ["memory"])
        return Fault(program, call, self.random.randint(1, max(1, known.get(call, 1))), "kill")

    def at_some_instant(self, arguments, program, stdin):
        process, _ = self.person.start(arguments, stdin)
        time.sleep(self.random.random() ** 2 * 0.25)
        for each in session_of(process.pid):
            try:
                with open(f"/proc/{each}/comm") as stream:
                    is_meant = program.startswith(stream.read().strip())
                if is_meant:
                    os.kill(each, signal.SIGKILL)
            except (OSError, ProcessLookupError):
                pass
        process.wait()
        self.person.end_session(process, 30)

    def learn(self, name, arguments, programs, stdin=b""):
        """How many calls a command makes, once."""
        for program in programs:
            if (name, program) not in self.counts:
                ended = self.person.run(arguments, stdin, Fault(program, "memory", 0, "0"), limit=60)
                self.counts[name, program] = ended.counts

    def user(self):
        return (self.person.default_values() or {}).get("userId")

    def complain(self, kind, program, text):
        self.found.append(f"kill {sum(self.tally.values())}, {kind}, {program} killed: {text}")

    def step(self):
        kind = self.random.choice(("renewal", "renewal", "sign_in_again", "sign_out", "migration", "defaults", "render"))
        self.tally[kind] += 1
        getattr(self, "kill_" + kind)(kind)

    WIDGET = (roads.HOST, roads.EXTENSION)

    def kill_renewal(self, kind):
        timeline = [roads.HOST, "timeline"]
        self.learn("timeline", timeline, self.WIDGET)
        self.account.is_expired = True
        before = self.account.latest
        program = self.killed("timeline", timeline, self.WIDGET)
        self.judge(kind, program, {before, self.account.latest} if program == roads.EXTENSION else {self.account.latest})

    def kill_migration(self, kind):
        self.sign_in("--legacy")
        self.kill_renewal(kind)

    def kill_sign_in_again(self, kind):
        def sign_in_as(index):
            return [roads.COMPANION, "sign-in", "--user-id", f"user-{index}"], json.dumps(pair(index)).encode()

        before = self.account.latest
        arguments, stdin = sign_in_as(before)
        self.learn("sign-in", arguments, (roads.COMPANION,), stdin)
        user_before = self.user()
        with self.account.lock:
            self.account.latest += 1
            self.account.is_expired = False
        arguments, stdin = sign_in_as(self.account.latest)
        program = self.killed("sign-in", arguments, (roads.COMPANION,), stdin)
        user, owner = self.user(), user_before if self.person.stored_pair() == before else f"user-{self.account.latest}"
        if user not in (None, owner):
            self.complain(kind, program, f"the pair of {owner} stands with the id of {user}")
        self.judge(kind, program, {before, self.account.latest})

    def kill_sign_out(self, kind):
        program = self.killed("sign-out", [roads.COMPANION, "sign-out"], (roads.COMPANION,))
        self.judge(kind, program, {None, self.account.latest})

    def kill_defaults(self, kind):
        value = f"colour-{self.random.randint(1, 10**9)}"
        program = self.killed("defaults", [roads.COMPANION, "defaults", "write", "colour", value], (roads.COMPANION,))
        values = self.person.default_values()
        if values is None or values.get("colour") not in (self.colour, value):
            self.complain(kind, program, f"the defaults are {values}")
        else:
            self.colour = values.get("colour")
        self.judge(kind, program, {self.account.latest})

    def kill_render(self, kind):
        output = self.person.output
        arguments = [roads.HOST, "render", "--entry", "placeholder", "--scale", "1", "--output", str(output)]
        program = self.killed("render", arguments, self.WIDGET)
        if output.exists() and not roads.is_whole_png(output.read_bytes()):
            self.complain(kind, program, "half a picture")
        for path in output.parent.iterdir():
            path.unlink()
        self.judge(kind, program, {self.account.latest})

    def judge(self, kind, program, allowed):
        """Whole, hers, and still good; then she is signed in for the next."""
        latest, stored = self.account.latest, self.person.stored_pair()
        if stored not in allowed:
            self.complain(kind, program, f"the keychain holds {stored}, not one of {allowed}")
        if self.person.default_values() is None:
            self.complain(kind, program, "the defaults are damaged")
        self.account.is_expired = False
        state, errors = self.look(kind, program)
        expected = "loggedIn" if stored == latest else "notLoggedIn"
        # A server may still answer one who has been killed meanwhile.
        if state != expected and stored in allowed and self.account.latest == latest:
            self.complain(kind, program, f"then {state}, expected {expected}: {errors[-200:]}")
        if stored != self.account.latest:
            # Between the server's answer and the store nobody can save her: the server takes the old token no more.
            self.unsaved += program == roads.EXTENSION
            self.sign_in()

    def look(self, kind, program):
        ended = self.person.run([roads.HOST, "timeline"], limit=60)
        if ended.status != 0:
            self.complain(kind, program, f"then exit {ended.status}: {ended.errors[-200:]}")
        if shows_token(ended.output, ended.errors):
            self.complain(kind, program, "a token in the output")
        return (roads.entry_of(roads.json_of(ended)) or {}).get("state"), ended.errors


def kill_again_and_again(trials, count, lanes, seed):
    """`count` kills in the lives of `lanes` people; what was wrong, and how often each command was killed."""
    loops = [KillLoop(trials, f"killed-{lane}", f"{seed}-{lane}") for lane in range(lanes)]

    def live(loop, steps):
        for _ in range(steps):
            loop.step()

    threads = [threading.Thread(target=live, args=(loop, -(-count // lanes))) for loop in loops]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    tally = sum((loop.tally for loop in loops), collections.Counter())
    return sum((loop.found for loop in loops), []), tally, sum(loop.unsaved for loop in loops)
