#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0

"""Installs the service manager's units from a build folder into a prefix of its own, and has the service manager's
own tool verify them. Exits 77 where there is no such tool.
"""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

WORST_RATING = 2.5


def rating(service, environment):
    """The exposure as `systemd-analyze security` counts it: 0 is none, 10 all."""
    said = subprocess.run(
        ["systemd-analyze", "--user", "security", "--offline=yes", "--no-pager", service],
        check=False, capture_output=True, text=True, env=environment).stdout
    line = next(line for line in said.splitlines() if "Overall exposure level" in line)
    return float(line.split(": ")[1].split()[0])


def problems(build, prefix):
    subprocess.run(["cmake", "--install", build, "--component", "runtime", "--prefix", prefix],
                   check=True, stdout=subprocess.DEVNULL)
    program = prefix / "bin" / "vela-widget"
    units = prefix / "share" / "systemd" / "user"
    service, socket = units / "vela-widget.service", units / "vela-widget.socket"
    if f'ExecStart="{program}" run' not in service.read_text():
        yield f"{service} does not start {program}"
    environment = {**os.environ, "XDG_RUNTIME_DIR": str(prefix)}
    verified = subprocess.run(["systemd-analyze", "--user", "verify", service, socket],
                              check=False, capture_output=True, text=True, env=environment)
    if verified.returncode != 0 or "vela-widget" in verified.stderr:
        yield f"systemd-analyze verify: {verified.stderr}"
    if (found := rating(service, environment)) > WORST_RATING:
        yield f"the service is rated {found}, worse than {WORST_RATING}"


def main():
    if not shutil.which("systemd-analyze"):
        print("there is no systemd-analyze here")
        return 77
    with tempfile.TemporaryDirectory() as folder:
        found = list(problems(sys.argv[1], pathlib.Path(folder)))
    print(*found, sep="\n")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
