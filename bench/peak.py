#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0

"""Peak resident memory of drawing on the command line: the largest process, host or extension, as the system counts.

Ten packages with two photographs of 12 megapixels each, in every form (5 of WebP without loss); the sample packages;
and, from a sandbox's everyday scenario, names in Latin, Chinese, Korean, Arabic and others with small pictures over HTTP.

Usage: bench/peak.py [--bin build/release/bin] [--runs 5] [--family systemLarge]
"""

import argparse
import json
import os
import statistics
import subprocess
import tempfile

from demonstration import signed_in_sandbox


def peak(command, environment):
    process = subprocess.Popen(command, env=environment, stdout=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    assert status == 0, command
    return usage.ru_maxrss / 1024, (usage.ru_utime + usage.ru_stime) * 1000


def with_photographs(entry, name, photographs, work):
    """Every package of the entry, each with two copies of its own: no URL is read twice."""
    packages = []
    for index, package in enumerate(entry["packages"]):
        urls = {}
        for member in ("shopImage", "productImage"):
            copy = os.path.join(work, f"{index}-{member}-{name}")
            os.link(os.path.join(photographs, name), copy)
            urls[member] = "file://" + copy
        packages.append({**package, **urls})
    return {**entry, "packages": packages}


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--bin", default="build/release/bin")
    parser.add_argument("--runs", type=int, default=5)
    parser.add_argument("--family", default="systemLarge")
    options = parser.parse_args()
    folder = os.path.abspath(options.bin)

    with tempfile.TemporaryDirectory() as work:
        with signed_in_sandbox(folder, work) as (environment, _):
            entry = json.loads(subprocess.run([f"{folder}/vela-widget", "snapshot"], env=environment, check=True,
                                              capture_output=True).stdout)
            photographs = os.path.join(work, "photographs")
            subprocess.run([f"{folder}/vela-bench-photographs", photographs], check=True)
            entries = {"everyday": entry}
            for name in sorted(os.listdir(photographs)):
                entries[name] = with_photographs(entry, name, photographs, work)
            sources = {"placeholder": "placeholder"}
            for name, value in entries.items():
                sources[name] = os.path.join(work, name + ".json")
                with open(sources[name], "w") as file:
                    json.dump(value, file)
            print(f"{options.family}, median of {options.runs}    peak MiB   CPU ms")
            for name, source in sources.items():
                command = [f"{folder}/vela-widget", "render", "--family", options.family, "--entry", source,
                           "--output", os.path.join(work, "drawing.png")]
                figures = [peak(command, environment) for _ in range(options.runs)]
                memory, cpu = (statistics.median(column) for column in zip(*figures))
                print(f"{name:28}{memory:14.1f}{cpu:9.0f}")


main()
