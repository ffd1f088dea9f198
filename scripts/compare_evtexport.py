#!/usr/bin/env python3
"""Compares what tarnlex says of EVT logs with what evtexport (libevt) says, value by value.

Usage: compare_evtexport.py [--complete] TARNLEX LOG...

The texts of evtexport are cleaned as cells are: carriage returns and tabs away, line feeds and
commas to semicolons. What then differs is printed, by class, and makes the exit code 1. Two
classes are only counted. The record that a log which came round has cut in two, its beginning at
the end of the file and its rest behind the header, is no record to tarnlex. In a stale copy that
was written over half way, evtexport goes on to read strings past the number the record states.

With --complete the rows are those of -complete: the record that was cut in two is there, and of records that
are the same in all that either reader shows there is one.
"""
import collections
import datetime
import re
import subprocess
import sys

import comparing

LEVELS = {0: "info", 1: "error", 2: "warn", 4: "info", 8: "a-pass", 10: "a-fail"}


def our_records(tarnlex, log, options):
    """Rows of a one-table dump, as dictionaries of texts."""
    header, rows = comparing.our_rows(tarnlex, log, *options)
    return [dict(zip(header[:-1], cells)) for cells in rows]


def our_time(text):
    """The time of evtexport in the form of a cell; empty for the one that stands for none."""
    time = datetime.datetime.strptime(text, "%b %d, %Y %H:%M:%S UTC")
    return "" if time == datetime.datetime(1970, 1, 1) else time.strftime("%m/%d/%Y %H:%M:%S.000")


def cleaned(text):
    return text.replace("\r", "").replace("\t", "").replace("\n", ";").replace(",", ";")


def strings_of(text, count):
    """The insertion strings of one record; they may hold line feeds."""
    strings = []
    for number in range(1, count + 1):
        head = re.match(rf"String: {number}\t+: ", text)
        if head is None:
            raise ValueError(f"string {number} of {count} not found at {text[:60]!r}")
        text = text[head.end():]
        follows = re.search(rf"\nString: {number + 1}\t+: ", text) if number < count else None
        end = follows.start() if follows else len(text.rstrip("\n"))
        strings.append(text[:end])
        text = text[end + 1:]
    return strings


def their_record(part):
    fields, rest = {}, part
    while rest and not rest.startswith("String: ") and not rest.startswith("\n"):
        line, _, rest = rest.partition("\n")
        name, _, value = line.partition(":")
        fields[name.strip()] = value[1:]
    count = int(fields.get("Number of strings", "0"))
    record = {
        "Record#": fields["Event number"],
        "time": our_time(fields["Creation time"]),
        "Level": LEVELS.get(int(fields["Event type"].rsplit("(", 1)[1].rstrip(")")), "unk"),
        "EventID": str(int(fields["Event identifier"].split()[0], 16) & 0xFFFF),
        "source name": cleaned(fields.get("Source name", "")),
        "computer name": cleaned(fields.get("Computer name", "")),
    }
    for number, text in enumerate(strings_of(rest, count), 1):
        record[f"param_{number:02}"] = cleaned(text)
    return record


def their_records(log):
    run = subprocess.run(["evtexport", "-m", "all", log], capture_output=True, check=False)
    text = run.stdout.decode("utf-8", "surrogateescape")
    starts = [m.start() for m in re.finditer(r"^Event number\t+: \d+\n", text, re.M)]
    return [their_record(text[a:b]) for a, b in zip(starts, starts[1:] + [len(text)])]


def comparable(record):
    """One of our rows under the names of `their_record`, without empty cells."""
    result = {n: c for n, c in record.items() if n not in ("Date", "Time-UTC") and c}
    result["time"] = (record["Date"] + record["Time-UTC"]).strip()
    return result


def wraps(tarnlex, log):
    """Whether the file's last record runs past its end, as our account of the walk says."""
    run = subprocess.run([tarnlex, "-log", log, "-diags", "/dev/stderr", "-quiet"],
                         capture_output=True, check=True)
    return b"a record runs past the end" in run.stderr


def has_only_more_strings(theirs, ours):
    return ours.items() <= theirs.items() and all(
        name.startswith("param_") for name in theirs.keys() - ours.keys())


def take_pairs(theirs, by_number, same):
    """Removes every record of theirs from ours that is the same; returns theirs without partner."""
    left = []
    for record in theirs:
        mine = by_number[record["Record#"]]
        partner = next((each for each in mine if same(record, each)), None)
        if partner is None:
            left.append(record)
        else:
            mine.remove(partner)
    return left


def once_each(records):
    """The records without those that are the same as an earlier one."""
    return list({tuple(sorted(record.items())): record for record in records}.values())


def compare(tarnlex, log, complete):
    options = ["-complete"] if complete else []
    ours = [comparable(record) for record in our_records(tarnlex, log, options)]
    theirs = their_records(log)
    differences = comparing.Differences()
    # Logs that came round hold stale copies: one number may stand for several records.
    by_number = collections.defaultdict(list)
    for record in ours:
        by_number[record["Record#"]].append(record)
    theirs = [{name: text for name, text in record.items() if text} for record in theirs]
    if complete:
        theirs = once_each(theirs)
    unpaired = take_pairs(theirs, by_number, lambda a, b: a == b)
    left = take_pairs(unpaired, by_number, has_only_more_strings)
    missing = []
    for record in left:
        if not by_number[record["Record#"]]:
            missing.append(record["Record#"])
            continue
        mine = by_number[record["Record#"]].pop(0)
        for name in record.keys() | mine.keys():
            a, b = mine.get(name, ""), record.get(name, "")
            if a != b:
                kind = "value " + re.sub(r"\d+", "", name)
                differences.note(kind, (record["Record#"], name, a[:150], b[:150]))
    torn = 1 if not complete and len(missing) == 1 and wraps(tarnlex, log) else 0
    for number in missing[torn:]:
        differences.note("record missing", number)
    for records in by_number.values():
        for record in records:
            differences.note("record only ours", record["Record#"])
    print(f"{log}: {len(ours)} records, evtexport {len(theirs)}, cut in two {torn}, "
          f"with strings past the stated number {len(unpaired) - len(left)}")
    differences.show()
    return bool(theirs) and not differences.counts


def main():
    complete = sys.argv[1] == "--complete"
    tarnlex, *logs = sys.argv[2:] if complete else sys.argv[1:]
    results = [compare(tarnlex, log, complete) for log in logs]
    sys.exit(0 if results and all(results) else 1)


main()
