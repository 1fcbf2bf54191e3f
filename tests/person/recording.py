# SPDX-License-Identifier: GPL-3.0-or-later
"""Sessions with the recorder. The lecture's picture tells its own time, so that what was spoken can be laid against it."""

import os
import re
import threading
import time

import numpy

from desk import output
from editor import key, place, word
import sound

PICTURE_MS = 40
GREYS = 100      # pictures until their brightness comes again
SLIDE = 5120     # where slide 2 begins, ms
BEGIN = 960      # of the slide: where the takes begin, ms
TRACK_1 = "0:00.0 to 0:00:10.8"
TAKE = "Track 2, 0:00:00.9 to 0:00:0"
FORM = "frmRecAudio"


def counting_lecture(bench):
    """16 s of a tone, and of pictures that are one grey each, a little brighter than the one before."""
    media, slides = bench.desk.work / "count.mkv", bench.desk.work / "slides"
    output("ffmpeg", "-v", "error", "-f", "lavfi", "-i",
           f"color=black:s=16x16:r=25:d=16,geq=lum='16+2*mod(N,{GREYS})':cb=128:cr=128,scale=320x180",
           "-f", "lavfi", "-i", "sine=1000:d=16:r=48000,volume=4", "-c:v", "libvpx", "-deadline", "realtime",
           "-g", 1, "-crf", 4, "-b:v", "4M", "-c:a", "pcm_s16le", media)
    slides.write_text(f"0 One\n{SLIDE} Two\n")
    bench.lecture = bench.desk.work / "count"
    bench.tool("new", media, bench.lecture, "--slides", slides)


def at_the_microphone(bench):
    """The editor at BEGIN of slide 2, and a microphone that hears what is played into it."""
    counting_lecture(bench)
    plug_microphone(bench)
    editor = bench.editor()
    editor.choose_slide(2)
    editor.ruler(15, "0:00:00.9")
    return editor


def plug_microphone(bench):
    bench.desk.plug("mic")
    output("pactl", "set-default-source", "mic.monitor")


def open_recorder(editor):
    editor.press("push button", word("tipRecAudio"))
    dialog = place(editor.find("dialog", word(FORM, FORM)))
    assert dialog.x + dialog.width / 2 < place(editor.find("filler", word("picVideo"))).x, "the picture is hidden"
    editor.find("push button", word("cmdRec", FORM))


def begin_take(bench, editor, seconds):
    """Speaks as soon as the recorder runs, until it has run for so long."""
    voice = bench.voice(3)
    open_recorder(editor)
    editor.press("push button", word("cmdRec", FORM))
    editor.find("label", re.compile(" Rec .*"))
    bench.desk.begin("paplay", "-d", "mic", voice)
    editor.find("label", f" Rec 0:00:0{seconds}")
    return voice


class Arrival(threading.Thread):
    """When the first sample of a growing record was heard, by the wall clock: no later one can have come too early."""

    def __init__(self, file):
        super().__init__(daemon=True)
        self.file, self.start_s = file, time.time()
        self.start()

    def run(self):
        while True:
            has_s = self.file.stat().st_size / 4000 / sound.PER_MS
            self.start_s = min(self.start_s, time.time() - has_s)
            time.sleep(0.002)


class Eye:
    """Looks at one spot of the shown picture all the time."""

    def __init__(self, desk, editor):
        where = place(editor.find("filler", word("picVideo")))
        spot = (where.x + where.width // 2, where.y + where.height // 2)
        self.desk = desk
        desk.begin("ffmpeg", "-nostats", "-f", "x11grab", "-draw_mouse", "0", "-framerate", "200", "-video_size", "2x2",
                   "-i", f"{os.environ['DISPLAY']}+{spot[0]},{spot[1]}", "-copyts", "-vf", "format=gbrp,showinfo",
                   "-fps_mode", "passthrough", "-f", "null", "-")
        editor.until(self.seen, "a picture")

    def seen(self):
        """When, by the wall clock, and which of the picture's greys."""
        looks = re.findall(r" pts: *(\d+) .* mean:\[(\d+) ", (self.desk.work / "ffmpeg.log").read_text())
        return [(int(us) / 1e6, round(int(grey) * 219 / 255 / 2)) for us, grey in looks]

    def start_s(self, first, until_s):
        """When the picture's time 0 was, by the wall clock. It ran from this picture on. Most pictures come late on a busy
        machine, and a few seem to come early, when it stops between a look and the time that is written to it."""
        number, starts = first, []
        for at_s, grey in self.seen():
            steps = (grey - number) % GREYS
            number += steps
            if steps and at_s < until_s:
                starts.append(at_s - number * PICTURE_MS / 1000)
        assert len(starts) > GREYS // 3, starts
        return numpy.quantile(starts, 0.1)


def record_a_voice(bench):
    """A voice is recorded over the running, silent picture, lies where it was spoken, and stays there when it is saved."""
    editor = at_the_microphone(bench)
    look_and_leave(bench, editor)
    eye = Eye(bench.desk, editor)
    spoken = bench.desk.record("spoken", "mic", "--latency-msec=10")
    arrival = Arrival(spoken)
    heard = bench.desk.record("heard")
    voice = sound.of_file(begin_take(bench, editor, 4))
    until_s = time.time()
    bench.desk.show("take")
    key("space")    # the button has the focus
    editor.sees(TRACK_1, TAKE)
    assert not sound.of_record(heard).any(), "the lecture is heard during the take"
    editor.play(lambda: sound.of_record(heard).any(), "the lecture is heard again")
    key("ctrl+z")
    editor.sees(TRACK_1)
    key("ctrl+y")
    editor.sees(TRACK_1, TAKE)
    length_ms = len(sound.of_file(take_of(bench, 1))) / sound.PER_MS
    editor.save()
    editor.process.terminate()
    editor.ended()
    assert not editor.log.read_text(), editor.log.read_text()

    saved = sound.of_file(bench.lecture / "media.qv")
    at, alike = sound.find(voice, saved)
    at_record, _ = sound.find(voice, sound.of_record(spoken))
    picture_ms = (arrival.start_s - eye.start_s((SLIDE + BEGIN) // PICTURE_MS, until_s)) * 1000
    late = at / sound.PER_MS - (picture_ms + at_record / sound.PER_MS)
    begin, end = gap_of_tone(saved)
    print(f"the voice lies {late:.1f} ms behind the picture that it was spoken to, likeness {alike};",
          f"{length_ms} ms were recorded, and lie from {begin} to {end} ms")
    assert abs(late) < PICTURE_MS / 2 and alike > 0.99    # a busy machine is some ms late with everything
    assert abs(begin - SLIDE - BEGIN) <= 10 and abs(end - begin - length_ms) <= 20
    bench.whole()


def look_and_leave(bench, editor):
    """Nothing comes of a recorder that is closed before it has run."""
    before = bench.files()
    open_recorder(editor)
    key("Escape")
    editor.gone("push button", word("cmdRec", FORM))
    editor.settled()
    editor.sees(TRACK_1)
    assert not any(editor.is_on("push button", word(name)) for name in ("ToolbarSave", "ToolbarUndo"))
    assert bench.files() == before


def take_of(bench, number):
    return next((bench.desk.work / "temp").rglob(f"Rec({number}).qva"))


def gap_of_tone(saved, piece_ms=2):
    """Where the lecture's own tone is missing, ms."""
    rows = saved[:len(saved) // (piece_ms * sound.PER_MS) * piece_ms * sound.PER_MS].reshape(-1, piece_ms * sound.PER_MS)
    tone = numpy.exp(2j * numpy.pi * numpy.arange(rows.shape[1]) / sound.PER_MS)
    missing = numpy.flatnonzero(numpy.abs(rows @ tone) < numpy.median(numpy.abs(rows @ tone)) / 2) * piece_ms
    inside = missing[(missing > 100) & (missing < 15900)]
    return int(inside[0]), int(inside[-1]) + piece_ms


def keep_what_was_spoken(bench):
    """Without its microphone a take ends, and the user is told; without the program, nothing but its last second is
    lost."""
    editor = at_the_microphone(bench)
    voice = sound.of_file(begin_take(bench, editor, 3))
    bench.desk.unplug("mic")
    editor.find("label", word("lLost", FORM).replace("%s", "Monitor of Null Output"))
    bench.desk.show("lost")
    editor.press("push button", "OK")
    editor.sees(TRACK_1, TAKE)
    holds_beginning(take_of(bench, 1), voice, 2500)

    plug_microphone(bench)
    begin_take(bench, editor, 4)
    editor.process.kill()
    editor.process.wait()
    take = take_of(bench, 2)
    samples = holds_beginning(take, voice, 3000)
    assert len(bench.tool("peaks", take).splitlines()) == samples // (64 * sound.PER_MS)


def holds_beginning(take, voice, least_ms):
    kept = sound.of_file(take)
    print(f"{len(kept) / sound.PER_MS} ms are kept")
    assert len(kept) / sound.PER_MS >= least_ms and sound.find(voice[:1000 * sound.PER_MS], kept)[1] > 0.99
    return len(kept)
