#!/usr/bin/env python3
"""Counts what readers of event logs recover of logs, and how much of it the logs' bytes bear out.

usage: count_recovered.py TARNLEX LOG...

Readers are tarnlex -recover, evtxexport (evtexport for EVT logs) -m recovered and, where it is installed,
evtx_dump --recover-records. A line for each of them and each log:

  records   that it says were recovered
  bare      of these, that it gives no provider, or one that cannot be printed
  foreign   of these, that it gives a provider that no record of the log has. There are true ones:
            logs that were exported have records of other logs in their slack
  proved    of these, that tarnlex gives the same provider and event identifier, class all or system
  against   of these, that tarnlex gives another provider or event identifier, or none, as class none
  copies    of these, that are copies of records of the log

Records of two readers are the same when their identifiers are, for evtxexport the times in their headers, as in logs
that were exported the identifiers of events are not those of their records. Of several logs a sum comes last.
"""

import collections
import datetime
import json
import re
import shutil
import subprocess
import sys
from typing import NamedTuple


COLUMNS = ("records", "bare", "foreign", "proved", "against", "copies")


class Record(NamedTuple):
    """What is compared of a record."""

    key: str  # what tells it from others: its identifier, or the time in its header
    provider: str
    event_id: int | None


def output_of(*command: str) -> str:
    """What a program writes, whatever its exit code says: damaged logs end many with another than 0."""
    run = subprocess.run(command, capture_output=True, check=False)
    return run.stdout.decode("utf-8", "replace")


def our_records(tarnlex: str, log: str, key: str) -> tuple[list[Record], list[Record]]:
    """Records of the log, and recovered ones, told apart by one of their members."""
    live, recovered = [], []
    for line in output_of(tarnlex, "-log", log, "-recover", "-json", "-quiet").splitlines():
        event = json.loads(line)
        record = Record(str(event.get(key)), event.get("Provider", ""), event.get("EventID"))
        (recovered if "Recovered" in event else live).append(record)
    return live, recovered


def our_time(text: str) -> str:
    """A time as evtxexport writes it, in the form of TimeWritten."""
    match = re.fullmatch(r"(.*)\.(\d{7})\d* UTC", text)
    if not match:
        return text
    return datetime.datetime.strptime(match[1], "%b %d, %Y %H:%M:%S").isoformat() + f".{match[2]}Z"


def exported_records(program: str, log: str, key: str) -> list[Record]:
    """What evtxexport or evtexport recover."""
    records = []
    for part in output_of(program, "-m", "recovered", log).split("\nEvent number\t")[1:]:
        number = re.match(r"\s*: (\d+)", part)
        written = re.search(r"^Written time\t+: (.*)", part, re.M)
        provider = re.search(r"^Source name\t+: (.*)", part, re.M)
        event_id = re.search(r"^Event identifier\t+: 0x[0-9a-f]+ \((\d+)\)", part, re.M)
        told = our_time(written[1]) if written and key == "TimeWritten" else number[1] if number else ""
        code = int(event_id[1]) & 0xFFFF if event_id else None
        records.append(Record(told, provider[1] if provider else "", code))
    return records


def number_of(value: object) -> int | None:
    """The number of an element, with or without attributes."""
    if isinstance(value, dict):
        value = value.get("#text")
    try:
        return int(str(value))
    except ValueError:
        return None


def dumped_records(program: str, log: str, *options: str) -> list[Record]:
    """What evtx_dump gives."""
    records = []
    for line in output_of(program, "-o", "jsonl", *options, log).splitlines():
        try:
            system = json.loads(line)["Event"]["System"]
        except (ValueError, KeyError, TypeError):
            continue
        provider = (system.get("Provider") or {}).get("#attributes", {}).get("Name") or ""
        key = str(number_of(system.get("EventRecordID")))
        records.append(Record(key, str(provider), number_of(system.get("EventID"))))
    return records


def dump_recovered(program: str, log: str) -> list[Record]:
    """What evtx_dump gives beyond what it gives without recovering."""
    more = collections.Counter(dumped_records(program, log, "--recover-records"))
    more.subtract(dumped_records(program, log))
    return list((+more).elements())


def judge(records: list[Record], live: list[Record], ours: list[Record]) -> collections.Counter[str]:
    """The numbers of one reader."""
    providers = {record.provider for record in live}
    keys = {record.key for record in live}
    known = collections.defaultdict(set)
    for record in ours:
        known[record.key].add(record)
    counts = collections.Counter(records=len(records))
    for record in records:
        bare = not record.provider or not record.provider.isprintable()
        recovered = known.get(record.key, set())
        counts["bare"] += bare
        counts["foreign"] += not bare and record.provider not in providers
        counts["proved"] += not bare and record in recovered
        counts["against"] += not bare and bool(recovered) and record not in recovered
        counts["copies"] += not recovered and record.key in keys
    return counts


def count(tarnlex: str, log: str) -> dict[str, collections.Counter[str]]:
    """What all readers that are there make of one log."""
    with open(log, "rb") as file:
        is_evt = file.read(8)[4:] == b"LfLe"
    live, ours = our_records(tarnlex, log, "EventRecordID")
    counts = {"tarnlex": judge(ours, live, ours)}
    exporter, key = ("evtexport", "EventRecordID") if is_evt else ("evtxexport", "TimeWritten")
    if shutil.which(exporter):
        counts[exporter] = judge(exported_records(exporter, log, key), *our_records(tarnlex, log, key))
    if shutil.which("evtx_dump") and not is_evt:
        counts["evtx_dump"] = judge(dump_recovered("evtx_dump", log), live, ours)
    return counts


def show(title: str, counts: dict[str, collections.Counter[str]]) -> None:
    """Prints the numbers of all readers."""
    print(f"{title:<14}", *(f"{column:>8}" for column in COLUMNS))
    for reader, numbers in counts.items():
        print(f"  {reader:<12}", *(f"{numbers[column]:>8}" for column in COLUMNS))


def main() -> None:
    """Counts for every log of the command line."""
    if len(sys.argv) < 3:
        raise SystemExit(__doc__)
    sums: dict[str, collections.Counter[str]] = collections.defaultdict(collections.Counter)
    for log in sys.argv[2:]:
        counts = count(sys.argv[1], log)
        print(log)
        show("recovered by", counts)
        for reader, numbers in counts.items():
            sums[reader] += numbers
    if len(sys.argv) > 3:
        print("all logs")
        show("recovered by", sums)


if __name__ == "__main__":
    main()
