# SPDX-License-Identifier: GPL-3.0-or-later
"""What is measured, and beside what. A case prints its figures as they come and leaves a line for the summary."""

import json
import statistics

import bench_edits as edits
import bench_measure as measure
import bench_playing as players
import bench_references as references
import bench_seeks as seeks
import lecture_checks as checks
import lecture_reading as reading
import lecture_rows as rows
from bench_measure import Job

THUMBS = 30
IMPORT_KBIT = 128
FPS = 10
CLOCK_MS = 20
GROWTH_KB = 2048
MOST_PEAK_MB = 100
ABOUT_THE_SAME = 1.25       # how much more memory three hours may take than one


class Bench:
    """What all cases need, and the lines of the summary."""

    def __init__(self, media, work, given):
        self.media, self.work, self.runs, self.codec = media, work, given.runs, given.codec
        self.patience, self.minutes = given.patience, given.minutes
        self.short = 10
        self.hour, self.long = (10, 30) if given.quick else (60, 180)
        self.tool, self.bin = media.tool, media.tool.parent
        self.title, self.summary = "", []

    def lecture(self, minutes):
        path = self.media.lecture(self.codec, minutes)
        return path, reading.duration_ms(path)

    def heading(self, title):
        self.title = title
        print(f"\n{title}", flush=True)

    def race(self, ours, others):
        """Measures ours beside the others, each a pair of a job and what is aimed at: ('at least', 2) times our time,
        ('at most', 1.5) times its time, or None. Returns what ours spent."""
        spent = measure.race([ours] + [job for job, _ in others], self.runs, self.patience)
        print(f"    {ours.name:<34} {measure.told(spent[0])}")
        for (job, aim), its in zip(others, spent[1:]):
            print(f"    {job.name:<34} {measure.told(its)}   {self.compare(job, aim, spent[0], its)}")
            if job.settings:
                print(f"        {job.settings}")
        return spent[0]

    def compare(self, job, aim, ours, its):
        ratio = measure.median(its) / measure.median(ours)
        if aim is None:
            return f"{ratio:.2f} times our time"
        kind, bound = aim
        words = f"{ratio:.2f} times our time" if kind == "at least" else f"ours takes {1 / ratio:.2f} times its time"
        reached = ratio >= bound if kind == "at least" else 1 / ratio <= bound
        return self.conclude(job.name, words, f"{kind} {bound}", reached)

    def conclude(self, name, words, aim, reached):
        verdict = "reached" if reached else "short of it"
        self.summary.append((self.title, name, words, aim, verdict))
        return f"{words}; aim {aim}: {verdict}"

    # ---- jobs of ours ------------------------------------------------------------------------

    def mix(self, play_list, name):
        folder = self.work / name
        folder.mkdir(exist_ok=True)
        play_list.write(folder / "rows.txt")
        return Job("qvtool mix", [self.tool, "mix", folder / "rows.txt", folder], output=folder / "media.qv",
                   length=play_list.length())

    def peaks(self, path, length):
        def check(words):
            if len(words.split()) != length // 64:
                raise RuntimeError("another number of peaks than asked for")
        return Job("qvtool peaks, nothing kept", [self.tool, "peaks", path], fresh_cache=self.work / "cache",
                   check=check)

    def verify(self, path):
        return Job("qvtool verify --whole", [self.tool, "verify", "--whole", path])

    def import_sound(self, source, length=None, kbit=IMPORT_KBIT):
        target = self.work / "import.qva"
        return Job("qvtool import", [self.tool, "--audio-bitrate", kbit, "import", source, target], output=target,
                   length=length)

    def thumbs(self, path):
        """Thumbnails are made beside the media file, so it gets a place in the work folder."""
        times = list(map(int, reading.told([self.tool, "keys", path]).split()))
        times = [times[i * len(times) // THUMBS] for i in range(THUMBS)]
        folder = self.work / f"thumbs-{path.stem}"
        folder.mkdir(exist_ok=True)
        link, listed = folder / "media.qv", folder / "list.txt"
        link.unlink(missing_ok=True)
        link.symlink_to(path)
        listed.write_text("".join(f"{time}\n" for time in times))
        made = folder / "thumbnails"
        return times, Job("make_thumbs", [self.bin / "make_thumbs", link, listed], output=made,
                          check=lambda _: expect_files(made, times))

    def cut_and_held(self, minutes):
        path, length = self.lecture(minutes)
        return rows.cut_and_held(path, length, self.media.slides(self.codec, minutes), self.media.imports()[4])

    def target(self):
        return self.work / "reference.mkv"


def expect_files(folder, times):
    missing = [time for time in times if not (folder / f"{time}.jpg").stat().st_size]
    if missing:
        raise RuntimeError(f"empty thumbnails: {missing}")


# ---- cases -----------------------------------------------------------------------------------

def replaced(bench):
    """b: stretches of the sound replaced"""
    path, length = bench.lecture(bench.short)
    play_list = rows.replaced(path, length, bench.media.imports())
    bench.heading(f"Ten stretches of sound replaced at several volumes, {bench.short} minutes")
    measure.warm(*play_list.sources)
    target, codec = bench.target(), references.PICTURE[bench.codec]
    settings = ", ".join(f"{name} {value}" for name, value in codec.items()) + "; libopus 64k"
    melt_project = references.melt_project(play_list, FPS, bench.work / "project.mlt")
    bench.race(bench.mix(play_list, "b"), [
        (Job("melt", references.melt(melt_project, bench.codec, target), output=target, length=length,
             settings=f"encodes the picture anew, as it has no other way: {settings}; {FPS} frames/s, cuts at frames"),
         ("at least", 20)),
        (Job("ffmpeg, one filter graph",
             references.graph(play_list, references.encoded(bench.codec), target), output=target, length=length,
             settings=f"encodes the picture anew, as editors with one graph for all do: {settings}"), ("at least", 13)),
        (Job("ffmpeg, the picture copied", references.graph(play_list, references.COPY, target), output=target,
             length=length, settings="the same graph for the sound alone; -c:v copy; libopus 64k"), None)])


def untouched(bench):
    """a: nothing edited"""
    path, length = bench.lecture(bench.hour)
    play_list = rows.untouched(path, length)
    bench.heading(f"Nothing edited, {bench.hour} minutes")
    measure.warm(path)
    bench.race(bench.mix(play_list, "a"), [
        (Job("ffmpeg -c copy", references.remux(path, bench.target()), output=bench.target(), length=length,
             settings="to Matroska, without checksums, not flushed to the disk (ours: both)"), ("at least", 1))])


def volume(bench):
    """all of the sound at 90 percent"""
    path, length = bench.lecture(bench.hour)
    play_list = rows.untouched(path, length, 90)
    bench.heading(f"All of the sound at 90 percent, {bench.hour} minutes")
    measure.warm(path)
    bench.race(bench.mix(play_list, "volume"), [
        (Job("ffmpeg", references.volume(path, 90, bench.target()), output=bench.target(), length=length,
             settings="-c:v copy -filter:a volume=0.9 -c:a libopus -b:a 64k"), ("at least", 2))])


def peaks(bench):
    """the waveform, the first time"""
    path, length = bench.lecture(bench.hour)
    bench.heading(f"Peaks of the sound, the first time, {bench.hour} minutes")
    measure.warm(path)
    bench.race(bench.peaks(path, length), [
        (Job("ffmpeg, decoding only", references.decode_sound(path), settings="-vn -f null -"), ("at least", 2))])


def import_sound(bench):
    """an mp3 imported"""
    source = bench.media.spoken("long.mp3")
    bench.heading("Import of 10 minutes of mp3")
    ours = bench.import_sound(source, reading.duration_ms(source))
    measure.run_once(ours)
    channels = reading.channels(ours.output)
    target = bench.target()
    bench.race(ours, [
        (Job("ffmpeg", references.encode_sound(source, IMPORT_KBIT, channels, target), output=target,
             length=ours.length, settings=f"-c:a libopus -b:a {IMPORT_KBIT}k -ac {channels}, as ours"),
         ("at least", 1.9))])


def verify(bench):
    """the whole verification"""
    start = Job("start of qvtool", [bench.tool, "--version"])
    for minutes in (bench.hour, bench.long):
        path, _ = bench.lecture(minutes)
        bench.heading(f"Whole verification, {minutes} minutes, {path.stat().st_size / 1e6:.0f} MB")
        measure.warm(path)
        bench.race(bench.verify(path), [
            (Job("cat file | cat >/dev/null", references.read_through(path)), ("at most", 1.5)),
            (start, None)])


def thumbnails(bench):
    """thirty thumbnails"""
    path, _ = bench.lecture(bench.hour)
    bench.heading(f"Thirty thumbnails, {bench.hour} minutes")
    measure.warm(path)
    times, ours = bench.thumbs(path)
    folder = bench.work / "reference-thumbs"
    folder.mkdir(exist_ok=True)
    bench.race(ours, [
        (Job("ffmpeg, thirty seeks", references.thumbnails(path, times, folder),
             check=lambda _: expect_files(folder, times),
             settings="one process, -threads 1, scale=160:120:force_original_aspect_ratio=decrease, mjpeg"),
         ("at least", 4))])


def cut_and_held(bench):
    """c: pieces cut out, the picture held"""
    play_list = bench.cut_and_held(bench.hour)
    bench.heading(f"Three pieces cut out, the picture held twice, {bench.hour} minutes")
    measure.warm(*play_list.sources)
    ours, source, target = bench.mix(play_list, "c"), play_list.sources[0], bench.target()
    bench.race(ours, [
        (Job("ffmpeg -c copy", references.remux(source, target), output=target,
             settings="the whole lecture, for comparison: this is not the same work"), None)])
    mixed = checks.Mixed(play_list, ours.output, reading.picture_packets(source), bench.codec)
    share = mixed.copied_share()
    print(f"    {share:.2%} of its {len(mixed.times)} picture packets are the source's own, byte for byte")


IN_PROCESS_AIMS = {"KeptPeaks/whole": 5, "QuickVerify": 10}    # ms
TIMELINE_AIMS = {"SetPlayList/untouched": 5, "SetPlayList/edited": 5, "SetPlayList/written": 5,
                 "Undo/1000": 1000}


def in_process(bench):
    """what an editor asks while somebody waits"""
    path, _ = bench.lecture(bench.hour)
    bench.heading(f"In the editor's own process, {bench.hour} minutes")
    timed_by_itself(bench, [bench.bin / "engine_benchmark", path, bench.work / "desk"], IN_PROCESS_AIMS)


def timeline(bench):
    """play lists and undoing in a long lecture"""
    bench.heading("Play lists of 2,000 slides over 8 hours; 1,000 steps undone")
    timed_by_itself(bench, [bench.bin / "timeline_benchmark", bench.work / "desk"], TIMELINE_AIMS)


SEEKS = 50
MOST_SEEK_MS = 60


def seek(bench):
    """exact seeks behind an edit"""
    path, length = bench.lecture(bench.hour)
    bench.heading(f"{SEEKS} exact seeks, {bench.hour} minutes of {bench.codec}")
    measure.warm(path)
    places, ours, others = seeks.places(length, SEEKS), [], []
    for _ in range(bench.runs):
        measure.wait_for_quiet(bench.patience)
        ours += seeks.ours(bench.bin / "seek_benchmark", path, places)
        measure.wait_for_quiet(bench.patience)
        with seeks.Mpv(path) as mpv:
            others += [mpv.seek(place) for place in places]
    most = seeks.percentile(ours, 0.95)
    print(f"    {'the player':<34} {seeks.told(ours)}")
    print(f"    {'':<34} {bench.conclude('95% of them', f'{most:.1f} ms', f'under {MOST_SEEK_MS} ms', most < MOST_SEEK_MS)}")
    ratio = statistics.median(others) / statistics.median(ours)
    words = bench.conclude("mpv", f"{ratio:.2f} times our time", "at least 1", ratio >= 1)
    print(f"    {'mpv':<34} {seeks.told(others)}   {words}")
    print(f"        {' '.join(seeks.Mpv.SETTINGS)}; seek absolute+exact, until playback-restart")


MOST_OPENING_S = 0.5
MOST_OPENING_MB = 200
OPENED_SLIDES = 200
MOST_EDIT_MS = 80
EDITS = 60


def editing(bench):
    """a long project opened and edited"""
    project = bench.media.project(bench.codec, bench.long, OPENED_SLIDES)
    bench.heading(f"A project of {bench.long} minutes and {OPENED_SLIDES} slides, opened and edited")
    measure.warm(project / "media.qv")
    script, places = edits.cuts(edits.slides(bench, project), EDITS)
    opening = edits.job(bench, "opened, the first slide shown", project, ["dump"])
    cutting = edits.job(bench, f"and {EDITS} cuts, each with two seeks", project, script)
    opened, cut = measure.race([opening, cutting], bench.runs, bench.patience)
    pictures = seeks.ours(bench.bin / "seek_benchmark", project / "media.qv", [0, *places])
    seconds, peak = measure.median(opened), max(spent.peak_mb for spent in opened)
    print(f"    {opening.name:<34} {measure.told(opened)}")
    print(f"    {cutting.name:<34} {measure.told(cut)}")
    print(f"    {'seeks in it with their picture':<34} {seeks.told(pictures[1:])}; to the start {pictures[0]:.1f} ms")
    edit_ms = (measure.median(cut) - seconds) / EDITS * 1000 + seeks.percentile(pictures[1:], 0.95)
    shown = seconds + pictures[0] / 1000
    for name, words, aim, reached in (
            ("opening, with the picture", f"{shown:.3f} s", f"under {MOST_OPENING_S} s", shown < MOST_OPENING_S),
            ("memory", f"{peak:.0f} MB", f"under {MOST_OPENING_MB} MB", peak < MOST_OPENING_MB),
            ("a cut and its seek, with the picture", f"{edit_ms:.1f} ms", f"under {MOST_EDIT_MS} ms",
             edit_ms < MOST_EDIT_MS)):
        print(f"    {name:<34} {bench.conclude(name, words, aim, reached)}")


MOST_BEYOND_DECODING = 0.25     # of a core


def playing(bench):
    """a lecture played in the window"""
    project = bench.work / "played"
    edits.copy(bench.media.project(bench.codec, bench.hour, SAVED_SLIDES), project)
    media = project / "media.qv"
    bench.heading(f"Playing at its own pace, {bench.codec}, 1280 x 720")
    measure.warm(media)
    rounds = []
    with players.display() as environment:
        for _ in range(bench.runs):
            measure.wait_for_quiet(bench.patience)
            rounds.append((players.ours(bench.bin / "mirrane-editor", project, environment),
                           players.decoding(media, environment), players.mpv(media, environment)))
    ours, decoding, mpv = map(statistics.median, zip(*rounds))
    if ours < decoding / 2:
        raise RuntimeError("the editor does not play")
    for name, used in (("the editor", ours), ("ffmpeg -re, decoding only", decoding), ("mpv --vo=x11", mpv)):
        print(f"    {name:<34} {used:6.1%} of a core")
    beyond = ours - decoding
    print(f"    {'':<34} " + bench.conclude("beyond decoding", f"{beyond:.1%} of a core",
                                            f"under {MOST_BEYOND_DECODING:.0%}", beyond < MOST_BEYOND_DECODING))


SAVED_SLIDES = 40


def saving(bench):
    """ten edits saved"""
    kept = bench.media.project(bench.codec, bench.hour, SAVED_SLIDES)
    project, target = bench.work / "saved", bench.target()
    bench.heading(f"Ten edits of {bench.hour} minutes, saved")
    edited = edits.ten_edits(edits.slides(bench, kept), bench.media.imports())
    play_list = edits.play_list(bench, kept, edited)
    prepare = lambda: edits.copy(kept, project)
    ours = edits.job(bench, "qvtool edit, opened, edited, saved", project, [*edited, "save"], prepare)
    unsaved = edits.job(bench, "the same without saving", project, edited, prepare)
    codec = references.PICTURE[bench.codec]
    melt_project = references.melt_project(play_list, FPS, bench.work / "saved.mlt")
    spent = bench.race(ours, [
        (unsaved, None),
        (Job("ffmpeg -c copy", references.remux(kept / "media.qv", target), output=target,
             settings="to Matroska, nothing edited, without checksums, not flushed, not verified (ours: all)"), None)])
    melt = Job("melt, once", references.melt(melt_project, bench.codec, target), output=target,
               length=play_list.length(), settings="encodes the picture anew, as it has no other way: "
               + ", ".join(f"{name} {value}" for name, value in codec.items()) + f"; libopus 64k; {FPS} frames/s")
    its = [measure.run_once(melt, bench.patience)]
    print(f"    {melt.name:<34} {measure.told(its)}   {bench.compare(melt, ('at least', 5), spent, its)}")
    print(f"        {melt.settings}")


def timed_by_itself(bench, program, aims):
    """Runs a program that measures what it does; an aim is the ms that a step of that name must stay under."""
    command = program + [f"--benchmark_repetitions={bench.runs}", "--benchmark_format=json"]
    measure.wait_for_quiet(bench.patience)
    times = {}
    for result in json.loads(reading.told(command))["benchmarks"]:
        if result.get("error_occurred"):
            raise RuntimeError(f"{result['name']}: {result['error_message']}")
        if result["run_type"] == "iteration":
            times.setdefault(result["run_name"].removesuffix("/real_time"), []).append(result["real_time"])
    for name, its in times.items():
        median, aim = statistics.median(its), aims.get(name)
        words = f"{median:.3f} ms"
        print(f"    {name:<34} {bench.conclude(name, words, f'under {aim} ms', median < aim) if aim else words}")


MOST_INFO_S = 0.3


def info(bench):
    """facts of a project of eight hours and 2,000 slides"""
    folder = bench.media.big_project()
    bench.heading("Facts of a project of 8 hours, 2,000 slides")
    job = Job("qvtool info", [bench.tool, "info", folder])
    measure.run_once(job)
    spent = measure.race([job], bench.runs, bench.patience)[0]
    median = measure.median(spent)
    print(f"    {job.name:<34} {measure.told(spent)}   "
          f"{bench.conclude(job.name, f'{median:.3f} s', f'under {MOST_INFO_S} s', median < MOST_INFO_S)}")


def memory(bench):
    """the most memory that each job holds"""
    bench.heading(f"Most memory held, {bench.hour} and {bench.long} minutes")
    floor = measure.run_once(Job("nothing", ["true"])).peak_mb
    print(f"    Below {floor:.0f} MB nothing can be told: what starts the jobs holds as much.")
    jobs = [memory_jobs(bench, minutes) for minutes in (bench.hour, bench.long)]
    for one, three in zip(*jobs):
        first, second = measure.run_once(one), measure.run_once(three)
        same = second.peak_mb < ABOUT_THE_SAME * max(first.peak_mb, floor)
        reached = same and max(first.peak_mb, second.peak_mb) < MOST_PEAK_MB
        words = bench.conclude(one.name, f"{first.peak_mb:.0f} and {second.peak_mb:.0f} MB",
                               f"under {MOST_PEAK_MB} MB, about the same", reached)
        print(f"    {one.name:<34} {words}   ({first.seconds:.1f} and {second.seconds:.1f} s)")


def memory_jobs(bench, minutes):
    path, length = bench.lecture(minutes)
    target = bench.work / "container.qv"

    def mix(name, play_list):
        job = bench.mix(play_list, f"memory-{name}-{minutes}")
        job.name = f"mix, {name}"
        return job

    recording = bench.media.recording(bench.codec, minutes)
    return [Job("container", [bench.tool, "container", recording, target], output=target, length=length),
            mix("nothing edited", rows.untouched(path, length)),
            mix("all at 90 percent", rows.untouched(path, length, 90)),
            mix("stretches replaced", rows.replaced(path, length, bench.media.imports())),
            mix("cut and held", bench.cut_and_held(minutes)),
            bench.peaks(path, length), bench.import_sound(recording, length, 64), bench.verify(path),
            Job("qvtool verify", [bench.tool, "verify", path]), bench.thumbs(path)[1]]


def recording(bench):
    """a voice is recorded at normal speed, without a loss"""
    bench.heading(f"A recording of {bench.minutes:g} minutes at normal speed")
    target = bench.work / "take.qva"
    words = reading.told([bench.bin / "recording_benchmark", target, bench.minutes, bench.media.spoken("60")])
    clock, length, lost, early, late = map(int, words.split())
    print(f"    {clock} ms by the clock, {length} ms in the file, {lost} samples lost, memory {early} KB, then {late} KB")
    bench.conclude("length against the clock", f"{length - clock:+d} ms", f"within {CLOCK_MS} ms",
                   abs(length - clock) <= CLOCK_MS)
    bench.conclude("samples lost", str(lost), "none", lost == 0)
    bench.conclude("memory grows by", f"{late - early} KB", f"at most {GROWTH_KB} KB", late - early <= GROWTH_KB)


CASES = {"b": replaced, "a": untouched, "volume": volume, "peaks": peaks, "import": import_sound, "verify": verify,
         "thumbs": thumbnails, "c": cut_and_held, "process": in_process, "timeline": timeline, "seek": seek, "info": info, "playing": playing,
         "editing": editing, "saving": saving, "recording": recording,
         "memory": memory}
