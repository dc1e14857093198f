# SPDX-License-Identifier: Apache-2.0

"""A sandbox on loopback with a person signed in to it, for the measurements beside this file."""

import contextlib
import json
import os
import subprocess
import time


@contextlib.contextmanager
def signed_in_sandbox(programs, work, *options):
    """Yields the environment of the person, her credentials, and ends the sandbox afterwards."""
    ready = os.path.join(work, "ready")
    sandbox = subprocess.Popen([f"{programs}/vela-sandbox", "--ready-file", ready, "--stop-after", "900", *options],
                               stdout=subprocess.DEVNULL)
    try:
        while not os.path.exists(ready):
            time.sleep(0.02)
        environment = dict(os.environ, BASE_URL=open(ready).read().strip(), XDG_DATA_HOME=f"{work}/data")
        credentials = subprocess.run([f"{programs}/vela-sandbox", "--print-credentials"], check=True,
                                     capture_output=True).stdout
        subprocess.run([f"{programs}/vela-companion", "sign-in"], input=credentials, env=environment, check=True)
        yield environment, json.loads(credentials)
    finally:
        sandbox.terminate()
        sandbox.wait()
