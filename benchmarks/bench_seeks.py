# SPDX-License-Identifier: GPL-3.0-or-later
"""Exact seeks in a lecture, ours and those of mpv."""

import json
import pathlib
import random
import socket
import statistics
import subprocess
import tempfile
import time

import lecture_reading as reading

PATIENCE = 30       # seconds for any answer


def places(length, count):
    """Where to seek to, in ms: the same each time, in no order."""
    chance = random.Random(5)
    return [chance.randrange(length - 10_000) for _ in range(count)]


def ours(program, path, seeks):
    """How many ms each seek took: from the call to the event, picture and sound ready."""
    return list(map(float, reading.told([program, path, *map(str, seeks)]).split()))


def percentile(times, share):
    ordered = sorted(times)
    return ordered[min(len(ordered) - 1, int(share * len(ordered)))]


def told(times):
    return f"median {statistics.median(times):6.1f} ms   95% under {percentile(times, 0.95):6.1f} ms   " \
           f"most {max(times):6.1f} ms"


class Mpv:
    """A player that is told by its socket what to do, paused, with its picture and sound going nowhere."""

    SETTINGS = ["--no-config", "--vo=null", "--ao=null", "--hr-seek=yes", "--hwdec=no", "--pause", "--no-terminal",
                "--keep-open=yes", "--no-resume-playback", "--load-scripts=no"]

    def __init__(self, path):
        self.folder = tempfile.TemporaryDirectory()
        address = pathlib.Path(self.folder.name) / "mpv"
        self.program = subprocess.Popen(["mpv", *self.SETTINGS, f"--input-ipc-server={address}", path])
        self.socket = self.connect(address)
        self.lines = self.socket.makefile("r", encoding="utf-8")
        # It may have begun before somebody listened: the first seek is not measured.
        self.seek(1000)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.socket.close()
        self.program.terminate()
        self.program.wait()
        self.folder.cleanup()

    def connect(self, address):
        end = time.monotonic() + PATIENCE
        while time.monotonic() < end and self.program.poll() is None:
            link = socket.socket(socket.AF_UNIX)
            link.settimeout(PATIENCE)
            try:
                link.connect(str(address))
                return link
            except OSError:
                link.close()
                time.sleep(0.02)
        raise RuntimeError("mpv does not listen")

    def command(self, number, *words):
        self.socket.sendall((json.dumps({"command": words, "request_id": number}) + "\n").encode())

    def wait_for(self, is_it):
        for line in self.lines:
            if is_it(json.loads(line)):
                return
        raise RuntimeError("mpv has ended")

    def seek(self, place):
        """ms from the command to the moment when mpv could go on playing from there."""
        self.settle()
        begun = time.monotonic()
        self.command(1, "seek", place / 1000, "absolute+exact")
        self.wait_for(lambda told: told.get("event") == "seek")
        self.wait_for(lambda told: told.get("event") == "playback-restart")
        return (time.monotonic() - begun) * 1000

    def settle(self):
        """Waits until it has nothing else to do."""
        for number in range(100, 100 + PATIENCE * 50):
            found = {}
            self.command(number, "get_property", "seeking")
            self.wait_for(lambda told: told.get("request_id") == number and (found.update(told) or True))
            if found.get("data") is False:
                return
            time.sleep(0.02)
        raise RuntimeError("mpv does not come to rest")
