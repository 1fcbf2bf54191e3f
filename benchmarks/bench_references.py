# SPDX-License-Identifier: GPL-3.0-or-later
"""The same work as other programs do it: ffmpeg and melt, with the settings that are fastest there."""

from xml.sax import saxutils

FFMPEG = ["ffmpeg", "-hide_banner", "-loglevel", "error", "-nostdin", "-y"]

# How a picture is encoded where a reference cannot leave it as it is.
PICTURE = {"vp9": {"c:v": "libvpx-vp9", "deadline": "realtime", "cpu-used": "8", "row-mt": "1", "tile-columns": "2",
                   "threads": "2", "b:v": "0", "crf": "34", "g": "50"},
           "h264": {"c:v": "libx264", "preset": "veryfast", "threads": "2", "crf": "23", "g": "50"}}
SOUND = ["-c:a", "libopus", "-b:a", "64k"]
COPY = ["-c:v", "copy"]


def encoded(codec):
    return [part for name, value in PICTURE[codec].items() for part in (f"-{name}", value)]


def remux(source, target):
    return [*FFMPEG, "-i", source, "-map", "0", "-c", "copy", "-f", "matroska", target]


def volume(source, percent, target):
    return [*FFMPEG, "-i", source, *COPY, "-filter:a", f"volume={percent / 100}", *SOUND, "-f", "matroska", target]


def graph(play_list, picture, target):
    """One filter graph that replaces stretches of the first source's sound: each other source is brought to its place
    and its volume, the first one is silent meanwhile, and all are added."""
    inputs = [part for source in play_list.sources for part in ("-i", source)]
    rows = [row for row in play_list.sounds if row.file > 0]
    silent = "+".join(f"between(t,{row.pos / 1000},{row.end / 1000 - 1e-6:.6f})" for row in rows)
    steps = [f"[0:a]volume=0:enable='{silent}'[own]"]
    for i, row in enumerate(rows):
        steps.append(f"[{row.file}:a]atrim={row.src / 1000}:{row.src_end / 1000},volume={row.volume / 100},"
                     f"adelay={row.pos}:all=1,aformat=channel_layouts=mono[s{i}]")
    added = "".join(f"[s{i}]" for i in range(len(rows)))
    steps.append(f"[own]{added}amix=inputs={len(rows) + 1}:normalize=0:duration=first[a]")
    return [*FFMPEG, *inputs, "-filter_complex", ";".join(steps), "-map", "0:v", "-map", "[a]", *picture, *SOUND,
            "-f", "matroska", target]


def melt_project(play_list, fps, path):
    """The same edit as a project for melt, which cuts at its frames. No picture may be held."""
    frames = lambda ms: round(ms * fps / 1000)

    def producer(name, source, without):
        return (f'<producer id="{name}"><property name="mlt_service">avformat</property><property name="resource">'
                f'{saxutils.escape(str(source))}</property><property name="{without}_index">-1</property></producer>')

    def shown(row):
        first, count = frames(row.src), frames(row.end) - frames(row.pos)
        return f'<entry producer="picture" in="{first}" out="{first + count - 1}"/>' if count else ""

    def entry(row):
        first, count = frames(row.src), frames(row.end) - frames(row.pos)
        gain = "" if row.volume == 100 else (f'<filter><property name="mlt_service">volume</property>'
                                             f'<property name="gain">{row.volume / 100}</property></filter>')
        return f'<entry producer="s{row.file}" in="{first}" out="{first + count - 1}">{gain}</entry>'

    lines = [f'<mlt><profile width="1280" height="720" frame_rate_num="{fps}" frame_rate_den="1" progressive="1" '
             'sample_aspect_num="1" sample_aspect_den="1" display_aspect_num="16" display_aspect_den="9" '
             'colorspace="601"/>', producer("picture", play_list.sources[0], "audio")]
    lines += [producer(f"s{i}", source, "video") for i, source in enumerate(play_list.sources)]
    lines += ['<playlist id="seen">', *map(shown, play_list.frames), "</playlist>",
              '<playlist id="heard">', *map(entry, play_list.sounds), "</playlist>",
              '<tractor id="main"><track producer="seen" hide="audio"/><track producer="heard" hide="video"/>',
              "</tractor></mlt>"]
    path.write_text("\n".join(lines), encoding="utf-8")
    return path


def melt(project, codec, target):
    # melt has names of its own for some of the settings.
    names = {"c:v": "vcodec", "b:v": "vb"}
    picture = [f"{names.get(name, name)}={value}" for name, value in PICTURE[codec].items()]
    return ["melt", "-silent", project, "-consumer", f"avformat:{target}", "real_time=-1", "terminate_on_pause=1",
            *picture, "acodec=libopus", "ab=64k", "channels=1", "frequency=48000"]


def decode_sound(source):
    return [*FFMPEG, "-i", source, "-vn", "-f", "null", "-"]


def encode_sound(source, kbit, channels, target):
    return [*FFMPEG, "-i", source, "-vn", "-c:a", "libopus", "-b:a", f"{kbit}k", "-ac", channels, "-f", "matroska",
            target]


def thumbnails(source, times, folder):
    """One process that seeks to each of the times. A thread each is quickest for a single picture."""
    inputs = [part for time in times for part in ("-threads", "1", "-ss", f"{time / 1000}", "-i", source)]
    outputs = [part for i, time in enumerate(times)
               for part in ("-map", f"{i}:v:0", "-frames:v", "1", "-vf",
                            "scale=160:120:force_original_aspect_ratio=decrease", "-c:v", "mjpeg", "-threads", "1",
                            folder / f"{time}.jpg")]
    return [*FFMPEG, *inputs, *outputs]


def read_through(path):
    return ["sh", "-c", 'cat "$0" | cat >/dev/null', path]
