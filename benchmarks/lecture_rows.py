# SPDX-License-Identifier: GPL-3.0-or-later
"""Play lists to measure with: what is seen and heard of a lecture, row by row.

All times are whole ms, ends exclusive.
"""

import typing

GRID_MS = 64        # where an editor's cuts fall


class Frame(typing.NamedTuple):
    """A stretch of picture: played, held (the source stands still) or cut (1 ms for a longer piece of the source)."""
    pos: int
    end: int
    src: int
    src_end: int
    slide: int = 0

    def is_hold(self):
        return self.src == self.src_end

    def source_time(self, time):
        """The source time whose picture is seen at a time of the timeline."""
        if self.is_hold():
            return max(self.src - 1, 0)
        if self.src_end - self.src != self.end - self.pos:
            return self.src_end - 1
        return self.src + time - self.pos


class Sound(typing.NamedTuple):
    """A stretch of sound; file -1 is silence."""
    pos: int
    end: int
    file: int
    src: int
    src_end: int
    volume: int = 100


class PlayList(typing.NamedTuple):
    sources: list
    frames: list
    sounds: list

    def length(self):
        return self.frames[-1].end

    def write(self, path):
        lines = [f"S, {i}, {source}" for i, source in enumerate(self.sources)]
        lines += ["F, " + ", ".join(map(str, frame)) for frame in self.frames]
        lines += ["A, " + ", ".join(map(str, sound)) for sound in self.sounds]
        path.write_text("\n".join(lines) + "\n", encoding="utf-8")
        return path


def on_grid(ms):
    return int(ms) // GRID_MS * GRID_MS


def untouched(lecture, length, volume=100):
    """The whole lecture as one row of picture and one of sound."""
    return PlayList([lecture], [Frame(0, length, 0, length, 1)], [Sound(0, length, 0, 0, length, volume)])


VOLUMES = (100, 80, 150, 60, 120, 200, 50, 90, 300, 130)


def replaced(lecture, length, speech):
    """Stretches of the sound, spread over the lecture, replaced by other files at several volumes.

    speech: (file, its length in ms) of each.
    """
    rows, pos, step = [], 0, (length - 40000) / len(speech)
    for i, (_, long) in enumerate(speech):
        start, long = on_grid(20000 + i * step), on_grid(min(long, step - GRID_MS))
        rows.append(Sound(pos, start, 0, pos, start))
        rows.append(Sound(start, start + long, i + 1, 0, long, VOLUMES[i % len(VOLUMES)]))
        pos = start + long
    rows.append(Sound(pos, length, 0, pos, length))
    return PlayList([lecture] + [path for path, _ in speech], [Frame(0, length, 0, length, 1)], rows)


class Timeline:
    """Lays out rows from left to right while the source runs on. Rows of picture break at the slides."""

    def __init__(self, slides):
        self.slides = set(slides)
        self.frames, self.sounds = [], []
        self.pos = self.src = 0

    def play(self, until):
        """The source runs on up to a time of its own."""
        shift = self.pos - self.src
        breaks = [self.src] + sorted(time for time in self.slides if self.src < time < until) + [until]
        for start, end in zip(breaks, breaks[1:]):
            self.frames.append(Frame(start + shift, end + shift, start, end, int(start in self.slides)))
        self.sounds.append(Sound(self.pos, until + shift, 0, self.src, until))
        self.pos, self.src = until + shift, until

    def cut(self, to):
        """What lies before `to` is left out, by a row of 1 ms that runs through it."""
        self.frames.append(Frame(self.pos, self.pos + 1, self.src, to + 1))
        self.sounds.append(Sound(self.pos, self.pos + 1, 0, to, to + 1))
        self.pos, self.src = self.pos + 1, to + 1

    def jump(self, to):
        """What lies before `to` is left out, and a slide begins there."""
        self.src = to
        self.slides.add(to)

    def hold(self, long, slide_at=None, file=-1, file_long=0):
        """The picture stands still, the sound is another file's, then silence; a slide may begin within."""
        breaks = [0, long] if slide_at is None else [0, slide_at, long]
        for start, end in zip(breaks, breaks[1:]):
            self.frames.append(Frame(self.pos + start, self.pos + end, self.src, self.src, int(start == slide_at)))
        if file_long:
            self.sounds.append(Sound(self.pos, self.pos + file_long, file, 0, file_long))
        self.sounds.append(Sound(self.pos + file_long, self.pos + long, -1, 0, long - file_long))
        self.pos += long


def cut_and_held(lecture, length, slides, speech):
    """Three pieces cut out, the picture held twice, a slide that begins between two keys and one within a hold.

    speech: a file and its length in ms, heard during the first hold.
    """
    at = lambda part: on_grid(part * length)
    path, long = speech[0], on_grid(speech[1])
    line = Timeline([*slides, at(.52)])
    line.play(at(.17))
    line.cut(at(.19))
    line.play(at(.30))
    line.hold(long + 50 * GRID_MS, file=1, file_long=long)
    line.play(at(.413))
    line.jump(at(.44))
    line.play(at(.61))
    line.hold(128 * GRID_MS, slide_at=47 * GRID_MS)
    line.play(at(.77))
    line.cut(at(.782))
    line.play(length)
    return PlayList([lecture, path], line.frames, line.sounds)
