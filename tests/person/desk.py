# SPDX-License-Identifier: GPL-3.0-or-later
"""A desktop of the test's own: display, window manager, bus, sound card and home folder. All of it goes afterwards."""

import contextlib
import os
import pathlib
import re
import shutil
import signal
import subprocess
import tempfile
import time

PATIENCE_S = 60    # others on the machine may keep everything waiting
CARD = "module-null-sink sink_name={} rate=48000 format=float32le channels=1 norewinds=1"


def until(condition, what, patience=PATIENCE_S):
    """The first true value of condition(), which is asked again and again."""
    end = time.monotonic() + patience
    while not (value := condition()):
        assert time.monotonic() < end, f"waited in vain: {what}"
        time.sleep(0.03)
    return value


def output(*command, **kwargs):
    return subprocess.run([str(word) for word in command], check=True, stdout=subprocess.PIPE, **kwargs).stdout


def succeeds(*command):
    return subprocess.run(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False).returncode == 0


class Desk:
    """Its environment is the process's own, too: what reads the screen looks for the bus there."""

    def __init__(self, work):
        self.work = pathlib.Path(work)
        self.ends = contextlib.ExitStack()
        self.cards = {}

    def __enter__(self):
        shutil.rmtree(self.work, ignore_errors=True)
        self.work.mkdir(parents=True)
        runtime = tempfile.mkdtemp(prefix="desk")    # a socket's path must be short
        self.ends.callback(shutil.rmtree, runtime, ignore_errors=True)
        try:
            self.set_environment(runtime)
            self.begin_display()
            self.begin_bus()
            self.begin("openbox")
            until(lambda: succeeds("xdotool", "get_desktop"), "a window manager")
            self.begin("pulseaudio", "-n", "--load=module-native-protocol-unix auth-anonymous=1",
                       "--exit-idle-time=-1", "--use-pid-file=no")
            until(lambda: succeeds("pactl", "info"), "a sound server")
            self.plug("desk")
        except BaseException:
            self.ends.close()
            raise
        return self

    def __exit__(self, kind, error, trace):
        if kind is not None:
            self.picture(self.work / "failure.png")
        self.ends.close()

    def set_environment(self, runtime):
        os.environ.update(HOME=str(self.work), XDG_RUNTIME_DIR=runtime, PULSE_SERVER=f"unix:{runtime}/pulse/native",
                          ALSA_CONFIG_PATH="/dev/null", LC_ALL="C.UTF-8", QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1",
                          temp=str(self.work / "temp"))
        foreign = re.compile("WAYLAND_DISPLAY|appdata|XDG_[CD].*|QT_[QS].*|MIRRANE_PROGRAM_FOLDER")
        for name in filter(foreign.fullmatch, list(os.environ)):
            del os.environ[name]
        (self.work / "temp").mkdir()

    def begin(self, *command, **kwargs):
        """Starts something that runs until the desk goes, or this process; what it says goes to a file. Where that is
        allowed it goes ahead of what else the machine does, which would make the sound stutter."""
        with open(self.work / f"{pathlib.Path(command[0]).name}.log", "wb") as log:
            process = subprocess.Popen(["setpriv", "--pdeathsig", "KILL", "nice", "-n", "-15", *command],
                                       stdin=subprocess.DEVNULL, stderr=log, start_new_session=True,
                                       **{"stdout": log, **kwargs})
        self.ends.callback(self.end, process)
        return process

    @staticmethod
    def end(process):
        if process.poll() is not None:
            return    # its number may be another's by now
        with contextlib.suppress(ProcessLookupError):
            os.killpg(process.pid, signal.SIGKILL)
        process.wait()

    def begin_display(self):
        read, write = os.pipe()
        self.begin("Xvfb", "-displayfd", str(write), "-screen", "0", "1400x1000x24", "-nolisten", "tcp",
                   pass_fds=[write])
        os.close(write)
        with os.fdopen(read) as number:
            os.environ["DISPLAY"] = ":" + number.readline().strip()

    def begin_bus(self):
        bus = self.begin("dbus-daemon", "--session", "--nofork", "--print-address=1", stdout=subprocess.PIPE)
        os.environ["DBUS_SESSION_BUS_ADDRESS"] = bus.stdout.readline().decode().strip()

    def plug(self, card):
        """A sound card, whose monitor hears what is played."""
        self.cards[card] = output("pactl", "load-module", *CARD.format(card).split()).decode().strip()

    def unplug(self, card):
        output("pactl", "unload-module", self.cards.pop(card))

    def record(self, name, card="desk", *options):
        """Keeps what comes out of a sound card from now on in the file that is returned, see sound.of_record."""
        file = self.work / name
        with open(file, "wb") as sound:
            self.begin("parec", "-d", f"{card}.monitor", "--rate=48000", "--channels=1", "--format=float32le", "--raw",
                       *options, stdout=sound)
        until(lambda: os.path.getsize(file) > 0, "the first sound")
        return file

    @staticmethod
    def picture(file):
        """What the screen shows."""
        subprocess.run(["ffmpeg", "-v", "error", "-y", "-f", "x11grab", "-i", os.environ["DISPLAY"], "-frames:v", "1",
                        file], check=False)

    def show(self, name):
        """For whoever wants to see what the test sees."""
        folder = os.environ.get("MIRRANE_TEST_PICTURES")
        if folder:
            time.sleep(0.5)
            self.picture(pathlib.Path(folder) / f"{name}.png")
