"""Chromium without a window, driven through the pipe of its DevTools protocol.

The time of its pages is held back: it passes only in `pass_time`, in which requests are answered
before the next timer is due. What a page does in twelve seconds is so the same on every run.
"""

import base64
import json
import os
import pathlib
import select
import subprocess
import tempfile


# A browser that says nothing for so long will not go on.
SILENCE_SECONDS = 60
# The fonts that the pages find as the system's own, so that they look the same on every machine.
FONTS = """<?xml version="1.0"?>
<fontconfig>
  <include>/etc/fonts/fonts.conf</include>
  <match><test name="family"><string>system-ui</string></test>
    <edit name="family" mode="prepend" binding="strong"><string>Inter</string></edit></match>
  <match><test name="family"><string>sans-serif</string></test>
    <edit name="family" mode="prepend" binding="strong"><string>Inter</string></edit></match>
  <match><test name="family"><string>monospace</string></test>
    <edit name="family" mode="prepend" binding="strong"><string>JetBrains Mono</string></edit></match>
</fontconfig>
"""


class Browser:
    OPTIONS = [
        "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
        "--disable-background-networking", "--disable-component-update", "--disable-sync",
        "--remote-debugging-pipe",
    ]

    def __enter__(self):
        self.home = tempfile.TemporaryDirectory(ignore_cleanup_errors=True)
        fonts = pathlib.Path(self.home.name) / "fonts.conf"
        fonts.write_text(FONTS)
        commands, self.commands = os.pipe()
        self.answers, answers = os.pipe()
        # Chromium reads from descriptor 3 and writes to descriptor 4.
        self.process = subprocess.Popen(
            ["bash", "-c", 'exec "${@:2}" 3<&"$0" 4>&"$1"', str(commands), str(answers),
             "chromium", *self.OPTIONS, f"--user-data-dir={self.home.name}", "about:blank"],
            pass_fds=(commands, answers), stderr=subprocess.DEVNULL,
            env=dict(os.environ, HOME=self.home.name, FONTCONFIG_FILE=str(fonts)))
        os.close(commands)
        os.close(answers)
        self.received = b""
        self.events = []
        self.number = 0
        self.session = {}
        targets = self.call("Target.getTargets")["targetInfos"]
        page = next(target for target in targets if target["type"] == "page")
        self.session["sessionId"] = self.call(
            "Target.attachToTarget", targetId=page["targetId"], flatten=True)["sessionId"]
        for domain in ("Page", "Network"):
            self.call(f"{domain}.enable")
        return self

    def __exit__(self, *_):
        self.call("Browser.close")
        self.process.wait()
        os.close(self.commands)
        os.close(self.answers)
        self.home.cleanup()

    def call(self, method, **parameters):
        """The result of one call of the protocol. Events that come before it are kept."""
        self.number += 1
        message = {"id": self.number, "method": method, "params": parameters} | self.session
        os.write(self.commands, json.dumps(message).encode() + b"\0")
        while (answer := self._receive()).get("id") != self.number:
            self.events.append(answer)
        if "error" in answer:
            raise RuntimeError(f"{method}: {answer['error']['message']}")
        return answer["result"]

    def open(self, address, width, height, scale=1):
        """Loads a page in a window of the size given, and runs it for a tenth of a second."""
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=height,
                  deviceScaleFactor=scale, mobile=True)
        self.call("Emulation.setVirtualTimePolicy", policy="pause")
        self.events.clear()
        self.call("Page.navigate", url=address)
        # A new site gets a process of its own: what the old one is asked would be lost.
        self._wait_for("Page.frameNavigated")
        self.pass_time(100)

    def pass_time(self, milliseconds):
        self.call("Emulation.setVirtualTimePolicy", policy="pauseIfNetworkFetchesPending",
                  budget=milliseconds)
        self._wait_for("Emulation.virtualTimeBudgetExpired")

    def evaluate(self, expression):
        """What an expression of the page's language yields. A promise is waited for."""
        result = self.call("Runtime.evaluate", expression=expression, returnByValue=True,
                           awaitPromise=True, userGesture=True)
        if "exceptionDetails" in result:
            raise RuntimeError(result["exceptionDetails"]["exception"]["description"])
        return result["result"].get("value")

    def requests(self):
        """The addresses asked for since the last call, or since the page was opened."""
        sent = [event["params"]["request"]["url"] for event in self.events
                if event["method"] == "Network.requestWillBeSent"]
        self.events.clear()
        return sent

    def take_picture(self, path):
        picture = self.call("Page.captureScreenshot", format="png")
        pathlib.Path(path).write_bytes(base64.b64decode(picture["data"]))

    def _wait_for(self, method):
        while not any(event["method"] == method for event in self.events):
            self.events.append(self._receive())
        self.events = [event for event in self.events if event["method"] != method]

    def _receive(self):
        while b"\0" not in self.received:
            if not select.select([self.answers], [], [], SILENCE_SECONDS)[0]:
                raise RuntimeError("the browser does not answer")
            part = os.read(self.answers, 1 << 16)
            if not part:
                raise RuntimeError("the browser has ended")
            self.received += part
        message, self.received = self.received.split(b"\0", 1)
        return json.loads(message)
