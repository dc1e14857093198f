#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0

"""Holds the sources to the plan of the house: includes run downward only, each process keeps to its own room, and
libraries are seen in the cellar alone.

Prints every include that breaks the plan and a closing line; exits 1 when there is one.
"""

import pathlib
import re
import subprocess
import sys

# A room may use itself and what stands beside its name. The chain, from the cellar up: each room may use all below it.
CHAIN = ["platform", "VelaApi", "presentation", "server", "analytics", "widget"]
MAY_USE = {room: set(CHAIN[: index + 1]) for index, room in enumerate(CHAIN)}
# Beside the chain, under the widget alone.
MAY_USE["drawing"] = {"drawing", "platform"}
MAY_USE["widget"].add("drawing")
# The programs. Host and extension share the protocol and nothing else; a host sees no store, no server and no drawing.
MAY_USE["host/protocol"] = {"host/protocol", "widget", "presentation", "platform"}
MAY_USE["host/reader"] = {"host/reader", *MAY_USE["host/protocol"]}
MAY_USE["host/widget"] = {"host/widget", *MAY_USE["host/reader"]}
MAY_USE["host/window"] = {"host/window", *MAY_USE["host/reader"]}
MAY_USE["host/page"] = {"host/page", *MAY_USE["host/reader"]}
MAY_USE["host/extension"] = {"host/extension", *MAY_USE["host/protocol"]}
# It removes what a live host that was killed has left of whoever signs out.
MAY_USE["host/companion"] = {"host/companion", "host/protocol", "server", "presentation", "platform"}
MAY_USE["host/sign-in-window"] = {"host/sign-in-window", "platform"}
# Of the drawing room the sandbox needs what writes pictures, and no more.
MAY_USE["sandbox"] = {"sandbox", "platform", "drawing/Writers"}

# Within a room: a reader finds the live host by its socket, and the host knows no surface.
KEPT_APART = [("host/widget/Readers/", "host/widget/Live/")]

BETWEEN = set(CHAIN[1:])
LIBRARY_HEADERS_BETWEEN = {"boost/json/value.hpp", "boost/asio/awaitable.hpp", "cxxabi.h"}

INCLUDE = re.compile(r'^\s*#\s*include\s+(?:"([^"]+)"|<([^>]+)>)', re.MULTILINE)


def room_of(path):
    """The room that a file stands in; its folder where it stands in none."""
    parts = pathlib.PurePath(path).parts
    for depth in (2, 1):
        room = "/".join(parts[:depth])
        if room in MAY_USE:
            return room
    return parts[0]


def is_allowed(room, included):
    return any(included.startswith(f"{usable}/") for usable in MAY_USE[room])


def problems(path):
    room = room_of(path)
    for own, library in INCLUDE.findall(path.read_text()):
        if own and not is_allowed(room, own):
            yield f'{path} includes "{own}": {room} may not use {room_of(own)}'
        for one, other in KEPT_APART:
            if path.as_posix().startswith(one) and own.startswith(other):
                yield f'{path} includes "{own}": a reader asks the live host over its socket'
        # A header of the standard library has no folder and no ending.
        if library and room in BETWEEN and re.search(r"[/.]", library) and library not in LIBRARY_HEADERS_BETWEEN:
            yield f"{path} includes <{library}>: only platform's own sources see libraries"


def main():
    listed = subprocess.run(["git", "ls-files", "*.cpp", "*.hpp"], check=True, capture_output=True, text=True)
    paths = [pathlib.Path(line) for line in listed.stdout.splitlines()]
    checked = [path for path in paths if room_of(path) in MAY_USE]
    found = [problem for path in checked for problem in problems(path)]
    homeless = [str(path) for path in paths if path.parts[0] == "host" and room_of(path) == "host"]
    found += [f"{path} stands in no room" for path in homeless]
    print(*found, sep="\n", end="\n" if found else "")
    print(f"{len(checked)} files, {len(found)} includes against the plan")
    return 1 if found or not checked else 0


if __name__ == "__main__":
    sys.exit(main())
