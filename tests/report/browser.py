# SPDX-License-Identifier: MIT
"""Headless Chromium, controlled through pipes with the DevTools protocol."""

import base64
import collections
import json
import os
import shutil
import subprocess
import sys
import tempfile

TIMEOUT_SECONDS = 120


class BrowserError(Exception):
    """A command of the browser failed."""


class Browser:
    """A browser with one page.

    requests has the address of everything that the page loaded, errors the exceptions of its script
    and the errors of its console.
    """

    def __init__(self, width=1400, height=900):
        program = shutil.which("chromium")
        if program is None:
            sys.exit("chromium is not installed; run tools/setup check")
        self.profile = tempfile.mkdtemp(prefix="report-browser-")
        to_browser, self.commands = os.pipe()
        self.answers, from_browser = os.pipe()
        arguments = [program, "--headless=new", "--remote-debugging-pipe", "--no-sandbox",
                     "--disable-gpu", "--no-first-run", "--disable-background-networking",
                     f"--user-data-dir={self.profile}", "about:blank"]
        self.child = subprocess.Popen(arguments, stdin=subprocess.DEVNULL,
                                      stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                      preexec_fn=lambda: self._take(to_browser, from_browser),
                                      close_fds=False)
        os.close(to_browser)
        os.close(from_browser)
        self.bytes = b""
        self.count = 0
        self.session = None
        self.events = collections.deque()
        self.requests = []
        self.errors = []
        self._open_page(width, height)

    @staticmethod
    def _take(to_browser, from_browser):
        """In the new process: the browser reads descriptor 3 and writes to 4."""
        inputs, outputs = os.dup(to_browser), os.dup(from_browser)
        os.dup2(inputs, 3)
        os.dup2(outputs, 4)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.child.kill()
        self.child.wait()
        os.close(self.commands)
        os.close(self.answers)
        shutil.rmtree(self.profile, ignore_errors=True)

    def _open_page(self, width, height):
        target = self.call("Target.createTarget", url="about:blank")["targetId"]
        self.session = self.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        for domain in ("Page", "Network", "Runtime", "Log"):
            self.call(f"{domain}.enable")
        self.resize(width, height)

    def _read(self):
        """The next message of the browser."""
        while b"\0" not in self.bytes:
            part = os.read(self.answers, 1 << 20)
            if not part:
                raise BrowserError("the browser has ended")
            self.bytes += part
        line, _, self.bytes = self.bytes.partition(b"\0")
        return json.loads(line)

    def call(self, method, **parameters):
        """Runs a command and returns its result."""
        self.count += 1
        message = {"id": self.count, "method": method, "params": parameters}
        if self.session:
            message["sessionId"] = self.session
        data = json.dumps(message).encode() + b"\0"
        while data:
            data = data[os.write(self.commands, data):]
        while True:
            answer = self._read()
            if answer.get("id") == self.count:
                break
            self._note(answer)
        if "error" in answer:
            raise BrowserError(f"{method}: {answer['error']['message']}")
        return answer["result"]

    def _note(self, event):
        method, parameters = event.get("method"), event.get("params", {})
        self.events.append(method)
        if method == "Network.requestWillBeSent":
            self.requests.append(parameters["request"]["url"])
        elif method == "Runtime.exceptionThrown":
            self.errors.append(parameters["exceptionDetails"].get("text", "an exception"))
        elif method == "Log.entryAdded" and parameters["entry"]["level"] == "error":
            self.errors.append(parameters["entry"]["text"])

    def _wait_for(self, method):
        while method not in self.events:
            self._note(self._read())

    def resize(self, width, height):
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=height,
                  deviceScaleFactor=1, mobile=False)

    def set_colours(self, scheme):
        """scheme is light or dark."""
        self.call("Emulation.setEmulatedMedia",
                  features=[{"name": "prefers-color-scheme", "value": scheme}])

    def open(self, path):
        """Opens a file and waits until it is loaded."""
        self.events.clear()
        self.requests.clear()
        self.errors.clear()
        failed = self.call("Page.navigate", url=f"file://{os.path.abspath(path)}").get("errorText")
        if failed:
            raise BrowserError(f"{path}: {failed}")
        self._wait_for("Page.loadEventFired")

    def evaluate(self, expression):
        """The value of an expression of JavaScript; a promise is waited for."""
        answer = self.call("Runtime.evaluate", expression=expression, returnByValue=True,
                           awaitPromise=True)
        if "exceptionDetails" in answer:
            details = answer["exceptionDetails"]
            raise BrowserError(details.get("exception", {}).get("description", details["text"]))
        return answer["result"].get("value")

    def first_paint(self):
        """Seconds from the beginning of the navigation to the first content on the screen."""
        return self.evaluate("""new Promise(done => new PerformanceObserver((list, observer) => {
            for (const entry of list.getEntries()) {
                if (entry.name !== "first-contentful-paint") continue;
                observer.disconnect();
                done(entry.startTime / 1000);
            }
        }).observe({type: "paint", buffered: true}))""")

    def screenshot(self, path):
        data = self.call("Page.captureScreenshot", format="png")["data"]
        with open(path, "wb") as out:
            out.write(base64.b64decode(data))

    def print(self, path):
        """Writes the page as a PDF file."""
        data = self.call("Page.printToPDF", preferCSSPageSize=True, printBackground=True)["data"]
        with open(path, "wb") as out:
            out.write(base64.b64decode(data))
