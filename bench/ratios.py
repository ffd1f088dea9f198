#!/usr/bin/env python3
"""Times commands in turn, so that all of them meet the machine at the same pace.

usage: ratios.py RUNS REFERENCE NAME=COMMAND...

Every COMMAND is run by a shell RUNS times after one run that does not count: the first of each,
then the second of each, and so on. REFERENCE is one of the names. A command finds in $OUT the name
of a file in memory that does not exist; what it leaves there is removed when its time has been
taken. A command that writes over what it wrote before has to give all of that back first, which is
no work of its own and makes ratios smaller than they are. Printed for each of the others:
how many times as long the reference takes by processor time (user and system, of the command and
all that it waited for) and by the clock, as ratios of medians, then the medians in seconds.
"""

import os
import statistics
import sys
import tempfile
import time


def run(command: str, out: str) -> tuple[float, float]:
    """Runs `command`; returns its processor time and clock time in seconds. Exits if it fails."""
    began = time.perf_counter()
    child = os.posix_spawn("/bin/sh", ["sh", "-c", command], {**os.environ, "OUT": out})
    _, status, usage = os.wait4(child, 0)
    clock = time.perf_counter() - began
    if os.path.exists(out):
        os.unlink(out)
    if status != 0:
        sys.exit(f"ratios: status {status} of {command}")
    return usage.ru_utime + usage.ru_stime, clock


def main() -> None:
    """Reads the command line, times and prints."""
    if len(sys.argv) < 4 or not sys.argv[1].isdecimal() or int(sys.argv[1]) == 0:
        sys.exit(__doc__)
    commands = dict(argument.split("=", 1) for argument in sys.argv[3:])
    reference = sys.argv[2]
    times = {name: [] for name in commands}
    with tempfile.TemporaryDirectory(dir="/dev/shm" if os.path.isdir("/dev/shm") else None) as room:
        out = os.path.join(room, "out")
        for command in commands.values():
            run(command, out)
        for _ in range(int(sys.argv[1])):
            for name, command in commands.items():
                times[name].append(run(command, out))
    medians = {
        name: [statistics.median(column) for column in zip(*runs)] for name, runs in times.items()
    }
    for name, (processor, clock) in medians.items():
        if name == reference:
            print(f"{name:<40} {processor:.3f} s processor, {clock:.3f} s clock")
            continue
        print(
            f"{reference} / {name:<{37 - len(reference)}} {medians[reference][0] / processor:5.2f}"
            f" processor, {medians[reference][1] / clock:5.2f} clock"
            f"   ({processor:.3f} s, {clock:.3f} s)"
        )


if __name__ == "__main__":
    main()
