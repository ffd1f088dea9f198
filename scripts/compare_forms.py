#!/usr/bin/env python3
"""Compares the values of records in all forms of the program: -csvgen -complete, -event_xml, -event_json, -json.

Usage: compare_forms.py [--self-test] TARNLEX [LOG...]

Without a LOG all EVTX logs below the folder that TARNLEX_LOGS names are compared. The forms that are streams
have the records in the order of the file, so they are compared line by line: the texts of all elements and
attributes, as often as they are there, whatever they are called. The table is compared with -event_xml name
by name, as other readers are (compare_readers.py). What differs between forms by design is none: digits of
numbers, braces, capitals, times beyond the microsecond, blanks, and characters that XML cannot hold.

Differences are printed, and make the exit code 1, as does a log in which nothing was there to compare. With
--self-test one value of each line of one form is altered, and every one has to be found.
"""

import argparse
import collections
import json
import multiprocessing
import re
import subprocess
import sys
from collections.abc import Iterator

import compare_readers
import event_xml

GUID = re.compile(r"\{?([0-9A-Fa-f]{8}(?:-[0-9A-Fa-f]{4}){3}-[0-9A-Fa-f]{12})\}?")
HEX = re.compile(r"0[xX][0-9A-Fa-f]+")
INTEGER = re.compile(r"-?\d+")
FLOAT = re.compile(r"-?\d+(\.\d+)?([eE][+-]?\d+)?|NaN|-?inf")
TIME = re.compile(r"(\d{4,5}-\d\d-\d\dT\d\d:\d\d:\d\d)(?:\.(\d+))?Z")
BLANKS = re.compile("[\x00-\x20\x85\xa0\u2028\u2029\ufffd\ufffe\uffff]+")

# The namespace of all events, which -json does not repeat in every line.
NAMESPACE = "http://schemas.microsoft.com/win/2004/08/events/event"

# Members of -json that are said of a record beside what its event holds.
BESIDE = ("Log", "LevelName", "TimeWritten", "Offset", "Report")


def canonical(text: str) -> str:
    """A value's text in the one way that stands for all of its forms; empty for a value without any."""
    text = BLANKS.sub(" ", text).strip()
    guid = GUID.fullmatch(text)
    time = TIME.fullmatch(text)
    if guid:
        return guid[1].lower()
    if time:
        return f"{time[1]}.{(time[2] or '')[:6]:0<6}"
    if HEX.fullmatch(text):
        return str(int(text, 16))
    if INTEGER.fullmatch(text):
        return str(int(text))
    if FLOAT.fullmatch(text):
        return repr(float(text))
    return text.lower() if text.lower() in ("true", "false") else text


def leaves(value: object) -> Iterator[str]:
    """The texts in a JSON value, whatever they stand under."""
    if isinstance(value, dict):
        for inner in value.values():
            yield from leaves(inner)
    elif isinstance(value, list):
        for inner in value:
            yield from leaves(inner)
    elif isinstance(value, bool):
        yield "true" if value else "false"
    elif value is not None:
        yield str(value)


def counted(texts: Iterator[str]) -> collections.Counter[str]:
    """How often each text is there, in its canonical way; empty ones do not count."""
    return collections.Counter(text for text in map(canonical, texts) if text and text != NAMESPACE)


def lines_of(tarnlex: str, log: str, form: str) -> list[str]:
    """The lines of a stream. They end with line feeds alone."""
    run = subprocess.run([tarnlex, "-log", log, form, "-quiet"], capture_output=True, check=True)
    lines = run.stdout.decode("utf-8").split("\n")[:-1]
    return lines[1:-1] if form == "-event_xml" else lines


def xml_values(line: str) -> collections.Counter[str]:
    """The texts of an event's XML."""
    return counted(text for _, text in event_xml.event_values(line))


def event_json_values(line: str) -> collections.Counter[str]:
    """The texts of an event's own structure in JSON."""
    return counted(leaves(json.loads(line)))


def json_values(line: str) -> collections.Counter[str]:
    """The texts that a line of -json has of the event."""
    members = json.loads(line)
    return counted(leaves({name: value for name, value in members.items() if name not in BESIDE}))


STREAMS = {"-event_xml": xml_values, "-event_json": event_json_values, "-json": json_values}


def altered(values: collections.Counter[str], at: int) -> collections.Counter[str]:
    """The same values, but for one of them."""
    changed = collections.Counter(values)
    if not values:
        changed["x"] += 1
        return changed
    text = sorted(values)[at % len(values)]
    changed[text] -= 1
    changed[text + "x"] += 1
    return +changed


def same_by_design(form: str, line: str, more: collections.Counter[str], less: collections.Counter[str]) -> bool:
    """Whether what a form has more and less than -event_xml is what docs/json.md and docs/events.md say.

    A Boolean that is neither 0 nor 1 is its number in -event_json. -json gives a record without an identifier
    of its own that of its header.
    """
    if form == "-event_json":
        numbers = sum(count for text, count in more.items() if INTEGER.fullmatch(text) and text != "0")
        return numbers == more.total() and less == collections.Counter({"true": numbers})
    return not less and more == collections.Counter([str(json.loads(line)["EventRecordID"])])


def compare_streams(tarnlex: str, log: str, self_test: bool) -> tuple[int, int, list[str]]:
    """Records, values, and what differs between the streams of a log; of a self-test what was not found."""
    lines = {form: lines_of(tarnlex, log, form) for form in STREAMS}
    counts = {form: len(found) for form, found in lines.items()}
    if len(set(counts.values())) != 1:
        return 0, 0, [f"records: {counts}"]
    differences = []
    values = 0
    for at, of_record in enumerate(zip(*lines.values())):
        forms = {form: read(line) for (form, read), line in zip(STREAMS.items(), of_record)}
        if self_test:
            form = list(STREAMS)[at % len(STREAMS)]
            forms[form] = altered(forms[form], at)
        first = forms["-event_xml"]
        values += first.total()
        different = [
            form
            for form, line in zip(STREAMS, of_record)
            if forms[form] != first and not same_by_design(form, line, forms[form] - first, first - forms[form])
        ]
        if self_test and not different:
            differences.append(f"line {at + 1}: an altered value was not found")
        elif not self_test and different:
            form = different[0]
            differences.append(
                f"line {at + 1}: {form} has {dict(forms[form] - first)}, -event_xml {dict(first - forms[form])}"
            )
    return counts["-json"], values, differences


def without_replaced(text: str) -> str:
    """A text with a question mark for characters that XML cannot hold, and for what stands for them there."""
    return event_xml.CONTROLS.sub("?", text).replace("\ufffd", "?")


def own_records(tarnlex: str, log: str) -> list[event_xml.Record]:
    """What -event_xml has of a log, as compare_readers.py takes it from other readers.

    A record without an identifier of its own is found by that of its header, which -json gives.
    """
    identifiers = [json.loads(line)["EventRecordID"] for line in lines_of(tarnlex, log, "-json")]
    events = lines_of(tarnlex, log, "-event_xml")
    return [event_xml.record_of(without_replaced(event), own) for event, own in zip(events, identifiers)]


def own_rows(tarnlex: str, log: str) -> list[compare_readers.Row]:
    """The rows of the table."""
    rows = compare_readers.our_records(tarnlex, log, "-complete")
    for row in rows:
        row.values = {name: [without_replaced(text) for text in texts] for name, texts in row.values.items()}
    return rows


def compare_table(tarnlex: str, log: str) -> tuple[int, int, list[str]]:
    """Records, values, and what differs between the table and -event_xml."""
    rows = own_rows(tarnlex, log)
    result = compare_readers.compare_records(rows, own_records(tarnlex, log), log, "-event_xml")
    return (
        result.records,
        result.values,
        [
            f"record {d.record}: {d.kind} {d.name}: {d.ours[:100]!r}, -event_xml {d.theirs[:100]!r}"
            for d in result.differences
            if d.kind != "value lost" or d.theirs != NAMESPACE  # events that do not state it are given it
        ],
    )


def compare_log(tarnlex: str, log: str, self_test: bool) -> tuple[str, int, int, list[str]]:
    """What comes of one log."""
    compare_readers.READERS["-event_xml"] = compare_readers.Reader(
        lambda path: own_records(tarnlex, path), by_header=False, escapes=True, gets_on=True
    )
    records, values, differences = compare_streams(tarnlex, log, self_test)
    if not self_test:
        in_table, of_table, more = compare_table(tarnlex, log)
        differences += more
        values += of_table
        if in_table != records:
            differences.append(f"{in_table} rows of {records} records compared")
    return log, records, values, differences


def main() -> int:
    """Compares all logs, as many at once as there are processors."""
    parser = argparse.ArgumentParser()
    parser.add_argument("--self-test", action="store_true")
    parser.add_argument("tarnlex")
    parser.add_argument("logs", nargs="*")
    chosen = parser.parse_args()
    logs = chosen.logs or compare_readers.logs_at_hand()
    with multiprocessing.Pool() as pool:
        results = pool.starmap(compare_log, [(chosen.tarnlex, log, chosen.self_test) for log in logs], 1)
    for log, _, _, differences in results:
        for difference in differences[:5]:
            print(f"{log}: {difference}")
    records = sum(result[1] for result in results)
    left = sum(len(result[3]) for result in results)
    what = "altered values not found" if chosen.self_test else "differences"
    print(f"{len(logs)} logs, {records} records, {sum(r[2] for r in results)} values compared: {left} {what}")
    return 0 if records > 0 and left == 0 else 1


if __name__ == "__main__":
    sys.exit(main())
