"""Debian's Chromium without a window, driven over its own protocol: real mouse and keys, and the network in our hand."""

import base64
import contextlib
import json
import os
import queue
import shutil
import signal
import subprocess
import tempfile
import threading
import time
from pathlib import Path

LIMIT = 30.0  # seconds that any single thing may take


class PageError(AssertionError):
    """A script in the page threw."""


def wait_for(probe, what, timeout=LIMIT, interval=0.05):
    """Calls probe until it gives something true, and returns that."""
    end = time.monotonic() + timeout
    while True:
        result = probe()
        if result:
            return result
        if time.monotonic() > end:
            raise AssertionError(f"waited {timeout:g} s in vain for {what}")
        time.sleep(interval)


class Browser:
    """One browser process with one page. A context manager."""

    def __init__(self, width=1200, height=800):
        self.size = width, height
        self._number = 0
        self._answers = {}
        self._lock = threading.Lock()
        self._requests = []
        self._serve = None
        self.messages = []

    def __enter__(self):
        self._folder = tempfile.mkdtemp(prefix="browser-")
        here_in, self._to = os.pipe()
        self._from, here_out = os.pipe()

        def pipes():
            # The browser reads from 3 and writes to 4, whatever numbers the pipes have here.
            source, sink = os.dup(here_in), os.dup(here_out)
            high_source, high_sink = os.dup2(source, 101), os.dup2(sink, 102)
            os.dup2(high_source, 3)
            os.dup2(high_sink, 4)

        width, height = self.size
        command = [shutil.which("chromium", path="/usr/bin:" + os.environ.get("PATH", "")), "--headless",
                   "--disable-gpu", "--disable-quic", "--no-first-run", "--disable-background-networking",
                   "--disable-component-update", "--disable-sync", "--hide-scrollbars", "--mute-audio",
                   f"--window-size={width},{height}", f"--user-data-dir={self._folder}", "--remote-debugging-pipe",
                   "about:blank"]
        if os.geteuid() == 0:
            command.insert(1, "--no-sandbox")
        self._process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                         stderr=subprocess.DEVNULL, close_fds=False, preexec_fn=pipes,
                                         start_new_session=True)
        os.close(here_in)
        os.close(here_out)
        self._session = None
        self._events = queue.Queue()
        threading.Thread(target=self._read, daemon=True).start()
        threading.Thread(target=self._handle_events, daemon=True).start()
        target = wait_for(self._page_target, "the browser's first page")
        self._session = self.send("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Log"):
            self.send(domain + ".enable")
        self.send("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1, mobile=False)
        self.send("Fetch.enable", patterns=[{"urlPattern": "http*"}])
        return self

    def __exit__(self, *_):
        try:
            os.killpg(self._process.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
        self._process.wait()
        os.close(self._to)
        shutil.rmtree(self._folder, ignore_errors=True)

    def _page_target(self):
        pages = [target for target in self.send("Target.getTargets")["targetInfos"] if target["type"] == "page"]
        return pages[0]["targetId"] if pages else None

    def _read(self):
        rest = b""
        while True:
            data = os.read(self._from, 1 << 20)
            if not data:
                return
            *whole, rest = (rest + data).split(b"\0")
            for text in whole:
                message = json.loads(text)
                if "id" in message:
                    self._answers[message["id"]].put(message)
                else:
                    self._events.put(message)

    def _handle_events(self):
        while True:
            message = self._events.get()
            method, values = message["method"], message["params"]
            if method == "Fetch.requestPaused":
                self._answer(values["requestId"], values["request"]["url"])
            elif method == "Runtime.exceptionThrown":
                self.messages.append(values["exceptionDetails"].get("exception", {}).get("description", "exception"))
            elif method == "Log.entryAdded":
                self.messages.append(values["entry"]["text"])

    def _answer(self, request, url):
        self._requests.append(url)
        serve = self._serve
        body = serve(url) if serve else None
        if body is None:
            self.post("Fetch.failRequest", requestId=request, errorReason="ConnectionRefused")
            return
        kind, data = body
        self.post("Fetch.fulfillRequest", requestId=request, responseCode=200, body=base64.b64encode(data).decode(),
                  responseHeaders=[{"name": "Content-Type", "value": kind},
                                   {"name": "Access-Control-Allow-Origin", "value": "*"}])

    def post(self, method, **parameters):
        """Sends a command without waiting for its answer. Its number."""
        with self._lock:
            self._number += 1
            number = self._number
            self._answers[number] = queue.Queue()
            message = {"id": number, "method": method, "params": parameters}
            if self._session:
                message["sessionId"] = self._session
            data = json.dumps(message).encode() + b"\0"
            while data:
                data = data[os.write(self._to, data):]
            return number

    def send(self, method, **parameters):
        number = self.post(method, **parameters)
        answer = self._answers[number].get(timeout=LIMIT)
        del self._answers[number]
        if "error" in answer:
            raise RuntimeError(f"{method}: {answer['error']['message']}")
        return answer["result"]

    def serve(self, function):
        """function(url) gives (content type, bytes) or None for a refused connection. None: nothing answers."""
        self._serve = function

    @property
    def requests(self):
        """Every http request so far."""
        return list(self._requests)

    def open(self, path):
        """Opens a file and waits until it is loaded."""
        self._requests.clear()
        self.messages.clear()
        self.send("Page.navigate", url=Path(path).as_uri())
        wait_for(lambda: self.run("location.protocol === 'file:' && document.readyState === 'complete'"), "the page")

    def run(self, script):
        """What a script in the page gives."""
        answer = self.send("Runtime.evaluate", expression=script, returnByValue=True, awaitPromise=True)
        if "exceptionDetails" in answer:
            details = answer["exceptionDetails"]
            raise PageError(details.get("exception", {}).get("description", details["text"]))
        return answer["result"].get("value")

    def move(self, x, y, buttons=0):
        self.send("Input.dispatchMouseEvent", type="mouseMoved", x=x, y=y, buttons=buttons,
                  button="left" if buttons else "none")

    def _button(self, kind, x, y, count=1):
        self.send("Input.dispatchMouseEvent", type=kind, x=x, y=y, button="left", buttons=1 if "Pressed" in kind else 0,
                  clickCount=count)

    def click(self, x, y):
        self.move(x, y)
        self._button("mousePressed", x, y)
        self._button("mouseReleased", x, y)

    def double_click(self, x, y):
        self.click(x, y)
        self._button("mousePressed", x, y, 2)
        self._button("mouseReleased", x, y, 2)

    @contextlib.contextmanager
    def held(self, x, y):
        """With the button held from that place on; gives the function that moves the pointer."""
        self.move(x, y)
        self._button("mousePressed", x, y)
        at = [x, y]

        def move(to_x, to_y):
            at[:] = to_x, to_y
            self.move(to_x, to_y, buttons=1)
        yield move
        self._button("mouseReleased", *at)

    def drag(self, x, y, to_x, to_y, steps=5, settle=True):
        """settle: the page has painted what moved before the button is let go."""
        self.move(x, y)
        self._button("mousePressed", x, y)
        # Leaflet leaves out the first movement that it takes for a drag, so that one is small, as a hand's is.
        length = max(abs(to_x - x), abs(to_y - y), 1)
        self.move(x + 4 * (to_x - x) / length, y + 4 * (to_y - y) / length, buttons=1)
        for step in range(1, steps + 1):
            self.move(x + (to_x - x) * step / steps, y + (to_y - y) * step / steps, buttons=1)
        if settle:
            self.run("new Promise(function (done) { requestAnimationFrame(function () { setTimeout(done, 0); }); })")
        self._button("mouseReleased", to_x, to_y)

    def key(self, name, code):
        for kind in ("rawKeyDown", "keyUp"):
            self.send("Input.dispatchKeyEvent", type=kind, key=name, code=name, windowsVirtualKeyCode=code)

    def type(self, text):
        self.send("Input.insertText", text=text)

    def look(self, width, height, night=False):
        """Another size of the window, and the user's choice of a dark page."""
        self.size = width, height
        self.send("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1, mobile=False)
        self.send("Emulation.setEmulatedMedia",
                  features=[{"name": "prefers-color-scheme", "value": "dark" if night else "light"}])

    def choose(self, selector, paths):
        """Chooses files in a file field, as its dialog would."""
        root = self.send("DOM.getDocument", depth=0)["root"]["nodeId"]
        node = self.send("DOM.querySelector", nodeId=root, selector=selector)["nodeId"]
        self.send("DOM.setFileInputFiles", nodeId=node, files=[str(path) for path in paths])

    def download_to(self, folder):
        self.send("Page.setDownloadBehavior", behavior="allow", downloadPath=str(folder))

    @contextlib.contextmanager
    def before_each_page(self, script):
        """The script runs in every page that is opened meanwhile, before its own."""
        number = self.send("Page.addScriptToEvaluateOnNewDocument", source=script)["identifier"]
        try:
            yield
        finally:
            self.send("Page.removeScriptToEvaluateOnNewDocument", identifier=number)

    def screenshot(self, path):
        Path(path).parent.mkdir(parents=True, exist_ok=True)
        Path(path).write_bytes(base64.b64decode(self.send("Page.captureScreenshot")["data"]))
