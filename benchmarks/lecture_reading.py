# SPDX-License-Identifier: GPL-3.0-or-later
"""What ffprobe, mkvinfo and ffmpeg say of a media file."""

import array
import json
import re
import subprocess
import typing

QUIET = ("-hide_banner", "-loglevel", "error")
RATE = 48000


class Packet(typing.NamedTuple):
    time: int       # ms
    key: bool
    hash: str


def told(command):
    """What a program prints."""
    return subprocess.run([str(part) for part in command], check=True, capture_output=True, text=True).stdout


def probe(path, *entries):
    return json.loads(told(["ffprobe", "-loglevel", "error", "-of", "json", *entries, path]))


def duration_ms(path):
    return round(float(probe(path, "-show_entries", "format=duration")["format"]["duration"]) * 1000)


def channels(path):
    return probe(path, "-select_streams", "a:0", "-show_entries", "stream=channels")["streams"][0]["channels"]


def slide_starts(path):
    """The chapters' starts in ms."""
    return [round(float(chapter["start_time"]) * 1000) for chapter in probe(path, "-show_chapters")["chapters"]]


def picture_packets(path):
    """Of the first picture track, in the order of the file."""
    text = told(["ffprobe", "-loglevel", "error", "-select_streams", "v:0", "-show_entries",
                 "packet=pts,flags,data_hash", "-show_data_hash", "SHA256", "-of", "csv=p=0", path])
    rows = (line.split(",") for line in text.split())
    return [Packet(int(pts), flags.startswith("K"), digest) for pts, flags, digest in rows]


class Container(typing.NamedTuple):
    duration_ns: int
    tags: dict
    clusters: list      # (place, bytes with the head) of each
    picture_cues: list  # ms


def container(path):
    """The elements of a file as mkvinfo lists them; the picture is its track 1."""
    found, cue_ms, name = Container(0, {}, [], []), 0, ""
    with subprocess.Popen(["mkvinfo", "-a", "-P", "-z", str(path)], stdout=subprocess.PIPE, text=True) as listing:
        for line in listing.stdout:
            what = line.lstrip("|+ ")
            if what.startswith("Duration: "):
                found = found._replace(duration_ns=nanoseconds(what))
            elif what.startswith("Cluster at "):
                found.clusters.append(tuple(map(int, re.match(r"Cluster at (\d+) size (\d+)", what).groups())))
            elif what.startswith("Name: "):
                name = what.split()[1]
            elif what.startswith("String: "):
                found.tags[name] = what.split()[1]
            elif what.startswith("Cue time: "):
                cue_ms = nanoseconds(what) // 10**6
            elif what.startswith("Cue track: 1 "):
                found.picture_cues.append(cue_ms)
    if listing.returncode != 0:
        raise RuntimeError(f"{path}: mkvinfo finds it faulty")
    return found


def nanoseconds(text):
    hours, minutes, seconds, rest = map(int, re.search(r"(\d+):(\d+):(\d+)\.(\d{9})", text).groups())
    return ((hours * 60 + minutes) * 60 + seconds) * 10**9 + rest


def picture(path, time):
    """The planes of the picture that begins at a time in ms, decoded from the key before it."""
    command = ["ffmpeg", *QUIET, "-copyts", "-seek_timestamp", "1", "-ss", f"{max(time - 0.5, 0) / 1000:.4f}",
               "-threads", "2", "-i", str(path), "-map", "0:v:0", "-frames:v", "1", "-pix_fmt", "yuv420p",
               "-f", "rawvideo", "-"]
    return subprocess.run(command, check=True, capture_output=True).stdout


def sound(path, windows):
    """Windows (first sample, count) of a file's sound as one channel at 48 kHz, decoded in one pass from its start.

    Returns the windows' samples, with silence for what lies outside of the sound, and how long the sound is.
    """
    found = {window: array.array("f", bytes(4 * window[1])) for window in windows}
    # Told to make one channel of two by itself, ffmpeg would make it 3 dB louder.
    one = ("-af", "pan=mono|c0=0.5*c0+0.5*c1") if channels(path) == 2 else ()
    command = ["ffmpeg", *QUIET, "-i", str(path), "-map", "0:a:0", *one, "-ar", str(RATE), "-f", "f32le", "-"]
    at = 0
    with subprocess.Popen(command, stdout=subprocess.PIPE) as decoder:
        while data := decoder.stdout.read(4 * RATE):
            piece = array.array("f", data)
            for first, count in windows:
                start, end = max(at, first), min(at + len(piece), first + count)
                if start < end:
                    found[first, count][start - first:end - first] = piece[start - at:end - at]
            at += len(piece)
    if decoder.returncode != 0:
        raise RuntimeError(f"{path}: the sound cannot be decoded")
    return found, at
