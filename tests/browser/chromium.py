# SPDX-License-Identifier: GPL-3.0-or-later
"""A folder on a web server, and a headless Chromium that looks at it."""

import fcntl
import http.server
import json
import os
import pathlib
import re
import select
import subprocess
import threading
import time
import urllib.parse

PATIENCE = 100          # seconds; the machine may be busy
KINDS = {".html": "text/html", ".htm": "text/html", ".js": "text/javascript", ".css": "text/css",
         ".svg": "image/svg+xml", ".jpg": "image/jpeg"}


class Handler(http.server.BaseHTTPRequestHandler):
    """Serves files, with ranges, as a seeking browser needs, and lets it keep them for an hour."""

    protocol_version = "HTTP/1.1"

    def handle(self):
        try:
            super().handle()
        except (BrokenPipeError, ConnectionResetError):
            pass    # the browser has seen enough of a file

    def do_GET(self):
        name = urllib.parse.unquote(self.path.split("?")[0]).lstrip("/") or "index.html"
        file = self.server.folder / name
        if not file.is_file():
            self.answer(404, "text/plain", b"", {})
            return
        content = file.read_bytes()
        wanted = self.server.has_ranges and re.match(r"bytes=(\d+)-(\d*)", self.headers.get("Range", ""))
        first = int(wanted[1]) if wanted else 0
        last = int(wanted[2]) if wanted and wanted[2] else len(content) - 1
        extra = {"Last-Modified": self.date_time_string(file.stat().st_mtime), "Cache-Control": "max-age=3600"}
        if self.server.has_ranges:
            extra["Accept-Ranges"] = "bytes"
        if wanted:
            extra["Content-Range"] = f"bytes {first}-{last}/{len(content)}"
        kind = KINDS.get(file.suffix, "application/octet-stream")
        self.answer(206 if wanted else 200, kind, content[first:last + 1], extra)

    do_HEAD = do_GET

    def answer(self, status, kind, body, extra):
        self.server.asked.append((self.path, status))
        self.send_response(status)
        for name, value in {"Content-Type": kind, "Content-Length": str(len(body)), **extra}.items():
            self.send_header(name, value)
        self.end_headers()
        self.wfile.write(body if self.command == "GET" else b"")

    def log_message(self, *args):
        pass


def serve(folder, has_ranges=True):
    """A running server; `address` is its root, `asked` what it was asked for so far."""
    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
    server.folder, server.has_ranges, server.asked = pathlib.Path(folder), has_ranges, []
    server.address = f"http://127.0.0.1:{server.server_port}/"
    threading.Thread(target=server.serve_forever, daemon=True).start()
    return server


class Browser:
    """One page. `faults` are the errors in its console, `outside` what it asked other servers for."""

    def __init__(self, profile, *options):
        # Chromium reads commands from descriptor 3 and answers on 4.
        (command_end, self.commands), (self.answers, answer_end) = os.pipe(), os.pipe()
        ends = [fcntl.fcntl(end, fcntl.F_DUPFD, 10) for end in (command_end, answer_end)]
        self.process = subprocess.Popen(
            ["chromium", "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
             "--disable-background-networking", "--disable-component-update", "--disable-sync",
             "--remote-debugging-pipe", "--autoplay-policy=no-user-gesture-required",
             f"--user-data-dir={profile}", *options, "about:blank"],
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, pass_fds=(3, 4),
            preexec_fn=lambda: (os.dup2(ends[0], 3), os.dup2(ends[1], 4)))
        for end in (command_end, answer_end, *ends):
            os.close(end)
        self.rest, self.count, self.session = b"", 0, None
        self.faults, self.outside, self.home = [], [], ""
        pages = [t for t in self.call("Target.getTargets")["targetInfos"] if t["type"] == "page"]
        self.session = self.call("Target.attachToTarget", targetId=pages[0]["targetId"], flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Log", "Network"):
            self.call(f"{domain}.enable")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.kill()
        self.process.wait()
        os.close(self.commands), os.close(self.answers)

    def receive(self):
        deadline = time.monotonic() + PATIENCE
        while b"\0" not in self.rest:
            if not select.select([self.answers], [], [], max(0, deadline - time.monotonic()))[0]:
                raise TimeoutError("the browser does not answer")
            got = os.read(self.answers, 1 << 16)
            if not got:
                raise EOFError("the browser is gone")
            self.rest += got
        message, self.rest = self.rest.split(b"\0", 1)
        return json.loads(message)

    def call(self, method, **params):
        self.count += 1
        message = {"id": self.count, "method": method, "params": params}
        if self.session:
            message["sessionId"] = self.session
        os.write(self.commands, json.dumps(message).encode() + b"\0")
        while True:
            got = self.receive()
            if got.get("id") == self.count:
                if "error" in got:
                    raise RuntimeError(f"{method}: {got['error']['message']}")
                return got["result"]
            self.note(got.get("method"), got.get("params"))

    def note(self, event, params):
        if event == "Runtime.exceptionThrown":
            self.faults.append(params["exceptionDetails"].get("exception", {}).get("description", "exception"))
        elif event == "Log.entryAdded" and params["entry"]["level"] == "error":
            self.faults.append(f"{params['entry']['text']} {params['entry'].get('url', '')}")
        elif event == "Runtime.consoleAPICalled" and params["type"] == "error":
            self.faults.append(str(params["args"]))
        elif event == "Network.requestWillBeSent":
            address = params["request"]["url"]
            if not address.startswith((self.home, f"blob:{self.home}", "about:", "data:")):
                self.outside.append(address)

    def go(self, address, home=None):
        """Loads a page anew; the folder that the page may ask for things is `home`, otherwise its server."""
        self.home = home or re.match(r"\w+://[^/]*/", address)[0]
        self.call("Page.navigate", url="about:blank")
        self.call("Page.navigate", url=address)
        self.until(f"location.href == {json.dumps(address)} && document.readyState == 'complete'")

    def run(self, script):
        """The value of an expression, awaited where it is a promise."""
        result = self.call("Runtime.evaluate", expression=script, awaitPromise=True, returnByValue=True,
                           userGesture=True)
        if "exceptionDetails" in result:
            raise RuntimeError(result["exceptionDetails"]["exception"].get("description", script))
        return result["result"].get("value")

    def until(self, condition):
        deadline = time.monotonic() + PATIENCE
        while not self.run(condition):
            if time.monotonic() > deadline:
                raise TimeoutError(f"never true: {condition}")
            time.sleep(0.1)

    def press(self, key):
        for kind in ("keyDown", "keyUp"):
            text = {"text": key} if len(key) == 1 and kind == "keyDown" else {}
            self.call("Input.dispatchKeyEvent", type=kind, key=key, **text)
