#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0

"""Holds the documents to the tree: what a page links to, and each file and folder of ours that it names in back quotes
or in an example, is there.

Checked are relative links, their headings included; paths that begin with a folder of ours; and back-quoted names of
sources. A path may leave out its ending (`server/Keychain`) and may hold `*` or one `{this,that}`. Prints what is not
there and a closing line; exits 1 when there is something.
"""

import fnmatch
import pathlib
import re
import subprocess
import sys

FENCE = re.compile(r"^ *```.*?^ *```", re.MULTILINE | re.DOTALL)
LINK = re.compile(r'!?\[[^\]]*\]\(([^)\s]+)\)|src="([^"]+)"')
QUOTED = re.compile(r"`[^`\n]+`")
PATH = re.compile(r"(?<![\w/.$\"-])[\w.-]+/[\w./{},*-]*")
SOURCE = re.compile(r"`(\w[\w.-]*\.(?:cpp|hpp|py|cmake))`")
# As in `NNNN-*.md`.
PLACEHOLDER = re.compile(r"N{4}")
HEADING = re.compile(r"^#+ +(.*)$", re.MULTILINE)


def tracked():
    listed = subprocess.run(
        ["git", "ls-files", "--cached", "--others", "--exclude-standard"], check=True, capture_output=True, text=True)
    files = {line for line in listed.stdout.splitlines() if pathlib.Path(line).exists()}
    folders = {str(parent) for file in files for parent in pathlib.PurePath(file).parents} - {"."}
    return files | folders


def alternatives(path):
    """`a/{b,c}` as `a/b` and `a/c`."""
    braces = re.search(r"\{([^}]*)\}", path)
    if not braces:
        return [path]
    return [path[: braces.start()] + choice + path[braces.end() :] for choice in braces[1].split(",")]


def is_there(path, tree):
    path = path.rstrip("/.,")
    if "*" in path:
        return any(fnmatch.fnmatch(entry, path) for entry in tree)
    return path in tree or any(entry.startswith(f"{path}.") for entry in tree)


def anchor(heading):
    """As a heading is linked to: its words in small letters, joined by hyphens."""
    words = re.sub(r"\[([^\]]*)\]\([^)]*\)", r"\1", heading).lower()
    return re.sub(r"[^\w\- ]", "", words).strip().replace(" ", "-")


def broken_links(page, text, tree):
    for own, picture in LINK.findall(text):
        target, _, fragment = (own or picture).partition("#")
        if ":" in target:
            continue
        path = (page.parent / target).resolve() if target else page.resolve()
        try:
            name = str(path.relative_to(pathlib.Path.cwd()))
        except ValueError:
            yield target, "leads out of the tree"
            continue
        if name not in tree:
            yield target, "is not there"
        elif fragment and path.suffix == ".md":
            if fragment not in map(anchor, HEADING.findall(FENCE.sub("", path.read_text()))):
                yield f"{target}#{fragment}", "has no such heading"


def broken_names(text, tree):
    roots = {entry.split("/")[0] for entry in tree if "/" in entry}
    for code in [*FENCE.findall(text), *QUOTED.findall(FENCE.sub("", text))]:
        for name in PATH.findall(code):
            if name.split("/")[0] not in roots or PLACEHOLDER.search(name):
                continue
            for path in alternatives(name):
                if not is_there(path, tree):
                    yield path, "is not there"
    names = {pathlib.PurePath(entry).name for entry in tree}
    for source in SOURCE.findall(text):
        if source not in names:
            yield source, "is not there"


def main():
    tree = tracked()
    pages = sorted(pathlib.Path(entry) for entry in tree if entry.endswith(".md"))
    found = 0
    for page in pages:
        text = page.read_text()
        for name, problem in [*broken_links(page, FENCE.sub("", text), tree), *broken_names(text, tree)]:
            print(f"{page}: {name} {problem}")
            found += 1
    print(f"{len(pages)} pages, {found} names of what is not there")
    return 1 if found or not pages else 0


if __name__ == "__main__":
    sys.exit(main())
