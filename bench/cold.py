#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0

"""Whole processes, side by side in one run, against a sandbox on loopback.

Each contender does what a person could use instead to see parcels: fetch the reply and print something of it. They
take turns (A B C A B C ...), so that a machine whose speed drifts is fair to all. Figures are the system's own
accounting of finished processes (their children included): CPU is user + system time, memory the largest process.

Usage: bench/cold.py [--bin build/release/bin] [--runs 20]
"""

import argparse
import json
import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

from demonstration import signed_in_sandbox


def measured(command, environment, text):
    start = time.monotonic()
    process = subprocess.Popen(command, env=environment, stdin=subprocess.PIPE, stdout=subprocess.DEVNULL,
                               stderr=subprocess.DEVNULL)
    process.stdin.write(text)
    process.stdin.close()
    _, status, usage = os.wait4(process.pid, 0)
    if status != 0:
        sys.exit(f"{command[0]} ended with {status}")
    return {
        "wall ms": (time.monotonic() - start) * 1000,
        "CPU ms": (usage.ru_utime + usage.ru_stime) * 1000,
        "peak MiB": usage.ru_maxrss / 1024,
    }


PYTHON_CLIENT = """
import json, os, sys, urllib.request
body = sys.stdin.buffer.read()
request = urllib.request.Request(os.environ["BASE_URL"] + "/graphql", body, {
    "Content-type": "application/json", "Accept": "application/json",
    "authorization": "Bearer " + os.environ["TOKEN"]})
reply = json.load(urllib.request.urlopen(request))
for node in reply["data"]["deliveriesOrdersList"]["nodes"]:
    print(node["id"], node["__typename"])
"""

SHELL_CLIENT = """
curl -s "$BASE_URL/graphql" -H 'Content-type: application/json' -H 'Accept: application/json' \\
    -H "authorization: Bearer $TOKEN" --data-binary @- |
jq -r '.data.deliveriesOrdersList.nodes[] | .id + " " + .__typename'
"""


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--bin", default="build/release/bin")
    parser.add_argument("--runs", type=int, default=20)
    options = parser.parse_args()
    folder = os.path.abspath(options.bin)

    with tempfile.TemporaryDirectory() as work:
        with signed_in_sandbox(folder, work) as (environment, credentials):
            environment["TOKEN"] = credentials["accessToken"]
            query = json.dumps({"query": open(os.path.join(os.path.dirname(__file__), "query.graphql")).read(),
                                "variables": {"maxImageSize": 192}}).encode()
            contenders = {
                "vela-widget timeline": ([f"{folder}/vela-widget", "timeline"], b""),
                "vela-widget show": ([f"{folder}/vela-widget", "show"], b""),
                "python3 with urllib": ([sys.executable, "-c", PYTHON_CLIENT], query),
            }
            if shutil.which("jq") and shutil.which("curl"):
                contenders["curl and jq"] = (["/bin/sh", "-c", SHELL_CLIENT], query)
            figures = {name: [] for name in contenders}
            for run in range(options.runs + 1):
                for name, (command, text) in contenders.items():
                    figure = measured(command, environment, text)
                    if run > 0:
                        figures[name].append(figure)

    columns = ["wall ms", "CPU ms", "peak MiB"]
    medians = {name: {column: statistics.median(each[column] for each in rows) for column in columns}
               for name, rows in figures.items()}
    first = next(iter(medians))
    print(f"median of {options.runs} cold runs" + "".join(f"{column:>12}" for column in columns) + "   CPU ratio")
    for name, row in medians.items():
        print(f"{name:28}" + "".join(f"{row[column]:12.1f}" for column in columns)
              + f"{row['CPU ms'] / medians[first]['CPU ms']:11.2f}x")


main()
