#!/usr/bin/env python3
"""Holds the sources to the plan of the house: includes run downward only, and libraries are seen in the cellar alone.

Prints every include that breaks the plan and a closing line; exits 1 when there is one.
"""

import pathlib
import re
import subprocess
import sys

ROOMS = ["host", "widget", "analytics", "server", "presentation", "VelaApi", "platform"]
# sandbox stands beside the house and uses the cellar alone; the programs' mains, its own among them, live in host.
MAY_USE = {room: set(ROOMS[index:]) for index, room in enumerate(ROOMS)}
MAY_USE["sandbox"] = {"sandbox", "platform"}
MAY_USE["host"].add("sandbox")

BETWEEN = set(ROOMS[1:-1])
LIBRARY_HEADERS_BETWEEN = {"boost/json/value.hpp", "boost/asio/awaitable.hpp", "cxxabi.h"}

INCLUDE = re.compile(r'^\s*#\s*include\s+(?:"([^"]+)"|<([^>]+)>)', re.MULTILINE)


def problems(path):
    room = path.parts[0]
    for own, library in INCLUDE.findall(path.read_text()):
        if own and own.split("/")[0] not in MAY_USE[room]:
            yield f'{path} includes "{own}": {room} may not use {own.split("/")[0]}'
        # A header of the standard library has no folder and no ending.
        if library and room in BETWEEN and re.search(r"[/.]", library) and library not in LIBRARY_HEADERS_BETWEEN:
            yield f"{path} includes <{library}>: only platform's own sources see libraries"


def main():
    listed = subprocess.run(["git", "ls-files", "*.cpp", "*.hpp"], check=True, capture_output=True, text=True)
    paths = [pathlib.Path(line) for line in listed.stdout.splitlines()]
    checked = [path for path in paths if path.parts[0] in MAY_USE]
    found = [problem for path in checked for problem in problems(path)]
    print(*found, sep="\n", end="\n" if found else "")
    print(f"{len(checked)} files, {len(found)} includes against the plan")
    return 1 if found or not checked else 0


if __name__ == "__main__":
    sys.exit(main())
