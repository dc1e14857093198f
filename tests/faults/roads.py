# SPDX-License-Identifier: Apache-2.0

"""The commands whose every call is made to fail, and what must be true of each afterwards."""

import json
import re
import struct
import zlib
from dataclasses import dataclass, field

from account import pair
from person import CURRENT, LEGACY, TOKENS

HOST, EXTENSION, COMPANION = "vela-widget", "VelaWidgetExtension", "vela-companion"
# Each run has a person of its own, whom her server's address names.
PERSON = re.compile(rb"person-\d+")


@dataclass(frozen=True)
class Setting:
    """How a person stands before the command. `pair` is None for one who is signed out."""

    pair: int = 0
    is_legacy: bool = False
    is_expired: bool = False


SIGNED_OUT, SIGNED_IN = Setting(pair=None), Setting()
EXPIRED, OLD, OLD_AND_EXPIRED = Setting(is_expired=True), Setting(is_legacy=True), Setting(is_legacy=True, is_expired=True)


@dataclass
class Road:
    name: str
    arguments: list
    programs: tuple
    setting: Setting = SIGNED_OUT
    stdin: bytes = b""
    # (run, baseline, program) to what is wrong with the output of a command that says that it succeeded.
    output: callable = lambda run, baseline, program: []
    # Pairs that may be stored after a failure, and after a success; None is none.
    pairs_after_failure: tuple = (None,)
    pairs_after_success: tuple = (None,)
    user_after_success: str = None
    # The program whose every allocation is made to fail, also where a few of each kind do elsewhere: it is short.
    starved: str = None


def json_of(run):
    try:
        return json.loads(run.output)
    except ValueError:
        return None


def equal_output(run, baseline, program):
    return [] if PERSON.sub(b"", run.output) == PERSON.sub(b"", baseline.output) else ["another output than without the fault"]


def entry_of(value):
    return value["entries"][0] if value and "entries" in value else value


def entry_output(run, baseline, program):
    """An entry or a timeline. A fetch that fails is a signed-out entry, as ever; a host that fails changes no entry."""
    entry, expected = entry_of(json_of(run)), entry_of(json_of(baseline))
    if not isinstance(entry, dict) or "date" not in entry:
        return ["no whole entry"]
    shown = {key: entry[key] for key in entry if key != "date"}
    if shown == {key: expected[key] for key in expected if key != "date"}:
        return []
    if program == EXTENSION and shown == {"state": "notLoggedIn"}:
        return []
    return ["an entry of another content"]


def shown_output(run, baseline, program):
    if run.output == baseline.output or (program == EXTENSION and b"Sign in to Vela" in run.output):
        return []
    return ["another output than without the fault"]


def tree_output(run, baseline, program):
    """A drawing whose fonts or memory fail may look otherwise; it is whole all the same."""
    tree = json_of(run)
    if run.output == baseline.output or (program == EXTENSION and tree and tree["items"]):
        return []
    return ["another drawing than without the fault"]


def is_whole_png(data):
    if not data.startswith(b"\x89PNG\r\n\x1a\n"):
        return False
    at = 8
    while at + 12 <= len(data):
        length, kind = struct.unpack(">I4s", data[at:at + 8])
        end = at + 12 + length
        if end > len(data) or zlib.crc32(data[at + 4:end - 4]) != struct.unpack(">I", data[end - 4:end])[0]:
            return False
        if kind == b"IEND":
            return end == len(data)
        at = end
    return False


def drawing_output(person):
    """A picture is there and whole; whether it is the same one is the baseline's to say."""
    if not person.output.exists():
        return ["no picture"]
    data = person.output.read_bytes()
    return [] if is_whole_png(data) else ["half a picture"]


def widget_roads():
    both = (HOST, EXTENSION)
    # A query that fails for any reason is followed by a renewal.
    signed_in = dict(pairs_after_failure=(0, 1), pairs_after_success=(0, 1), user_after_success="user-0")
    return [
        Road("placeholder", [HOST, "placeholder"], both, output=entry_output, starved=EXTENSION),
        Road("declaration", [HOST, "declaration"], both, output=equal_output),
        Road("snapshot", [HOST, "snapshot"], both, SIGNED_IN, output=entry_output, **signed_in),
        Road("timeline", [HOST, "timeline"], both, SIGNED_IN, output=entry_output, **signed_in),
        Road("timeline, renewal", [HOST, "timeline"], both, EXPIRED, output=entry_output, **signed_in),
        Road("timeline, migration", [HOST, "timeline"], both, OLD, output=entry_output, **signed_in),
        Road("timeline, both", [HOST, "timeline"], both, OLD_AND_EXPIRED, output=entry_output, **signed_in),
        Road("show", [HOST, "show"], both, SIGNED_IN, output=shown_output, **signed_in),
        Road("render", [HOST, "render", "--entry", "placeholder", "--scale", "1", "--output", "OUTPUT"], both),
        Road("render tree", [HOST, "render", "--entry", "placeholder", "--format", "tree", "--output", "-"], both,
             output=tree_output),
    ]


def companion_roads():
    signs_in = dict(stdin=json.dumps(pair(5)).encode(), pairs_after_success=(5,), user_after_success="user-5")
    signed_in = dict(setting=SIGNED_IN, pairs_after_failure=(0,), pairs_after_success=(0,))
    only = (COMPANION,)
    return [
        Road("sign-in", [COMPANION, "sign-in", "--user-id", "user-5"], only, pairs_after_failure=(None, 5),
             **signs_in),
        Road("sign-in again", [COMPANION, "sign-in", "--user-id", "user-5"], only, SIGNED_IN,
             pairs_after_failure=(0, 5), **signs_in),
        Road("sign-in over old", [COMPANION, "sign-in", "--user-id", "user-5"], only, OLD,
             pairs_after_failure=(0, 5), **signs_in),
        Road("sign-out", [COMPANION, "sign-out"], only, SIGNED_IN, pairs_after_failure=(0, None)),
        Road("status", [COMPANION, "status"], only, output=equal_output, user_after_success="user-0", **signed_in),
        Road("defaults write", [COMPANION, "defaults", "write", "colour", "blue"], only,
             user_after_success="user-0", **signed_in),
        Road("defaults read", [COMPANION, "defaults", "read", "userId"], only, output=equal_output,
             user_after_success="user-0", **signed_in),
        Road("defaults delete", [COMPANION, "defaults", "delete", "userId"], only, **signed_in),
    ]


def all_roads():
    return widget_roads() + companion_roads()


# What each kind of call can say, by errno's names.
EFFECTS = {
    "memory": ("ENOMEM",),
    "open": ("EMFILE", "EACCES"),
    "read": ("EIO", "EINTR", "short"),
    "write": ("ENOSPC", "EINTR", "short"),
    "receive": ("ECONNRESET", "EINTR", "short"),
    "send": ("ENOBUFS", "EINTR", "short"),
    "connect": ("ECONNREFUSED", "ENETUNREACH"),
    "flush": ("EIO",),
    "rename": ("EIO",),
    "map": ("ENOMEM",),
    "thread": ("EAGAIN",),
    "epoll": ("ENOMEM",),
    "poll": ("EINTR",),
    "socket": ("EMFILE",),
    "spawn": ("EAGAIN",),
    "lock": ("ENOLCK",),
    "remove": ("EACCES",),
    "folder": ("ENOSPC",),
}
