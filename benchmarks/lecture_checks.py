# SPDX-License-Identifier: GPL-3.0-or-later
"""Whether a mixed file is what its rows say, told from what other programs read in it.

Each check returns what it measured, in words, and throws Wrong when that is not right.
"""

import array
import math
import operator
import random

import lecture_reading as reading

SAMPLES_PER_MS = reading.RATE // 1000
LEAST_PSNR = 38             # dB, where pictures were encoded anew
PROBES = 20
WINDOW = 200 * SAMPLES_PER_MS
SEARCH = 100                # samples to either side
FADE_MS = 10                # rows may fade over less than this
REACH_MS = 1500             # how far from its edge a row is listened to
LEAST_LIKENESS = 0.8
MOST_LEVEL_CHANGE = 1.0     # dB
H264_TAIL_MS = 500          # pictures before a cut may be coded from one behind it


class Wrong(Exception):
    pass


def demand(condition, words):
    if not condition:
        raise Wrong(words)


class Stretch:
    """Picture packets of the source that must have come over untouched: [start, end) moved by shift."""

    def __init__(self, start, end, shift):
        self.start, self.end, self.shift = start, end, shift


def untouched_stretches(frames, keys):
    """What no rule allows to be encoded: what is played from a key of the source on, until something is left out or a
    slide begins where the source has no key. Standing still changes nothing, unless a slide begins meanwhile."""
    stretches, clean, following = [], False, None
    for frame in frames:
        start = frame.source_time(frame.pos)
        if frame.is_hold():
            clean = clean and frame.src == following and not frame.slide
            following = frame.src
            continue
        end = start + frame.end - frame.pos
        clean = start in keys or (clean and start == following and not frame.slide)
        from_key = start if clean else min((key for key in keys if start < key < end), default=None)
        if from_key is not None:
            stretches.append(Stretch(from_key, end, frame.pos - start))
            clean = True
        following = end
    return stretches


class Mixed:
    """A mixed file beside the play list that it was made from and the packets of its source."""

    def __init__(self, play_list, path, source_packets, codec):
        self.list, self.path, self.codec = play_list, path, codec
        self.source = {packet.time: packet for packet in source_packets}
        self.packets = {packet.time: packet for packet in reading.picture_packets(path)}
        self.container = reading.container(path)
        self.keys = {packet.time for packet in source_packets if packet.key}
        self.source_times = sorted(self.source)
        self.times = sorted(self.packets)

    # ---- length and keys ---------------------------------------------------------------------

    def duration(self):
        length = self.list.length()
        for name, value in (("QV_DURATION", int(self.container.tags.get("QV_DURATION", -1))),
                            ("the head", self.container.duration_ns / 10**6)):
            demand(value == length, f"{name} tells {value} ms, not {length}")
        demand(self.times[0] == 0 and self.times[-1] < length, "pictures outside of the length")
        return f"{length} ms"

    def key_places(self):
        """Keys at slide starts and at each source key that is played, told alike by packets, cues and qvtool."""
        keys = [time for time in self.times if self.packets[time].key]
        demand(keys == sorted(self.container.picture_cues), "cues and keyframes differ")
        wanted = {frame.pos for frame in self.list.frames if frame.slide}
        for frame in self.list.frames:
            start = frame.source_time(frame.pos)
            if not frame.is_hold():
                wanted |= {frame.pos + key - start for key in self.keys
                           if start <= key < start + frame.end - frame.pos}
        missing = sorted(wanted.difference(keys))
        demand(not missing, f"{len(missing)} keys missing, the first at {missing[:1]} ms")
        return f"{len(wanted)} wanted, all of {len(keys)} in the cues"

    # ---- packets -----------------------------------------------------------------------------

    def copied_packets(self):
        """Every packet that nobody touched is there, byte for byte; those of a stretch's end may be new in H.264."""
        must = tails = 0
        for stretch in untouched_stretches(self.list.frames, self.keys):
            expected = {time for time in self.source_times if stretch.start <= time < stretch.end}
            found = {time - stretch.shift for time in self.times
                     if stretch.start + stretch.shift <= time < stretch.end + stretch.shift}
            demand(expected == found, f"{len(expected ^ found)} packets too many or too few "
                                      f"from {stretch.start} ms of the source")
            for time in expected:
                same = self.source[time].hash == self.packets[time + stretch.shift].hash
                in_tail = self.codec == "h264" and time >= stretch.end - H264_TAIL_MS
                demand(same or in_tail, f"the packet of {time} ms was changed")
                must += same
                tails += not same
        copied = sum(map(self.is_copied, self.times))
        words = f"{must} of {must + tails} untouched are identical"
        words += f", {tails} before a cut are new" if tails else ""
        return f"{words}; {copied / len(self.times):.2%} of all {len(self.times)} copied"

    def copied_share(self):
        return sum(map(self.is_copied, self.times)) / len(self.times)

    def is_copied(self, time):
        """Whether the packet of a picture of the result is its source's own."""
        frame = self.frame_at(time)
        stands = last_at(self.source_times, frame.source_time(time))
        return self.source[stands].hash == self.packets[time].hash

    def frame_at(self, time):
        return next(frame for frame in self.list.frames if frame.pos <= time < frame.end)

    # ---- pictures ----------------------------------------------------------------------------

    def probe_times(self):
        """Where rows begin (also a little into holds), as many as fit into half of the probes; the others anywhere."""
        rng = random.Random(f"probes {self.path.parent.name}")
        edges = [frame.pos for frame in self.list.frames if frame.is_hold() or self.follows_cut(frame)]
        edges += [frame.pos + (frame.end - frame.pos) // 2 for frame in self.list.frames if frame.is_hold()]
        edges += [self.times[i] for i in range(len(self.times)) if not self.is_copied(self.times[i])][::5]
        edges = rng.sample(edges, min(len(edges), PROBES * 2 // 3))
        return sorted(edges + [rng.randrange(self.list.length()) for _ in range(PROBES - len(edges))])

    def follows_cut(self, frame):
        before = [one for one in self.list.frames if one.end == frame.pos]
        return bool(before) and before[0].src_end != frame.src

    def pictures(self):
        """At each probe the picture is the one that the rows mean, and not the one before or after it."""
        worst, copied, probes = math.inf, 0, self.probe_times()
        for time in probes:
            shown = last_at(self.times, time)
            meant = last_at(self.source_times, self.frame_at(time).source_time(time))
            picture = reading.picture(self.path, shown)
            quality = self.quality(picture, meant)
            if self.is_copied(shown):
                copied += 1
                demand(quality == math.inf, f"the copied picture at {time} ms is not the source's of {meant} ms")
                continue
            demand(quality > LEAST_PSNR, f"{quality:.1f} dB at {time} ms against the source's {meant} ms")
            for other in self.neighbours(meant):
                demand(quality > self.quality(picture, other), f"the picture at {time} ms is more like the source's of "
                                                               f"{other} ms than {meant} ms")
            worst = min(worst, quality)
        new = f", {len(probes) - copied} new: {worst:.1f} dB or more" if copied < len(probes) else ""
        return f"{copied} of {len(probes)} copied: identical{new}"

    def quality(self, picture, source_time):
        return psnr(reading.picture(self.list.sources[0], source_time), picture)

    def neighbours(self, source_time):
        at = self.source_times.index(source_time)
        return self.source_times[max(at - 1, 0):at] + self.source_times[at + 1:at + 2]

    # ---- sound -------------------------------------------------------------------------------

    def sound(self):
        """The sound is as long as told, and inside both edges of each row what is meant is heard, to the sample."""
        edges = [edge for row in self.list.sounds for edge in edges_of(row)]
        heard, long = reading.sound(self.path, [(edge.first, edge.count) for edge in edges])
        demand(long == self.list.length() * SAMPLES_PER_MS, f"the sound has {long} samples")
        meant = self.meant_sound(edges)
        likeness = [compare(edge, meant[edge], heard[edge.first, edge.count]) for edge in edges]
        voiced = [one for one in likeness if one is not None]
        demand(len(voiced) >= len(edges) // 2, "too little sound to compare")
        return f"{long} samples; {len(voiced)} edges off by 0 samples, likeness {min(voiced):.3f} or more, " \
               f"{len(edges) - len(voiced)} silent"

    def meant_sound(self, edges):
        """Each edge's sound as the rows mean it, with SEARCH samples more at either end."""
        meant = {}
        for index in {edge.row.file for edge in edges}:
            here = [edge for edge in edges if edge.row.file == index]
            wide = {edge: (edge.source_first() - SEARCH, edge.count + 2 * SEARCH) for edge in here}
            if index < 0:
                meant.update({edge: array.array("f", bytes(4 * count)) for edge, (_, count) in wide.items()})
                continue
            found, _ = reading.sound(self.list.sources[index], list(wide.values()))
            for edge, window in wide.items():
                gain = edge.row.volume / 100
                meant[edge] = array.array("f", [max(-1.0, min(1.0, gain * one)) for one in found[window]])
        return meant


class Edge:
    """A span of samples just inside one of a row's edges."""

    def __init__(self, row, first, count):
        self.row, self.first, self.count = row, first, count

    def source_first(self):
        return self.row.src * SAMPLES_PER_MS + self.first - self.row.pos * SAMPLES_PER_MS

    def windows(self):
        """Where in it 200 ms can be listened to."""
        return range(0, self.count - WINDOW + 1, WINDOW // 2)


def edges_of(row):
    start, end = (row.pos + FADE_MS) * SAMPLES_PER_MS, (row.end - FADE_MS) * SAMPLES_PER_MS
    count = min(REACH_MS * SAMPLES_PER_MS, end - start)
    return [] if count < WINDOW else [Edge(row, start, count), Edge(row, end - count, count)]


def compare(edge, meant, heard):
    """How like what is heard is to what is meant; None where both are silent.

    meant begins SEARCH samples before heard. The loudest window counts, and there every shift is tried.
    """
    at = max(edge.windows(), key=lambda at: power(meant[SEARCH + at:SEARCH + at + WINDOW]))
    goal = heard[at:at + WINDOW]
    where = f"near {edge.first // SAMPLES_PER_MS} ms"
    if power(meant[SEARCH + at:SEARCH + at + WINDOW]) < WINDOW * 1e-6:
        demand(power(goal) < WINDOW * 4e-6, f"sound where silence is meant, {where}")
        return None
    shifts = {shift: likeness(meant[SEARCH + at + shift:SEARCH + at + shift + WINDOW], goal)
              for shift in range(-SEARCH, SEARCH + 1)}
    best = max(shifts, key=shifts.get)
    demand(best == 0, f"off by {best} samples {where}")
    demand(shifts[0] > LEAST_LIKENESS, f"another sound {where} (likeness {shifts[0]:.3f})")
    level = 10 * math.log10(power(goal) / power(meant[SEARCH + at:SEARCH + at + WINDOW]))
    demand(abs(level) < MOST_LEVEL_CHANGE, f"{level:+.1f} dB {where}")
    return shifts[0]


def power(samples):
    return sum(map(operator.mul, samples, samples))


def likeness(one, other):
    both = power(one) * power(other)
    return sum(map(operator.mul, one, other)) / math.sqrt(both) if both > 0 else 0


def last_at(times, time):
    """The last of rising times that is not behind a time."""
    low, high = 0, len(times)
    while high - low > 1:
        middle = (low + high) // 2
        low, high = (middle, high) if times[middle] <= time else (low, middle)
    return times[low]


def psnr(one, other):
    demand(len(one) == len(other) > 0, "a picture could not be decoded")
    if one == other:
        return math.inf
    error = sum((a - b) ** 2 for a, b in zip(one, other)) / len(one)
    return 10 * math.log10(255 * 255 / error)
