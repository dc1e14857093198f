# SPDX-License-Identifier: Apache-2.0

"""Real browsers without a screen, driven by the commands of WebDriver: Chromium by its driver, Firefox by the door that
it has itself (Marionette). Each has a profile of its own and asks nobody for updates."""

import base64
import contextlib
import io
import json
import re
import socket
import urllib.error
import urllib.request
from pathlib import Path

from PIL import Image

from person import PATIENCE, eventually

# WebDriver's names of keys.
TAB = "\ue004"
SHIFT = "\ue008"
ENTER = "\ue007"


class Browser:
    """What a test does with any of them. `ask(command, parameters)` is each one's own."""

    def open(self, address):
        self.ask("Navigate", {"url": address})

    def script(self, script, *arguments):
        """What the body of a function gives that is run in the page; its arguments are `arguments`."""
        return self.ask("ExecuteScript", {"script": script, "args": list(arguments)})

    def script_when_done(self, script, *arguments):
        """The same of one that calls its last argument with what it gives."""
        return self.ask("ExecuteAsyncScript", {"script": script, "args": list(arguments)})

    def sees(self, script, what, patience=PATIENCE):
        return eventually(lambda: self.script(f"return {script}"), what, patience)

    def press(self, *keys):
        """One after another; a tuple is pressed together."""
        actions = []
        for key in keys:
            together = key if isinstance(key, tuple) else (key,)
            actions += [{"type": "keyDown", "value": each} for each in together]
            actions += [{"type": "keyUp", "value": each} for each in reversed(together)]
        self.ask("PerformActions", {"actions": [{"type": "key", "id": "keyboard", "actions": actions}]})

    def picture(self):
        return Image.open(io.BytesIO(base64.b64decode(self.ask("TakeScreenshot", {"full": True})))).convert("RGB")

    def whole_page(self, width, height=None):
        """A picture of the page from top to bottom, as far as its script can say how high it is."""
        self.resize(width, 800)
        self.resize(width, height or self.script("return document.documentElement.scrollHeight"))
        return self.picture()

    def printed(self):
        """The bytes of a PDF."""
        return base64.b64decode(self.ask("Print", {"background": False}))


class Chromium(Browser):
    ARGUMENTS = ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run", "--hide-scrollbars",
                 "--disable-background-networking", "--disable-component-update", "--disable-sync"]
    COMMANDS = {
        "Navigate": "url", "ExecuteScript": "execute/sync", "ExecuteAsyncScript": "execute/async",
        "PerformActions": "actions", "Print": "print", "Tool": "goog/cdp/execute",
    }

    def __init__(self, person):
        log = person.folder / "chromedriver.out"
        with open(log, "wb") as output:
            person.start("chromedriver", "--port=0", stdout=output)
        port = eventually(lambda: self._port(log.read_text()), "the driver's port")
        self.base = f"http://127.0.0.1:{port}/session"
        profile = person.folder / "chromium"
        profile.mkdir()
        answer = self._post("", {"capabilities": {"alwaysMatch": {"goog:chromeOptions": {
            "args": [*self.ARGUMENTS, f"--user-data-dir={profile}"]}}}})
        self.base += f"/{answer['sessionId']}"

    @staticmethod
    def _port(text):
        found = re.search(r"on port ([1-9][0-9]*)\b", text)
        return found and found[1]

    def _post(self, path, body):
        request = urllib.request.Request(f"{self.base}/{path}" if path else self.base, json.dumps(body).encode(),
                                         {"Content-Type": "application/json"})
        try:
            with urllib.request.urlopen(request, timeout=60) as answer:
                return json.load(answer)["value"]
        except urllib.error.HTTPError as error:
            raise AssertionError(error.read().decode()[:2000]) from None

    def ask(self, command, parameters):
        if command == "TakeScreenshot":
            return self.tool("Page.captureScreenshot", captureBeyondViewport=True)["data"]
        return self._post(self.COMMANDS[command], parameters)

    def tool(self, command, **parameters):
        """A command of Chromium's own developer tools."""
        return self.ask("Tool", {"cmd": command, "params": parameters})

    def resize(self, width, height):
        self.tool("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1, mobile=False)

    def prefer(self, features):
        """Media features, such as {"prefers-color-scheme": "dark"}."""
        self.tool("Emulation.setEmulatedMedia",
                  features=[{"name": name, "value": value} for name, value in features.items()])

    def close(self):
        with contextlib.suppress(Exception):
            request = urllib.request.Request(self.base, method="DELETE")
            urllib.request.urlopen(request, timeout=10).close()


class Firefox(Browser):
    PREFERENCES = {
        "marionette.port": 0, "app.update.disabledForTesting": True, "browser.shell.checkDefaultBrowser": False,
        "layout.css.prefers-color-scheme.content-override": 1,
        "datareporting.policy.dataSubmissionEnabled": False, "toolkit.telemetry.reportingpolicy.firstRun": False,
        "network.captive-portal-service.enabled": False, "network.connectivity-service.enabled": False,
        "browser.aboutwelcome.enabled": False, "browser.startup.page": 0, "accessibility.tabfocus": 7,
        "extensions.update.enabled": False, "services.settings.server": "data:,", "gfx.webrender.software": True,
        "network.protocol-handler.expose.velaapp": True, "network.protocol-handler.external.velaapp": True,
        "network.protocol-handler.warn-external.velaapp": False,
    }

    def __init__(self, person):
        profile = person.folder / "firefox"
        profile.mkdir()
        (profile / "user.js").write_text("".join(f"user_pref({json.dumps(name)}, {json.dumps(value)});\n"
                                                 for name, value in self.PREFERENCES.items()))
        person.start("firefox-esr", "--headless", "--marionette", "--remote-allow-system-access", "--no-remote", "--profile", profile,
                     environment=person.environment | {"MOZ_CRASHREPORTER_DISABLE": "1", "MOZ_DISABLE_CONTENT_SANDBOX": "1"})
        port = eventually(lambda: self._port(profile), "the browser's door")
        # How much larger the page is shown than it thinks.
        self.zoom = 1
        self.socket = eventually(lambda: self._connected(port), "the browser behind its door")
        self.stream = self.socket.makefile("rb")
        self._receive()
        self.count = 0
        self.ask("NewSession", {})

    @staticmethod
    def _port(profile):
        file = Path(profile) / "MarionetteActivePort"
        return int(file.read_text()) if file.exists() and file.read_text() else None

    @staticmethod
    def _connected(port):
        try:
            return socket.create_connection(("127.0.0.1", port), timeout=60)
        except ConnectionRefusedError:
            return None

    def _receive(self):
        length = b""
        while not length.endswith(b":"):
            part = self.stream.read(1)
            if not part:
                raise AssertionError("Firefox has gone")
            length += part
        return json.loads(self.stream.read(int(length[:-1])))

    def ask(self, command, parameters):
        self.count += 1
        message = json.dumps([0, self.count, command if ":" in command else f"WebDriver:{command}", parameters]).encode()
        self.socket.sendall(str(len(message)).encode() + b":" + message)
        _, _, error, result = self._receive()
        if error:
            raise AssertionError(f"{error.get('error')}: {error.get('message')}"[:2000])
        return result.get("value") if set(result) == {"value"} else result

    def resize(self, width, height):
        # No window is as narrow as a telephone; the page in one that is enlarged is.
        self.ask("Marionette:SetContext", {"value": "chrome"})
        self.script("gBrowser.selectedBrowser.fullZoom = arguments[0]", self.zoom)
        self.ask("Marionette:SetContext", {"value": "content"})
        self.ask("SetWindowRect", {"width": int(width * self.zoom), "height": int(height * self.zoom)})
        eventually(lambda: self._fits(width, height), "the window's size")

    def _fits(self, width, height):
        """What the window's frame takes is not the page's, and is told a moment later."""
        inner = self.script("return [innerWidth, innerHeight]")
        if inner == [width, height]:
            return True
        outer = self.ask("GetWindowRect", {})
        self.ask("SetWindowRect", {"width": int(outer["width"] + (width - inner[0]) * self.zoom),
                                   "height": int(outer["height"] + (height - inner[1]) * self.zoom)})
        return False

    def close(self):
        with contextlib.suppress(Exception):
            self.stream.close()
            self.socket.close()
