# SPDX-License-Identifier: GPL-3.0-or-later
"""The editor, as a person meets it: found by a screen reader's eyes, used by mouse and keyboard."""

import contextlib
import pathlib
import re
import subprocess
import xml.etree.ElementTree

import gi
from gi.repository import GLib

from desk import PATIENCE_S, output, until

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi  # noqa: E402

DATA = pathlib.Path(__file__).parents[2] / "data"
TITLE = "Mirrane Audio Editor"
RULER_Y = 10
TRACK_Y = (50, 97)    # in the timeline


def word(key, form="frmMixEditor"):
    """A text of the program."""
    text = xml.etree.ElementTree.parse(DATA / "res.xml").find(f"form[@name='{form}']/text[@name='{key}']").text
    return text.replace("%p", "Mirrane").replace("\\n", "\n")


def mouse(*words):
    output("xdotool", *words)


def key(*names):
    output("xdotool", "key", "--delay", 30, *names)


def write(text):
    output("xdotool", "type", "--delay", 15, text)


def windows():
    while True:
        found = subprocess.run(["xdotool", "search", "--onlyvisible", "--class", "mirrane"], stdout=subprocess.PIPE,
                               stderr=subprocess.PIPE, check=False)
        if not found.stderr:    # else one of them has gone while it was looked at
            return set(found.stdout.split())


def children(node):
    try:
        return [child for i in range(node.get_child_count()) if (child := node.get_child_at_index(i)) is not None]
    except GLib.Error:
        return []    # it has gone


def below(node):
    for child in children(node):
        yield child
        yield from below(child)


def states(node):
    try:
        return {state.value_nick for state in node.get_state_set().get_states()}
    except GLib.Error:
        return set()


def place(node):
    return node.get_extents(Atspi.CoordType.SCREEN)


class Editor:
    """A running mirrane-editor. Waits for whatever it is asked about."""

    def __init__(self, desk, program, *arguments):
        self.log = desk.work / "mirrane-editor.log"
        self.process = desk.begin(program, *arguments)
        Atspi.set_timeout(PATIENCE_S * 1000, PATIENCE_S * 1000)
        self.told = []    # role and name of whatever got the focus or the selection
        self.reader = Atspi.EventListener.new(self.hear)
        for what in ("focused", "selected"):
            self.reader.register("object:state-changed:" + what)
        self.app = until(self.find_app, "the editor among the programs")
        self.app.set_cache_mask(Atspi.Cache.NONE)

    def wait_for_window(self):
        """Until the first slide is there."""
        self.window = self.find("frame", re.compile(".*"))
        self.until(lambda: "active" in states(self.window), "the window in front")
        self.find("list item", re.compile(word("lTrack1") + ".*"))
        self.settled()
        return self

    def find_app(self):
        assert self.process.poll() is None, self.log.read_text()
        for app in children(Atspi.get_desktop(0)):
            if app.get_process_id() == self.process.pid:
                return app
        return None

    def hear(self, event):
        with contextlib.suppress(GLib.Error):    # it may have gone
            if event.detail1 and event.source is not None:
                self.told.append((event.source.get_role_name(), event.source.get_name()))

    def until(self, condition, what):
        def holds():
            while GLib.MainContext.default().iteration(False):
                pass
            value = condition()
            assert value or self.process.poll() is None, f"the editor has ended: {what}\n{self.log.read_text()}"
            return value
        return until(holds, what)

    def all(self, role, name):
        """What is shown now. @param name a text, or a pattern"""
        found = []
        for node in below(self.app):
            try:
                if node.get_role_name() != role or "showing" not in states(node):
                    continue
                if re.fullmatch(name, node.get_name()) if isinstance(name, re.Pattern) else node.get_name() == name:
                    found.append(node)
            except GLib.Error:
                continue    # it has gone
        return found

    def find(self, role, name):
        return self.until(lambda: self.all(role, name), f"{role} {name}")[0]

    def is_on(self, role, name):
        return any("enabled" in states(node) for node in self.all(role, name))

    def press(self, role, name, button=1):
        """Clicks on something once it may be clicked on."""
        self.until(lambda: self.is_on(role, name), f"{role} {name} enabled")
        self.click(self.find(role, name), button)

    @staticmethod
    def click(node, button=1, at=None):
        where = place(node)
        x, y = at or (where.width // 2, where.height // 2)
        mouse("mousemove", where.x + x, where.y + y, "click", button)

    def gone(self, role, name):
        self.until(lambda: not self.all(role, name), f"{role} {name} gone")

    # The keyboard.

    def stops(self):
        """What the Tab key should reach."""
        return [node for node in below(self.app)
                if node.get_role_name() != "list item" and {"showing", "focusable", "enabled"} <= states(node)]

    def stop(self):
        """Role and name of where it is."""
        return next(((node.get_role_name(), node.get_name()) for node in self.stops() if "focused" in states(node)),
                    None)

    def tab(self, name):
        before = self.stop()
        key(name)
        return self.until(lambda: (now := self.stop()) != before and now, f"{name} away from {before}")

    def tab_to(self, *stop):
        for _ in self.stops():
            if self.stop() == stop:
                return
            self.tab("Tab")
        raise AssertionError(f"{stop} is not reached")

    def hears(self, role, begin):
        """Waits until a reader is told of something that begins so."""
        self.until(lambda: any(told[0] == role and told[1].startswith(begin) for told in self.told), f"{begin} told")

    # The timeline.

    @property
    def timeline(self):
        return self.find("list", word("timelineName"))

    def segments(self):
        """The names of the shown slide's segments, without what is selected."""
        return [node.get_name().removesuffix(word("segSelected").replace("%1", "")) for node in children(self.timeline)]

    def segment(self, number):
        return children(self.timeline)[number]

    def sees(self, *segments):
        """Waits until these are on the timeline, as parts of their names."""
        def fits():
            self.seen = self.segments()
            return len(self.seen) == len(segments) and all(part in name for part, name in zip(segments, self.seen))
        try:
            self.until(fits, f"{segments} on the timeline")
        except AssertionError as fault:
            raise AssertionError(f"{fault}, but {self.seen}") from fault
        self.settled()

    def drag(self, number, pixels):
        where = place(self.segment(number))
        x, y = where.x + where.width // 2, where.y + where.height // 2
        mouse("mousemove", x, y, "mousedown", 1)
        for part in range(1, 5):
            mouse("mousemove", x + pixels * part // 4, y)
        mouse("mouseup", 1)

    def choose(self, open_menu, key_of_command, on_open=lambda: None):
        """Opens the tracks' menu and takes a command of it. What a menu shows is only told when it is reached."""
        before = windows()
        open_menu()
        menu = self.until(lambda: windows() - before, "a menu")
        on_open()
        for _ in range(10):
            self.told.clear()
            key("Down")
            self.until(lambda: self.told, "an entry of the menu")
            if self.told[-1] == ("menu item", word(key_of_command)):
                key("Return")
                return self.until(lambda: not windows() & menu, "the menu closed")
        raise AssertionError(f"no {key_of_command} in the menu")

    def settled(self):
        """No seek is under way, and nobody keeps the user out. One look is not enough: a command may seek at its
        end."""
        exits = self.find("push button", word("ToolbarExit"))
        picture = self.find("filler", word("picVideo"))
        looks = []

        def is_quiet():
            looks.append("enabled" in states(exits) and not picture.get_description())
            return all(looks[-5:]) and len(looks) >= 5
        self.until(is_quiet, "the editor at rest")

    def choose_row(self, number):
        self.click(self.find("list item", re.compile(f"{number}[.] .*")))

    def choose_slide(self, number):
        self.choose_row(number)
        self.at("0:00:00.0")
        self.settled()

    def at(self, clock):
        """The cursor stands at a time of the slide."""
        self.find("push button", re.compile(re.escape(clock) + " / .*"))

    def time(self):
        """Where the cursor stands, in seconds."""
        name = self.find("push button", re.compile(r"[0-9:.]+ / .*")).get_name()
        hours, minutes, seconds = name.split(" ")[0].split(":")
        return int(hours) * 3600 + int(minutes) * 60 + float(seconds)

    def ruler(self, x, clock):
        self.click(self.timeline, at=(x, RULER_Y))
        self.at(clock)
        self.settled()

    def resize(self, width, height):
        mouse("getactivewindow", "windowsize", width, height)
        self.until(lambda: (place(self.window).width, place(self.window).height) == (width, height),
                   "the window's size")

    def import_file(self, file, on_open=lambda: None):
        self.press("push button", word("tipImportAudio"))
        self.name_file(file, on_open)

    def name_file(self, file, on_open=lambda: None):
        """In the dialog that asks for one."""
        name = self.find("text", re.compile("File name:"))
        self.until(lambda: "focused" in states(name), "the name's field")
        on_open()
        write(str(file))
        key("Return")

    def louder(self):
        self.click(self.segment(0))
        self.press("push button", word("tipVolUp"))
        self.until(lambda: "125 %" in self.segments()[0], "louder")
        self.settled()

    def play(self, is_enough, what):
        self.press("push button", word("cmdPlay"))
        self.until(is_enough, what)
        self.press("push button", word("cmdPause"))
        self.find("push button", word("cmdPlay"))
        self.settled()

    def begin_save(self):
        """Returns the windows of the job, which may be over soon."""
        before = windows()
        key("ctrl+s")
        return self.until(lambda: windows() - before, "the save's window")

    def save(self, on_begin=lambda: None):
        key("ctrl+s")
        on_begin()
        self.saved()

    def saved(self):
        self.until(lambda: not self.is_on("push button", word("ToolbarSave")), "saved")
        self.settled()
        assert not self.is_on("push button", word("ToolbarSave")), "not saved"

    def ask_to_leave(self):
        key("alt+F4")
        self.find("alert", TITLE)

    def ended(self, status=0):
        assert self.process.wait(PATIENCE_S) == status, f"{self.process.returncode}\n{self.log.read_text()}"
