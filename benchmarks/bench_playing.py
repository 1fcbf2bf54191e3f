# SPDX-License-Identifier: GPL-3.0-or-later
"""How much of a core it takes to play a lecture at its own pace: the editor's window, another player, and the decoder
alone, one after the other, on a display of their own and without a sound device."""

import contextlib
import os
import subprocess
import tempfile
import time

import bench_references as references

SCREEN = "1920x1200x24"
PICTURE = "956x538"         # the size of the editor's picture in its first window
SETTLED = 4                 # seconds until a program plays and nothing else
WATCHED = 15


@contextlib.contextmanager
def display():
    """The environment of programs on a display that lasts as long."""
    told, telling = os.pipe()
    server = subprocess.Popen(["Xvfb", "-displayfd", str(telling), "-screen", "0", SCREEN, "-nolisten", "tcp"],
                              pass_fds=[telling], stderr=subprocess.DEVNULL)
    os.close(telling)
    try:
        with os.fdopen(told) as words, tempfile.TemporaryDirectory() as home:
            number = words.readline().strip()
            if not number:
                raise RuntimeError("no display comes up")
            nobody = {"PULSE_SERVER": f"unix:{home}/none", "ALSA_CONFIG_PATH": "/dev/null"}
            without = {name: value for name, value in os.environ.items() if name != "WAYLAND_DISPLAY"}
            yield without | nobody | {"DISPLAY": f":{number}", "XDG_CONFIG_HOME": home, "XDG_CACHE_HOME": home,
                                      "QT_QPA_PLATFORM": "xcb"}
    finally:
        server.terminate()
        server.wait()


def seconds_of(process):
    """What a process has spent so far."""
    with open(f"/proc/{process.pid}/stat", encoding="ascii", errors="replace") as stat:
        fields = stat.read().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def share(command, environment, begin=lambda: None):
    """How much of a core a program takes while it plays.
    begin: called when it has come up"""
    program = subprocess.Popen([str(part) for part in command], env=environment, stdin=subprocess.DEVNULL,
                               stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    try:
        begin()
        time.sleep(SETTLED)
        before, since = seconds_of(program), time.monotonic()
        time.sleep(WATCHED)
        used = (seconds_of(program) - before) / (time.monotonic() - since)
        if program.poll() is not None:
            raise RuntimeError(f"{command[0]} has ended too early")
        return used
    finally:
        program.terminate()
        program.wait()


def ours(editor, project, environment):
    def play():
        subprocess.run(["xdotool", "search", "--sync", "--onlyvisible", "--class", "mirrane-editor"], env=environment,
                       stdout=subprocess.DEVNULL, check=True, timeout=30)
        time.sleep(2)
        subprocess.run(["xdotool", "key", "space"], env=environment, check=True)
    return share([editor, project], environment, play)


def decoding(media, environment):
    return share([*references.FFMPEG, "-re", "-i", media, "-f", "null", "-"], environment)


def mpv(media, environment):
    return share(["mpv", "--no-config", "--no-terminal", "--hwdec=no", "--load-scripts=no", "--vo=x11", "--ao=null",
                  f"--geometry={PICTURE}", media], environment)
