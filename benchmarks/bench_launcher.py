# SPDX-License-Identifier: GPL-3.0-or-later
"""Runs one program and tells what it took.

    python3 -I -S bench_launcher.py FD COMMAND...

Writes to the descriptor FD: the exit status, seconds, seconds of the cores, the most memory held in kB, and seconds
that the cores worked for others meanwhile. Linux counts the memory of whoever starts a program as the program's own,
so this does as little as it can before it does.
"""

import os
import sys
import time


def busy_seconds():
    """What all cores together have worked since the machine started."""
    with open("/proc/stat", encoding="ascii") as file:
        user, nice, system, _, _, interrupts, soft, stolen = map(int, file.readline().split()[1:9])
    return (user + nice + system + interrupts + soft + stolen) / os.sysconf("SC_CLK_TCK")


def main():
    out, command = int(sys.argv[1]), sys.argv[2:]
    busy, begun = busy_seconds(), time.monotonic()
    child = os.posix_spawnp(command[0], command, os.environ)
    _, status, used = os.wait4(child, 0)
    seconds, cpu = time.monotonic() - begun, used.ru_utime + used.ru_stime
    others = max(0, busy_seconds() - busy - cpu)
    os.write(out, f"{os.waitstatus_to_exitcode(status)} {seconds} {cpu} {used.ru_maxrss} {others}".encode())


if __name__ == "__main__":
    main()
