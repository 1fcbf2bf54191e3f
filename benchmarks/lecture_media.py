# SPDX-License-Identifier: GPL-3.0-or-later
"""The files that are measured with: made on first use, kept in a folder."""

import pathlib
import subprocess

import lecture_reading as reading

KEY_SECONDS = 5     # between the keyframes of a recording

HERE = pathlib.Path(__file__).resolve().parent
BUILD = HERE.parent / "build"


class Media:
    """Recordings and speech as the scripts beside this make them, and what qvtool makes of those."""

    def __init__(self, folder, tool):
        self.folder, self.tool = folder.resolve(), tool.resolve()
        self.made = self.folder / "made"
        self.made.mkdir(parents=True, exist_ok=True)

    def recording(self, codec, minutes):
        path = self.folder / f"{codec}-{minutes}.mkv"
        if not path.exists():
            print(f"Making {path.name} ...", flush=True)
            run(HERE / "make-lecture", "--minutes", minutes, "--codec", codec, path)
        return path

    def lecture(self, codec, minutes):
        """The recording as a media file."""
        path = self.made / f"{codec}-{minutes}.qv"
        recording = self.recording(codec, minutes)
        if self.outdated(path):
            run(self.tool, "container", recording, path)
        return path

    def slides(self, codec, minutes):
        """Where the slides start in the lecture, in ms."""
        keys = list(map(int, reading.told([self.tool, "keys", self.lecture(codec, minutes)]).split()))
        starts = reading.slide_starts(self.recording(codec, minutes))
        return sorted({min(keys, key=lambda key: abs(key - start)) for start in starts})

    def spoken(self, name):
        folder = self.folder / "speech"
        if not (folder / name).exists():
            print("Making speech ...", flush=True)
            run(HERE / "make-speech", folder)
        return folder / name

    def imports(self):
        """Ten short sounds: (.qva, its length in ms)."""
        self.spoken("10.mp3")
        sources = sorted(path for path in (self.folder / "speech").iterdir() if path.stem.isdigit())
        targets = [self.made / f"{path.stem}.qva" for path in sources]
        for source, target in zip(sources, targets):
            if self.outdated(target):
                run(self.tool, "import", source, target)
        return [(target, reading.duration_ms(target)) for target in targets]

    def project(self, codec, minutes, slides):
        """A project of the recording, whose slides all have the same length, to a keyframe of it."""
        folder = self.made / f"{codec}-{minutes}-{slides}-slides"
        if not (folder / "project.qvp").exists():
            step = minutes * 60 / slides
            listed = self.made / "slides.txt"
            starts = [round(i * step / KEY_SECONDS) * KEY_SECONDS for i in range(slides)]
            listed.write_text("".join(f"{start * 1000} Slide {i + 1}\n" for i, start in enumerate(starts)))
            run(self.tool, "new", self.recording(codec, minutes), folder, "--slides", listed)
        return folder

    def big_project(self):
        """A project of eight hours and 2,000 slides."""
        folder = self.made / "big-project"
        if not folder.exists():
            print("Making a project of eight hours ...", flush=True)
            run(HERE / "make-big-project", self.tool, folder)
        return folder

    def outdated(self, path):
        return not path.exists() or path.stat().st_mtime < self.tool.stat().st_mtime


def run(*command):
    """Runs a program whose words are only of interest when it fails."""
    command = [str(part) for part in command]
    done = subprocess.run(command, capture_output=True, text=True)
    if done.returncode != 0:
        raise RuntimeError(f"{' '.join(command)}: {done.stderr.strip() or done.returncode}")
