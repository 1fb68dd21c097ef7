"""A real Chromium, driven over the WebDriver protocol with nothing but the standard library."""

import base64
import json
import os
import shutil
import subprocess
import time
import urllib.error
import urllib.request

ELEMENT = "element-6066-11e4-a52e-4f735466cecf"


class Missing(Exception):
    """There is no browser or no driver here."""


def find_program(names):
    for name in names:
        path = shutil.which(name)
        if path:
            return path
    raise Missing("none of " + ", ".join(names) + " is installed")


def find_browser():
    """The programs of a browser and of its driver."""
    return find_program(["chromium", "chromium-browser", "google-chrome"]), find_program(["chromedriver"])


class Browser:
    """Ends with its with-block, and with it the driver and the browser."""

    def __init__(self, profile, width=1280, height=800):
        self.chromium, self.driver_path = find_browser()
        self.profile = profile
        self.size = (width, height)

    def __enter__(self):
        self.driver = subprocess.Popen(
            [self.driver_path, "--port=0"], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True
        )
        try:
            self.base = "http://127.0.0.1:%d" % self.port()
            self.base += "/session/" + self.new_session()
        except BaseException:
            self.end_driver()
            raise
        return self

    def __exit__(self, *_):
        try:
            self.call("DELETE", "")
        finally:
            self.end_driver()

    def end_driver(self):
        self.driver.terminate()
        self.driver.wait()
        self.driver.stdout.close()

    def port(self):
        """The driver says which it took."""
        for line in self.driver.stdout:
            words = line.split()
            if "port" in words and "successfully" in words:
                return int(words[words.index("port") + 1].rstrip("."))
        raise Missing("chromedriver ended without a word about its port")

    def new_session(self):
        arguments = [
            "--headless=new",
            "--window-size=%d,%d" % self.size,
            "--user-data-dir=" + self.profile,
            "--disable-gpu",
            "--disable-dev-shm-usage",
            "--no-first-run",
            "--disable-component-update",
            "--disable-background-networking",
        ]
        if os.geteuid() == 0:
            arguments.append("--no-sandbox")
        answer = self.call("POST", "/session", {
            "capabilities": {"alwaysMatch": {
                "browserName": "chrome",
                "timeouts": {"script": 120000},
                "goog:chromeOptions": {"binary": self.chromium, "args": arguments},
                "goog:loggingPrefs": {"browser": "ALL", "performance": "ALL"},
            }}
        })
        return answer["sessionId"]

    def call(self, method, path, body=None):
        data = json.dumps(body if body is not None else {}).encode() if method == "POST" else None
        request = urllib.request.Request(
            self.base + path, data=data, method=method, headers={"Content-Type": "application/json"}
        )
        try:
            with urllib.request.urlopen(request, timeout=150) as response:
                return json.load(response)["value"]
        except urllib.error.HTTPError as error:
            raise AssertionError("%s %s: %s" % (method, path, error.read().decode())) from None

    def open(self, path):
        self.call("POST", "/url", {"url": "file://" + path})

    def run(self, script, *arguments):
        """What the script, a function's body, returns."""
        return self.call("POST", "/execute/sync", {"script": script, "args": list(arguments)})

    def run_async(self, script, *arguments):
        """What the script gives to its last argument."""
        return self.call("POST", "/execute/async", {"script": script, "args": list(arguments)})

    def find(self, selector):
        return self.call("POST", "/element", {"using": "css selector", "value": selector})[ELEMENT]

    def click(self, selector):
        self.call("POST", "/element/%s/click" % self.find(selector), {})

    def type(self, selector, text):
        self.call("POST", "/element/%s/value" % self.find(selector), {"text": text})

    def text(self, selector):
        return self.run("return document.querySelector(arguments[0]).innerText", selector)

    def pointer(self, *steps):
        """Steps: ("move", x, y), ("down",), ("up",), in window coordinates."""
        actions = []
        for step in steps:
            if step[0] == "move":
                actions.append({"type": "pointerMove", "duration": 0, "x": round(step[1]), "y": round(step[2])})
            else:
                actions.append({"type": "pointerDown" if step[0] == "down" else "pointerUp", "button": 0})
        self.call("POST", "/actions", {"actions": [{"type": "pointer", "id": "mouse", "actions": actions}]})

    def wheel(self, x, y, delta):
        self.call("POST", "/actions", {"actions": [{"type": "wheel", "id": "wheel", "actions": [
            {"type": "scroll", "x": round(x), "y": round(y), "deltaX": 0, "deltaY": delta, "duration": 0}]}]})

    def keys(self, *keys):
        actions = [{"type": kind, "value": key} for key in keys for kind in ("keyDown", "keyUp")]
        self.call("POST", "/actions", {"actions": [{"type": "key", "id": "keyboard", "actions": actions}]})

    def devtools(self, command, **parameters):
        return self.call("POST", "/goog/cdp/execute", {"cmd": command, "params": parameters})

    def resize(self, width, height):
        self.devtools("Emulation.setDeviceMetricsOverride", width=width, height=height,
                      deviceScaleFactor=1, mobile=False)

    def prefer(self, scheme):
        self.devtools("Emulation.setEmulatedMedia",
                      features=[{"name": "prefers-color-scheme", "value": scheme}])

    def cpu_seconds(self):
        """What the driver and the browser, with all its processes, have used."""
        parents, ticks = {}, {}
        for name in filter(str.isdigit, os.listdir("/proc")):
            try:
                with open("/proc/%s/stat" % name, encoding="utf-8", errors="replace") as stat:
                    fields = stat.read().rpartition(")")[2].split()
            except OSError:
                continue  # it is over
            parents[int(name)] = int(fields[1])
            ticks[int(name)] = int(fields[11]) + int(fields[12])

        def is_ours(pid):
            while pid in parents and pid != self.driver.pid:
                pid = parents[pid]
            return pid == self.driver.pid

        return sum(ticks[pid] for pid in ticks if is_ours(pid)) / os.sysconf("SC_CLK_TCK")

    def logs(self, kind):
        return self.call("POST", "/se/log", {"type": kind})

    def screenshot(self, path):
        with open(path, "wb") as out:
            out.write(base64.b64decode(self.call("GET", "/screenshot")))


def await_that(condition, what, seconds=30):
    """Until it holds: its value."""
    deadline = time.monotonic() + seconds
    while time.monotonic() < deadline:
        value = condition()
        if value:
            return value
        time.sleep(0.02)
    raise AssertionError("not within %d s: %s" % (seconds, what))
