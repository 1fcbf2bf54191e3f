#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""A person's sessions with the editor, from outside its process.

    sessions.py SESSION PROGRAMS WORKFOLDER

PROGRAMS is the folder of mirrane-editor and qvtool. MIRRANE_TEST_PICTURES names a folder for pictures of the screen.
"""

import json
import os
import pathlib
import re
import shutil
import subprocess
import sys

from bench import Bench
from desk import Desk
from editor import TITLE, TRACK_Y, Editor, key, mouse, place, states, windows, word, write
import pages
import recording
import sound


def names_of(dump):
    """How a screen reader is told of the segments of the shown slide."""
    start = dump["slides"][dump["curSlide"] - 1]["pos"]

    def clock(ms):
        tenths = (ms - start) // 100
        return f"{tenths // 36000}:{tenths // 600 % 60:02}:{tenths // 10 % 60:02}.{tenths % 10}"
    return [f"{word('lTrack' + str(track + 1))}, {clock(seg['pos'])} to {clock(seg['posEnd'])}, {seg['volPercent']} %"
            for track, segs in enumerate(dump["tracks"]) for seg in segs if seg["visible"]]


def repair_a_lecture(bench):
    """What a person does by mouse and keyboard comes to the same as a script's commands, to the last byte."""
    twin = shutil.copytree(bench.lecture, bench.desk.work / "twin")
    voice = bench.voice(40)
    editor = bench.editor()
    editor.resize(1000, 750)
    editor.choose_slide(3)
    hear_the_slide(bench, editor)

    edit_by_hand(bench, editor, voice)
    script = edits_of_script(place(editor.timeline).width, voice)
    before = next(result for result in bench.script(twin, *script) if result["cmd"] == "dump")
    assert sorted(editor.segments()) == sorted(names_of(before)), (editor.segments(), names_of(before))
    editor.save(lambda: bench.desk.show("save"))
    leave_by_hand(bench, editor)

    mine, its = bench.files(), bench.files(twin)
    assert mine.keys() == its.keys(), mine.keys() ^ its.keys()
    differing = [str(name) for name in mine if mine[name] != its[name]]
    assert not differing, differing
    dumps = [json.dumps(bench.script(folder, "slide 3", "dump")[-1]).replace(str(folder), "")
             for folder in (bench.lecture, twin)]
    assert dumps[0] == dumps[1], dumps
    bench.whole()
    assert not list((bench.desk.work / "temp").glob("_qvMix_*")), "a work folder is left"


def hear_the_slide(bench, editor):
    """Slide 3 sounds as it was recorded."""
    record = bench.desk.record("record")
    editor.play(lambda: editor.time() > 5, "5 s played")
    start = 33920 * sound.PER_MS
    expected = sound.of_file(bench.lecture / "media.qv")[start:start + 5000 * sound.PER_MS]
    # On a busy machine a sound card misses a beat now and then.
    found = list(sound.pieces(expected, sound.of_record(record)))
    places = [at for at, alike in found if alike > 0.999]
    print(f"{len(places)} of {len(found)} pieces of slide 3 are heard as they were recorded")
    assert len(places) >= 5 and max(places) - min(places) < 500 * sound.PER_MS, found


def edit_by_hand(bench, editor, voice):
    editor.ruler(100, "0:00:06.4")
    editor.choose(lambda: editor.click(editor.segment(0), 3), "mnuSplit", lambda: bench.desk.show("menu"))
    editor.sees("0:00.0 to 0:00:06.4", "0:06.4 to 0:00:22.7")
    editor.drag(1, 30)
    editor.sees("to 0:00:06.4", "0:08.3 to 0:00:24.6")
    editor.ruler(200, "0:00:12.8")
    editor.choose(lambda: editor.click(editor.segment(1), 3), "mnuSplit")
    editor.sees("to 0:00:06.4", "0:08.3 to 0:00:12.8", "0:12.8 to 0:00:24.6")
    for _ in range(2):
        editor.click(editor.segment(1))
        key("Delete")
        editor.sees("to 0:00:06.4", "0:12.8 to 0:00:24.6")
        key("ctrl+z")
        editor.sees("to 0:00:06.4", "0:08.3 to 0:00:12.8", "0:12.8 to 0:00:24.6")
    key("ctrl+y")
    editor.sees("to 0:00:06.4", "0:12.8 to 0:00:24.6")
    import_by_hand(bench, editor, voice)
    editor.press("push button", word("tipZoomOut"))
    editor.until(lambda: place(editor.segment(0)).width == 51, "half as wide")
    editor.press("push button", word("tipZoomIn"))
    editor.until(lambda: place(editor.segment(0)).width == 101, "as wide as before")
    set_volume_by_hand(bench, editor)


def edits_of_script(viewport, voice):
    return [f"viewport {viewport}", "slide 3", "ruler 100", "select 6", "split", "drag 14 30", "ruler 200", "select 14",
            "split", *["select 16", "remove", "undo"] * 2, "redo", "ruler 300", f'import "{voice}"', "zoomout",
            "zoomin", "select 1", "setvol 50", "dump", "save", "volume 25"]


def import_by_hand(bench, editor, voice):
    editor.ruler(300, "0:00:19.2")
    editor.import_file(voice, lambda: bench.desk.show("file"))
    editor.sees("to 0:00:06.4", "0:12.8 to", "Track 2")


def set_volume_by_hand(bench, editor):
    editor.choose(lambda: editor.click(editor.segment(2), 3), "mnuSetVol")
    box = editor.find("text", word("txtVolPct", "frmWaveSegVol"))
    editor.until(lambda: "focused" in states(box), "the field of the volume")
    bench.desk.show("volume")
    write("50")
    key("Return")
    editor.press("push button", word("cmdOK", "frmWaveSegVol"))
    editor.sees("to 0:00:06.4", "0:12.8 to", "50 %")


def leave_by_hand(bench, editor):
    editor.louder()
    editor.ask_to_leave()
    bench.desk.show("question")
    editor.press("push button", "Cancel")
    editor.gone("alert", TITLE)
    editor.settled()
    key("alt+F4")
    editor.press("push button", "No")
    editor.ended()


def fail_to_start(bench):
    """Without a display, or a part of the program, the editor says so and ends."""
    program = bench.programs / "mirrane-editor"
    for display in ({}, {"DISPLAY": ":7777"}):
        bare = {name: value for name, value in os.environ.items() if name != "DISPLAY"}
        ended = subprocess.run([program, bench.lecture], env={**bare, **display}, stderr=subprocess.PIPE, text=True,
                               check=False)
        assert ended.returncode == 1 and ended.stderr.count("\n") == 1, ended
        assert "there is no display" in ended.stderr, ended
    os.environ["MIRRANE_PROGRAM_FOLDER"] = str(bench.desk.work / "nowhere")
    editor = Editor(bench.desk, program, "--open", bench.lecture)
    editor.press("push button", "OK")
    editor.ended(1)
    told = editor.log.read_text()
    assert told.endswith("/res.xml is missing: please install the program again\n"), told


def use_the_keyboard(bench):
    """No mouse: Tab goes round through all that may be pressed, and the timeline has keys of its own."""
    editor = bench.editor()
    go_round(editor, "Tab")
    edit_by_keys(editor)
    go_round(editor, "shift+Tab")
    editor.tab_to("list", word("ListView"))
    editor.told.clear()
    key("Down")
    editor.hears("list item", "2. ")
    editor.at("0:00:00.0")
    editor.settled()
    editor.ask_to_leave()
    key("Tab", "Return")
    editor.ended()


def go_round(editor, tab):
    wanted = [(node.get_role_name(), node.get_name()) for node in editor.stops()]
    assert all(name for _, name in wanted) and len(wanted) >= 13, wanted
    seen = [editor.tab(tab) for _ in wanted]
    assert sorted(seen) == sorted(wanted), set(wanted) ^ set(seen)


def edit_by_keys(editor):
    editor.tab_to("list", word("timelineName"))
    for name, clock in (("Next", "0:00:06.0"), ("Next", "0:00:12.0"), ("Right", "0:00:12.0"), ("Right", "0:00:12.1"),
                        ("Left", "0:00:12.0"), ("End", "0:00:14.9"), ("Prior", "0:00:08.9")):
        key(name)
        editor.at(clock)
        editor.until(lambda: editor.timeline.get_description() == clock, "the cursor told")
        editor.settled()
    editor.choose(lambda: key("Menu"), "mnuSplit")
    editor.sees("to 0:00:08.9", "0:08.9 to 0:00:15.0")
    editor.told.clear()
    key("Home")
    editor.hears("list item", f"{word('lTrack1')}, 0:00:00.0 to 0:00:08.9, 100 %, ")
    editor.settled()
    editor.choose(lambda: key("Menu"), "mnuSetVol")
    write("50")
    key("Return", "Tab", "Tab", "space")
    editor.sees("to 0:00:08.9, 50 %", "0:08.9 to 0:00:15.0")
    key("Delete")
    editor.sees("0:08.9 to 0:00:15.0")
    key("ctrl+z")
    editor.sees("to 0:00:08.9, 50 %", "0:08.9 to 0:00:15.0")


def hear_what_is_saved(bench):
    """A cut, a moved segment, another volume and an imported sound are saved as they are played, to the millisecond."""
    voice = bench.voice(3)
    editor = bench.editor()
    editor.choose_slide(3)
    for x, clock in ((60, "0:00:03.8"), (90, "0:00:05.7")):
        editor.ruler(x, clock)
        editor.choose(lambda: editor.click(editor.timeline, 3, at=(x + 5, TRACK_Y[0])), "mnuSplit")
    editor.sees("to 0:00:03.8", "to 0:00:05.7", "to 0:00:22.7")
    editor.click(editor.segment(1))
    key("Delete")
    editor.sees("to 0:00:03.8", "0:05.7 to 0:00:22.7")
    editor.drag(1, -60)
    editor.sees("to 0:00:03.8", "0:03.8 to 0:00:20.8")
    editor.press("push button", word("tipVolDown"))
    editor.sees("to 0:00:03.8", "75 %")
    editor.ruler(120, "0:00:07.6")
    editor.import_file(voice)
    editor.sees("to 0:00:03.8", "75 %", "0:07.6 to 0:00:10.6")

    heard = take_of_passage(bench, editor)
    editor.save(lambda: bench.desk.show("save"))
    start, end = ((33920 + ms) * sound.PER_MS for ms in PASSAGE)
    saved = sound.of_file(bench.lecture / "media.qv")[start:end]
    second = 1000 * sound.PER_MS
    begin = sound.find(saved[:second], heard)[0]
    late = sound.find(saved[-second:], heard)[0] - begin - (len(saved) - second)
    alike = sound.likeness(saved, heard[begin:begin + len(saved)])
    print(f"{late} samples late at the end, likeness {alike}")
    assert abs(late) < sound.PER_MS and alike > 0.99
    editor.process.terminate()
    editor.ended()


PASSAGE = (2496, 11968)    # of the slide, ms: from before the cut to behind the imported sound


def take_of_passage(bench, editor):
    """What the sound card gets while the passage is played."""
    editor.ruler(PASSAGE[0] // 64, "0:00:02.4")
    record = bench.desk.record("record")
    editor.play(lambda: editor.time() > PASSAGE[1] / 1000 + 0.5, "the passage played")
    return sound.without_gaps(sound.of_record(record))


def cannot_break_a_save(bench):
    """Closing the window does nothing during a save; a signal leaves the old lecture or the new one."""
    editor = bench.editor()
    editor.import_file(bench.voice(120))    # so that it takes a while
    editor.sees("", "Track 2")
    job = editor.begin_save()
    frame = place(editor.window)
    key("alt+F4")
    mouse("mousemove", frame.x + frame.width - 9, frame.y - 9, "click", 1)    # the title bar's button
    assert job & windows(), "the save was over too soon to be disturbed"
    editor.until(lambda: not job & windows(), "the save's end")
    editor.saved()
    editor.sees("to 0:02:00.0, 100 %")    # what was saved is the recording now
    bench.whole()
    saved = bench.files()

    editor.louder()
    editor.begin_save()
    editor.process.terminate()
    editor.ended()
    bench.whole()
    now = bench.files()
    media = pathlib.Path("media.qv")
    print("the lecture is the", "old" if now[media] == saved[media] else "new", "one")
    assert set(now) == set(saved), set(now) ^ set(saved)


def is_impatient(bench):
    """Clicks while a seek runs, keys that are held down, a sound card that goes: nothing breaks."""
    editor = bench.editor()
    slides = [editor.find("list item", re.compile(f"{number}[.] .*")) for number in range(1, 6)]
    for slide in slides * 3:
        editor.click(slide)
    editor.settled()
    editor.choose_slide(2)
    editor.louder()
    hold_down("ctrl+z", "ctrl+y", "ctrl+z", "space", "space")
    editor.tab_to("list", word("ListView"))
    hold_down("Down", "Up")
    editor.settled()
    lose_the_card(bench, editor)
    key("alt+F4")
    editor.ended()
    bench.whole()
    assert "the sound device is lost" in editor.log.read_text(), editor.log.read_text()


def hold_down(*names):
    for name in names:
        mouse("keydown", name, "sleep", 1.2, "keyup", name)    # longer than the keyboard's delay


def lose_the_card(bench, editor):
    """The time goes on without a sound card, and the next play uses the one that is there then."""
    editor.choose_slide(5)

    def goes_on_without():
        editor.until(lambda: editor.time() > 1, "a second played")
        bench.desk.unplug("desk")
        return editor.until(lambda: editor.time() > 3, "two seconds without a sound card")
    editor.play(goes_on_without, "played")
    bench.desk.plug("desk")
    record = bench.desk.record("record")
    editor.play(lambda: sound.of_record(record).any(), "sound from the new card")


def open_from_the_start_page(bench):
    """Without a project the program shows its start page, which stays until a project can be opened and knows it then."""
    program = bench.programs / "mirrane-editor"
    new, opened = shutil.copytree(bench.lecture, bench.desk.work / "new"), bench.desk.work / "lecture"
    document = new / "project.qvp"
    document.write_bytes(document.read_bytes().replace(b'"7.', b'"8.'))
    before = bench.files(new)
    page = Editor(bench.desk, program)
    page.find("label", word("EmptyProjList", "frmNewProject"))
    bench.desk.show("start")
    page.press("push button", word("lOpenProj", "frmNewProject"))
    page.name_file(document)
    page.find("alert", TITLE)
    page.press("push button", "OK")
    page.gone("alert", TITLE)
    assert bench.files(new) == before
    page.press("push button", word("lOpenProj", "frmNewProject"))
    page.name_file(opened / "project.qvp")
    page.wait_for_window()
    key("alt+F4")
    page.ended()

    again = Editor(bench.desk, program)
    again.find("push button", re.compile("1 A first look at the editor, .*"))
    bench.desk.show("recent")
    key("Return")
    again.wait_for_window()
    key("alt+F4")
    again.ended()
    unused = Editor(bench.desk, program)
    unused.find("push button", word("lOpenProj", "frmNewProject"))
    key("Escape")
    unused.ended()
    assert not unused.log.read_text(), unused.log.read_text()


SESSIONS = {"RepairsALecture": repair_a_lecture, "FailsToStart": fail_to_start, "UsesTheKeyboard": use_the_keyboard,
            "HearsWhatIsSaved": hear_what_is_saved, "CannotBreakASave": cannot_break_a_save,
            "IsImpatient": is_impatient, "OpensFromTheStartPage": open_from_the_start_page,
            "RecordsAVoice": recording.record_a_voice, "KeepsWhatWasSpoken": recording.keep_what_was_spoken,
            "LooksAtAPage": pages.look_at_a_page}


def main():
    session, programs, work = sys.argv[1:]
    with Desk(work) as desk:
        SESSIONS[session](Bench(programs, desk))


if __name__ == "__main__":
    main()
