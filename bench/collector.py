#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0

"""Does a dead event collector delay a timeline? Medians of a timeline's time inside a new extension, side by side.

Each sample starts an extension, speaks its protocol (docs/protocol.md), and times the first timeline, whose event goes
out at once. The collectors take turns: one that answers, one that takes connections and never answers, one that is not
there, and none at all (a snapshot, which sends no event).

Usage: bench/collector.py [--bin build/release/bin] [--runs 60]
"""

import argparse
import json
import os
import socket
import statistics
import struct
import subprocess
import tempfile
import time

from demonstration import signed_in_sandbox


class Extension:
    def __init__(self, program, environment):
        self.socket, theirs = socket.socketpair()
        self.process = subprocess.Popen([program, f"--host-socket={theirs.fileno()}"], env=environment,
                                        pass_fds=[theirs.fileno()], stdout=subprocess.DEVNULL)
        theirs.close()
        self.send({"protocol": 1})
        self.receive()

    def send(self, body):
        text = json.dumps(body).encode()
        self.socket.sendall(struct.pack(">II", len(text), 0) + text)

    def take(self, count):
        data = b""
        while len(data) < count:
            part = self.socket.recv(count - len(data))
            if not part:
                raise EOFError("the extension has gone")
            data += part
        return data

    def receive(self):
        body, attachment = struct.unpack(">II", self.take(8))
        text = self.take(body)
        self.take(attachment)
        return json.loads(text)

    def timed(self, request):
        start = time.perf_counter()
        self.send({"id": 1, "request": request, "family": "systemSmall"})
        reply = self.receive()
        return (time.perf_counter() - start) * 1000, reply

    def end(self):
        self.socket.close()
        self.process.wait()


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--bin", default="build/release/bin")
    parser.add_argument("--runs", type=int, default=60)
    options = parser.parse_args()
    folder = os.path.abspath(options.bin)

    with tempfile.TemporaryDirectory() as work, socket.create_server(("127.0.0.1", 0), backlog=4096) as silent:
        bundle = os.path.join(work, "answering")
        with signed_in_sandbox(folder, work, "--bundle", bundle) as (environment, _):

            def bundle_for(name, url):
                path = os.path.join(work, name)
                os.mkdir(path)
                with open(os.path.join(path, "Info.json"), "w") as file:
                    json.dump({"EVENT_COLLECTOR_URL": url}, file)
                return path

            silent_url = f"http://127.0.0.1:{silent.getsockname()[1]}/v1/produce"
            cases = {
                "answers": ("timeline", bundle),
                "never answers": ("timeline", bundle_for("silent", silent_url)),
                "is not there": ("timeline", bundle_for("absent", "http://127.0.0.1:9/v1/produce")),
                "no event sent (snapshot)": ("snapshot", bundle),
            }
            samples = {name: [] for name in cases}
            for run in range(options.runs + 2):
                for name, (request, path) in cases.items():
                    extension = Extension(f"{folder}/VelaWidgetExtension", dict(environment, VELA_BUNDLE=path))
                    milliseconds, reply = extension.timed(request)
                    extension.end()
                    assert "error" not in reply, reply
                    if run >= 2:
                        samples[name].append(milliseconds)

    base = statistics.median(samples["answers"])
    print(f"the first timeline of an extension, median of {options.runs}")
    for name, values in samples.items():
        median = statistics.median(values)
        print(f"collector {name:26} {median:7.2f} ms  {100 * (median / base - 1):+6.1f} %")


main()
