# SPDX-License-Identifier: GPL-3.0-or-later
"""Running programs side by side and telling how long they took."""

import dataclasses
import os
import pathlib
import shutil
import statistics
import subprocess
import sys
import tempfile
import time
import typing

import bench_launcher
import lecture_reading as reading
from bench_launcher import busy_seconds


@dataclasses.dataclass
class Job:
    """A program as it is measured. It starts from a clean slate each time and must have done what it should."""
    name: str
    command: list
    settings: str = ""
    output: pathlib.Path = None         # a file or folder that is removed before each run and must be there afterwards
    length: int = None                  # ms that the output must have, give or take LENGTH_SLACK
    fresh_cache: pathlib.Path = None    # the user's cache folder, emptied before each run
    check: typing.Callable = None       # called with what was printed; throws when it is wrong
    prepare: typing.Callable = None     # called ahead of each run


@dataclasses.dataclass
class Spent:
    seconds: float
    cpu: float
    peak_mb: float
    others: float       # how much of the cores others used meanwhile, 0 to 1


LENGTH_SLACK = 120      # ms; a reference may end with a whole frame
QUIET = 0.05            # of the cores


def wait_for_quiet(patience):
    """Waits until others leave the cores alone for a moment, but no longer than so many seconds."""
    end = time.monotonic() + patience
    while time.monotonic() < end:
        busy = busy_seconds()
        time.sleep(1)
        if busy_seconds() - busy < QUIET * os.cpu_count():
            return


def run_once(job, patience=0):
    """Runs a job to its end, with nothing of others left to be written to the disk."""
    for path in filter(None, (job.output, job.fresh_cache)):
        remove(path)
    if job.prepare:
        job.prepare()
    environment = dict(os.environ)
    if job.fresh_cache:
        environment["XDG_CACHE_HOME"] = str(job.fresh_cache)
    os.sync()
    wait_for_quiet(patience)
    status, words, *used = launch([str(part) for part in job.command], environment)
    if status != 0:
        raise RuntimeError(f"{job.name} failed ({status}): {words[-2000:]}")
    check_result(job, words)
    return Spent(*used)


def launch(command, environment):
    """Runs a command; returns its exit status, what it printed, and what Spent holds."""
    result, told_to = os.pipe()
    launcher = [sys.executable, "-I", "-S", bench_launcher.__file__, str(told_to), *command]
    with os.fdopen(result) as result, tempfile.TemporaryFile() as printed:
        done = subprocess.Popen(launcher, stdin=subprocess.DEVNULL, stdout=printed, stderr=subprocess.STDOUT,
                                env=environment, pass_fds=[told_to])
        os.close(told_to)
        figures = result.read().split()
        done.wait()
        printed.seek(0)
        words = printed.read().decode(errors="replace")
    if not figures:
        raise RuntimeError(f"{command[0]}: {words}")
    status, seconds, cpu, peak, others = int(figures[0]), *map(float, figures[1:])
    return status, words, seconds, cpu, peak / 1024, others / seconds / os.cpu_count()


def remove(path):
    if path.is_dir():
        shutil.rmtree(path)
    else:
        path.unlink(missing_ok=True)


def check_result(job, words):
    if job.output and not job.output.exists():
        raise RuntimeError(f"{job.name} left no {job.output.name}: {words[-2000:]}")
    if job.length is not None:
        found = reading.duration_ms(job.output)
        if abs(found - job.length) > LENGTH_SLACK:
            raise RuntimeError(f"{job.name} made {found} ms, not {job.length}")
    if job.check:
        job.check(words)


def race(jobs, runs, patience=0):
    """Runs each job so many times, one after the other in turns; returns the list of Spent of each."""
    spent = [[] for _ in jobs]
    for _ in range(runs):
        for job, its in zip(jobs, spent):
            its.append(run_once(job, patience))
    return spent


def warm(*paths):
    """Reads files once, so that nobody is the one who waits for the disk."""
    for path in paths:
        with open(path, "rb") as file:
            while file.read(1 << 20):
                pass


def median(spent, what="seconds"):
    return statistics.median(getattr(one, what) for one in spent)


def told(spent):
    """One job's runs in words."""
    times = [one.seconds for one in spent]
    return f"{median(spent):8.3f} s  ({min(times):.3f} .. {max(times):.3f})   cpu {median(spent, 'cpu'):7.2f} s   " \
           f"peak {max(one.peak_mb for one in spent):5.0f} MB   others {median(spent, 'others'):4.0%}"
