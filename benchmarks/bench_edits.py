# SPDX-License-Identifier: GPL-3.0-or-later
"""Scripts for `qvtool edit` to measure with."""

import json
import random
import shutil
import subprocess

import lecture_reading as reading
import lecture_rows as rows
from bench_measure import Job

CUT_MS = 2048           # length of a piece that is cut out
PLACES_MS = 640         # between places to cut at: some pixels of a slide that is seen whole
INTO_SLIDE_MS = 9984    # where it begins in its slide, on the grid


def job(bench, name, project, script, prepare=None):
    """Runs a script on a project, with no waveform kept from an earlier run."""
    path = bench.work / f"{abs(hash(name))}.edit"
    path.write_text("".join(f"{line}\n" for line in script), encoding="utf-8")
    return Job(name, [bench.tool, "edit", project, path], fresh_cache=bench.work / "cache", check=expect_ok,
               prepare=prepare)


def expect_ok(words):
    """Each line of a run tells of a command that was done."""
    for line in words.splitlines():
        if line.startswith("{") and not json.loads(line)["ok"]:
            raise RuntimeError(f"qvtool edit: {line}")


def copy(kept, project):
    shutil.rmtree(project, ignore_errors=True)
    shutil.copytree(kept, project)


def slides(bench, project):
    """Of each slide: (start, length) in ms."""
    told = json.loads(reading.told([bench.tool, "--json", "info", project]))["slides"]
    return [(slide["pos"], slide["posEnd"] - slide["pos"]) for slide in told]


def cuts(project_slides, count):
    """Cuts the first slide again and again, and seeks somewhere in it after each. Returns the script and the seeks.
    Without a window no picture is decoded."""
    _, length = project_slides[0]
    chance = random.Random(3)
    places = chance.sample(range(PLACES_MS, length - PLACES_MS, PLACES_MS), count)
    script = [word for place in places for word in (f"seek {place}", "track 0", "split", f"seek {place // 2}")]
    return script, [place // 2 for place in places]


def ten_edits(project_slides, imports):
    """Four pieces cut out, three sounds laid over, three slides made louder or softer. Later slides come first, so that
    what was done does not move what follows."""
    script = []
    number = 2 * len(project_slides) + 2    # of the first piece of the first split
    for place, kind in zip(range(len(project_slides) - 1, 0, -3), "cut lay vol cut lay vol cut lay vol cut".split()):
        start, _ = project_slides[place]
        script.append(f"slide {place + 1}")
        if kind == "cut":
            first = start + INTO_SLIDE_MS
            first -= first % rows.GRID_MS
            script += [f"splitat {2 * (place + 1)} {first}", f"splitat {number + 2} {first + CUT_MS}",
                       f"select {number + 4}", "remove", f"drag {number + 6} -4000"]
            number += 8
        elif kind == "lay":
            sound, _ = imports[place % len(imports)]
            script.append(f"place {sound} {start + INTO_SLIDE_MS} overwrite")
        else:
            script += ["track 0", "volume 25" if place % 2 else "volume -25"]
    return script


def play_list(bench, project, script):
    """What a script makes of a project, as rows. Nothing is saved."""
    done = subprocess.run([bench.tool, "edit", project], input="\n".join([*script, "playlist"]), text=True,
                          capture_output=True, check=True)
    expect_ok(done.stdout)
    sources, frames, sounds = [], [], []
    for line in json.loads(done.stdout.splitlines()[-1])["lines"]:
        kind, *fields = line.split(", ")
        if kind == "S":
            sources.append(", ".join(fields[1:]))
        elif kind == "F":
            frames.append(rows.Frame(*map(int, fields)))
        elif kind == "A":
            sounds.append(rows.Sound(*map(int, fields)))
    return rows.PlayList(sources, frames, sounds)
