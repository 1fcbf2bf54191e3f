# SPDX-License-Identifier: GPL-3.0-or-later
"""What a session with the editor works with."""

import json
import pathlib
import re

from desk import output
from editor import Editor


class Bench:
    """The programs, a lecture, and a voice to lay over it."""

    def __init__(self, programs, desk):
        self.programs = pathlib.Path(programs)
        self.desk = desk
        self.lecture = desk.work / "lecture"
        self.tool("demo", self.lecture)

    def tool(self, *arguments):
        return output(self.programs / "qvtool", *arguments).decode()

    def script(self, folder, *lines):
        """Runs the same by a script. Returns what its commands tell."""
        told = output(self.programs / "qvtool", "edit", folder, input="\n".join(lines).encode())
        results = [json.loads(line) for line in told.splitlines()]
        assert all(result["ok"] for result in results), results
        return results

    def voice(self, seconds):
        """A tone that rises all the time sounds like no other moment of itself."""
        file = self.desk.work / "voice.wav"
        output("ffmpeg", "-v", "error", "-y", "-f", "lavfi", "-i",
               f"aevalsrc='0.4*sin(2*PI*(300*t+20*t*t))':d={seconds}:s=48000", file)
        return file

    def editor(self):
        return Editor(self.desk, self.programs / "mirrane-editor", "--open", self.lecture).wait_for_window()

    def whole(self):
        told = self.tool("verify", "--whole", self.lecture)
        assert "media.qv: sound" in told and "agrees with it" in told, told

    def files(self, folder=None):
        """The files of a lecture. Of the log without when and where it was written."""
        folder = folder or self.lecture
        files = {file.relative_to(folder): file.read_bytes() for file in folder.rglob("*") if file.is_file()}
        log = pathlib.Path("step_log_mix.txt")
        files[log] = re.sub(rb"\(\d[0-9/: ]+\)|/\S+/", b"", files.get(log, b""))
        return files
