#!/usr/bin/env python3
"""Tests that scripts/count_recovered.py tells what is borne out from what is not, and that
"scripts/count_recovered.py tarnlex Cleared.evtx" says what docs/recovery.md shows.

usage: count_recovered_test.py TARNLEX LOG   (a log that was cleared, EVTX)

Beside the readers that are installed one is counted that gives a record as it is, one under another provider,
one without, one of the log, and one that nobody else gives.
"""

import json
import os
import subprocess
import sys
import tempfile

SCRIPTS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "scripts")
sys.path.insert(0, SCRIPTS)

import count_recovered


def event(record: count_recovered.Record, provider: str | None) -> str:
    """A line as evtx_dump writes it."""
    name = {} if provider is None else {"#attributes": {"Name": provider}}
    system = {"Provider": name, "EventID": record.event_id, "EventRecordID": int(record.key)}
    return json.dumps({"Event": {"System": system}})


def write_reader(folder: str, lines: list[str]) -> None:
    """A program that gives these lines when it is asked to recover, and none else."""
    path = os.path.join(folder, "evtx_dump")
    with open(path, "w", encoding="utf-8") as file:
        file.write("#!/bin/sh\ncase \"$*\" in *--recover-records*) cat <<'END'\n")
        file.write("\n".join(lines) + "\nEND\nesac\n")
    os.chmod(path, 0o755)


def rows(tarnlex: str, log: str) -> dict[str, list[int]]:
    """What the program prints of each reader."""
    command = [sys.executable, os.path.join(SCRIPTS, "count_recovered.py"), tarnlex, log]
    lines = subprocess.run(command, capture_output=True, check=True, text=True).stdout.splitlines()
    assert lines[0] == log and lines[1].split()[2:] == list(count_recovered.COLUMNS), lines[:2]
    return {line.split()[0]: [int(number) for number in line.split()[1:]] for line in lines[2:]}


def main() -> None:
    """Fails at the first number that is another."""
    tarnlex, log = sys.argv[1:]
    live, ours = count_recovered.our_records(tarnlex, log, "EventRecordID")
    assert live and len(ours) > 4
    with tempfile.TemporaryDirectory() as folder:
        os.environ["PATH"] = f"{folder}:{os.environ['PATH']}"
        strange = count_recovered.Record("987654321", "", 1)
        write_reader(folder, [event(ours[0], ours[0].provider), event(ours[1], "Elsewhere"), event(ours[2], None),
                              event(live[0], live[0].provider), event(strange, "Elsewhere"), "no JSON"])
        numbers = rows(tarnlex, log)
    providers = {record.provider for record in live}
    foreign = sum(record.provider not in providers for record in ours)
    assert numbers["tarnlex"] == [len(ours), 0, foreign, len(ours), 0, 0], numbers
    own_is_foreign = ours[0].provider not in providers
    assert numbers["evtx_dump"] == [5, 1, 2 + own_is_foreign, 1, 1, 1], numbers
    exported = numbers.get("evtxexport")
    assert exported is None or (exported[0] > 0 and exported[3] == exported[0]), numbers
    shown = f"  {'tarnlex':<12}" + "".join(f" {number:>8}" for number in numbers["tarnlex"])
    with open(os.path.join(SCRIPTS, "..", "docs", "recovery.md"), encoding="utf-8") as file:
        assert shown in file.read().splitlines(), shown


if __name__ == "__main__":
    main()
