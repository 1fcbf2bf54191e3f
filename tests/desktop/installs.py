#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Installs the program into a folder and uses it from there, as a desktop and a person do.

    installs.py CMAKE BUILDFOLDER WORKFOLDER
"""

import os
import pathlib
import re
import signal
import subprocess
import sys

sys.path.insert(0, str(pathlib.Path(__file__).parents[1] / "person"))
from desk import Desk, output, until  # noqa: E402

CUT = b"slide 3\nseek 3392\nsplit\nseek 6912\nsplit\nselect 16\nremove\ndrag 18 -1000\nsave\n"
PROJECT = "application/x-mirrane-project"
ROOT = b'<tallowin version="7.0">\r\n<project/>\r\n</tallowin>\r\n'
DECLARED = b'<?xml version="1.0" encoding="UTF-8"?>\r\n'

# What a file is called and begins with, and what it is.
KINDS = (
    ("project.qvp", DECLARED + ROOT, PROJECT),
    ("project.qvp", b"\xef\xbb\xbf" + DECLARED + ROOT, PROJECT),
    ("project.qvp", (DECLARED + ROOT).decode().replace("UTF-8", "UTF-16").encode("utf-16"), PROJECT),
    ("Lecture 1.qvp", ROOT, PROJECT),
    ("project.qvp.mix.tmp", b'<?xml version="1.0" encoding="gb2312" standalone="yes"?>\n<!-- old -->\n' + ROOT, PROJECT),
    ("project.qvp.__", b"\xef\xbb\xbf" + ROOT, PROJECT),
    ("other.xml", DECLARED + b"<project/>", "application/xml"),
    ("notes.txt", b"A document begins with <tallowin> and", "text/plain"),
    ("media.qv", b"\x1a\x45\xdf\xa3", "video/x-mirrane-recording"),
    ("voice.qva", b"\x1a\x45\xdf\xa3", "audio/x-mirrane-sound"),
)

# The words of a line, the last of them unfinished, and what bash makes of it in a folder with lecture/ and talk.mp4.
COMPLETIONS = (
    (["qvtool", "ve"], ["verify"]),
    (["qvtool", "--json", "verify", "--w"], ["--whole"]),
    (["qvtool", "--js"], ["--json"]),
    (["qvtool", "new", "--slides", "ta"], ["talk.mp4"]),
    (["qvtool", "new", "--title", "ta"], []),
    (["qvtool", "new", "--title", "x", "t"], ["talk.mp4"]),
    (["qvtool", "new", "talk.mp4", ""], ["lecture"]),
    (["qvtool", "info", ""], ["lecture"]),
    (["mirrane-editor", "--o"], ["--open"]),
    (["mirrane-editor", "--open", "lecture/"], ["lecture/project.qvp", "lecture/thumbnails"]),
)


def quiet(*command):
    """Nothing is to be said, on success neither."""
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
    assert (done.returncode, done.stdout) == (0, ""), (command, done.stdout)


def install(cmake, build, prefix):
    output(cmake, "--install", build, "--prefix", prefix)
    source = pathlib.Path(__file__).resolve().parents[2]
    for file in filter(pathlib.Path.is_file, prefix.rglob("*")):
        content = file.read_bytes()
        for place in (source, build, prefix):
            assert os.fsencode(place) not in content, f"{file} holds {place}"
        if content.startswith(b"\x7fELF"):
            assert not re.search(r"\((RPATH|RUNPATH)\)", output("readelf", "-d", file).decode()), file


def check_documents(share):
    quiet("desktop-file-validate", share / "applications/mirrane-editor.desktop")
    output("appstreamcli", "validate", "--no-net", *share.glob("metainfo/*"))
    for page in share.glob("man/man1/*"):
        quiet("groff", "-man", "-ww", "-z", "-Tutf8", page)
    quiet("update-mime-database", share / "mime")
    quiet("update-desktop-database", share / "applications")


def check_kinds(gio):
    for name, content, kind in KINDS:
        found, _ = gio.content_type_guess(name, content)
        assert found == kind, f"{name}, {content}: {found}, not {kind}"
    for kind, parent in (("video/x-mirrane-recording", "video/x-matroska"), ("audio/x-mirrane-sound", "audio/x-matroska")):
        assert gio.content_type_is_a(kind, parent), f"{kind} is no {parent}"


def check_tool(prefix, work):
    lecture = work / "lecture"
    tool = prefix / "bin/qvtool"
    output(tool, "demo", lecture)
    told = output(tool, "edit", lecture, input=CUT).decode()
    assert '"ok":false' not in told and '"cmd":"save"' in told, told
    output(tool, "verify", "--whole", lecture)
    versions = [output(prefix / "bin" / name, "--version").split()[-1] for name in ("qvtool", "mirrane-editor")]
    assert versions[0] == versions[1], versions
    return lecture


def completed(words, folder):
    """As bash does it: it finds the function for the command by itself."""
    script = r'''source /usr/share/bash-completion/bash_completion
        _completion_loader "$1"
        function=$(complete -p "$1") && function=${function#*-F } && function=${function%% *}
        COMP_WORDS=("$@") COMP_CWORD=$(($# - 1)) COMP_LINE="$*" COMP_POINT=${#COMP_LINE}
        "$function" "$1" "${@: -1}" "${@: -2:1}" && printf '%s\n' "${COMPREPLY[@]}"'''
    return output("bash", "-c", script, "bash", *words, cwd=folder).decode().split()


def check_completions(work):
    (work / "talk.mp4").touch()
    for words, wanted in COMPLETIONS:
        got = completed(words, work)
        assert got == wanted, f"{words}: {got}, not {wanted}"


def windows():
    """Those that belong to the desktop entry, by its StartupWMClass: number and title."""
    found = subprocess.run(["xdotool", "search", "--onlyvisible", "--class", "^mirrane-editor$"], text=True,
                           stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=False).stdout.split()
    return [(window, subprocess.run(["xdotool", "getwindowname", window], text=True, stdout=subprocess.PIPE,
                                    stderr=subprocess.DEVNULL, check=False).stdout) for window in found]


def check_entry(gio, title, *files):
    """The menu entry, or a double click: a window comes, and goes when it is told to."""
    kind, _ = gio.content_type_guess("project.qvp", b"")
    entry = gio.AppInfo.get_default_for_type(kind, False)
    assert entry is not None and entry.get_id() == "mirrane-editor.desktop", entry
    assert entry.launch([gio.File.new_for_path(str(file)) for file in files], None)
    window = until(lambda: [number for number, name in windows() if title in name], f"a window of {title}")[0]
    os.kill(int(output("xdotool", "getwindowpid", window)), signal.SIGTERM)
    until(lambda: not windows(), "the window's end")


def main():
    cmake, build, work = sys.argv[1:]
    with Desk(work) as desk:
        prefix = desk.work / "prefix"
        install(cmake, build, prefix)
        share = prefix / "share"
        # From here on this is a desktop on which the program is installed, with a user who is new.
        os.environ.update(XDG_DATA_DIRS=f"{share}:/usr/share", PATH=f"{prefix}/bin:{os.environ['PATH']}",
                          HOME=str(desk.work / "home"))
        os.mkdir(os.environ["HOME"])
        check_documents(share)
        from gi.repository import Gio    # it looks around once, at its beginning
        check_kinds(Gio)
        files = desk.work / "files"
        files.mkdir()
        lecture = check_tool(prefix, files)
        check_completions(files)
        check_entry(Gio, str(lecture), lecture / "project.qvp")
        check_entry(Gio, "Mirrane")
        left = {path.name for path in pathlib.Path(os.environ["HOME"]).iterdir()}
        assert left <= {".cache", ".config", ".local"}, f"left in the home folder: {left}"


if __name__ == "__main__":
    main()
