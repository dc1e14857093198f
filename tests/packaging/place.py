# SPDX-License-Identifier: Apache-2.0

"""Where the sources and the build are: TEST.py SOURCES BUILD. A test that needs what was not built is skipped."""

import os
import sys
import unittest
from pathlib import Path

SOURCES, BUILD = (Path(word).absolute() for word in sys.argv[1:3])
SKIPPED = 77


def require(path):
    if not path.exists():
        print(f"skipped: {path} was not built")
        sys.exit(SKIPPED)


def require_release():
    if "CMAKE_BUILD_TYPE:STRING=Release" not in (BUILD / "CMakeCache.txt").read_text():
        print("skipped: nobody installs what is built otherwise than for a release")
        sys.exit(SKIPPED)


def clean_environment(**more):
    kept = {name: os.environ[name] for name in ("PATH", "HOME", "TMPDIR", "CCACHE_DIR") if name in os.environ}
    return {**kept, "LC_ALL": "C.UTF-8", "TZ": "UTC", **{name: str(value) for name, value in more.items()}}


def main():
    unittest.main(argv=sys.argv[:1])
