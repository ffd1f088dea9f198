#!/usr/bin/env python3
"""Compares what tarnlex says of EVTX logs with what evtxexport (libevtx) says, value by value.

Usage: compare_evtxexport.py TARNLEX LOG...

The XML of evtxexport is turned into named values by the rules that docs/output.md gives for columns;
its text forms are turned into ours where the two are known to differ. What is left over is printed,
by class, and makes the exit code 1.
"""
import collections
import re
import subprocess
import sys
from xml.parsers import expat

SEPARATOR = "\x01"
ISO_TIME = re.compile(r"^(\d{4})-(\d\d)-(\d\d)T(\d\d:\d\d:\d\d)\.(\d{3,9})Z$")
GUID = re.compile(r"^\{([0-9A-Fa-f]{8}(-[0-9A-Fa-f]{4}){3}-[0-9A-Fa-f]{12})\}$")


def our_records(tarnlex, log):
    """Rows of a one-table dump, as (record id, event id, columns)."""
    command = [tarnlex, "-log", log, "-csvgen", "-csv_separator", SEPARATOR, "-quiet"]
    # A table is cut at line feeds alone: texts may hold other characters that Python takes for ends.
    run = subprocess.run(command, capture_output=True, check=True)
    lines = run.stdout.decode("utf-8", "surrogateescape").split("\n")[4:]
    if lines and lines[-1] == "":
        lines.pop()
    if not lines:
        return []
    header = lines[0].split(SEPARATOR)
    records = []
    for line in lines[1:]:
        cells = line.split(SEPARATOR)
        if len(cells) != len(header):
            raise SystemExit(f"{log}: a row of {len(cells)} cells under {len(header)} columns")
        # Behind the fixed columns stand those of the values, before the last the log's name.
        values = {n: c for n, c in zip(header[6:-1], cells[6:-1]) if c not in ("", "[null]")}
        records.append((int(cells[0]), int(cells[1]), values))
    return records


def their_values(xml):
    """Named values of one event's XML, the first of each name kept. Names keep their prefixes."""
    values = {}
    open_elements = []  # [key, texts, whether it has children]
    unnamed = 0

    def keep(name, text):
        if text:
            values.setdefault(name, text)

    def start(name, attributes):
        nonlocal unnamed
        if open_elements:
            open_elements[-1][2] = True
        key = name
        for attribute, text in attributes.items():
            if name == "Data" and attribute == "Name":
                key = text
            else:
                keep("Provider " + attribute if name == "Provider" else attribute, text)
        if name == "Data" and "Name" not in attributes:
            unnamed += 1
            key = "Data" if unnamed == 1 else f"Data_{unnamed:02}"
        open_elements.append([key, [], False])

    def text(data):
        open_elements[-1][1].append(data)

    def end(_):
        key, texts, has_children = open_elements.pop()
        joined = "".join(texts)
        # Between children stands only the indentation.
        if not has_children or joined.strip():
            keep(key, joined)

    parser = expat.ParserCreate()
    parser.buffer_text = True
    parser.StartElementHandler = start
    parser.EndElementHandler = end
    parser.CharacterDataHandler = text
    parser.Parse(xml, True)
    return values


def their_records(log):
    run = subprocess.run(["evtxexport", "-f", "xml", log], capture_output=True, check=False)
    text = run.stdout.decode("utf-8", "surrogateescape")
    records = []
    for part in re.findall(r"<Event[ >].*?\n</Event>", text, re.S):
        part = re.sub("[\x00-\x08\x0b\x0c\x0e-\x1f\ufffe\uffff]", "?", part)
        try:
            values = their_values(part)
        except expat.ExpatError as error:
            records.append((None, str(error), {}))
            continue
        records.append((int(values.get("EventRecordID", "-1")), int(values.get("EventID", "0")),
                        values))
    return records


def our_form(text):
    """A text of theirs in the form that a cell of ours has."""
    time = ISO_TIME.match(text)
    if time:
        year, month, day, clock, fraction = time.groups()
        if len(fraction) == 3:  # a SYSTEMTIME
            return f"{month}/{day}/{year} : {clock}:{int(fraction):02}"
        return f"{month}/{day}/{year} {clock}.{fraction:0<9}"
    text = text.replace(",", ";")
    for ends, mark in (("\r\n", "[CRLF]"), ("\n\r", "[LFCR]"), ("\n", "[LF]"), ("\r", "[CR]")):
        text = text.replace(ends, mark)
    return text


def same(ours, theirs):
    if ours == theirs:
        return True
    guid = GUID.match(theirs)
    return bool(guid and ours.lower() in (guid.group(1).lower(), theirs.lower()))


def classify(ours, theirs):
    if not ours:
        return "missing"
    return "other" if theirs else "only ours"


def compare(tarnlex, log):
    ours, theirs = our_records(tarnlex, log), their_records(log)
    differences = collections.Counter()
    examples = {}

    def note(kind, detail):
        differences[kind] += 1
        examples.setdefault(kind, detail)

    by_id = collections.defaultdict(list)
    for record in ours:
        by_id[int(record[2].get("EventRecordID", record[0]))].append(record)
    for record_id, event_id, values in theirs:
        if record_id is None:
            note("their XML does not parse", event_id)
            continue
        if not by_id[record_id]:
            note("record missing", record_id)
            continue
        _, our_id, our_values = by_id[record_id].pop(0)
        if our_id != event_id:
            note("event id", (record_id, our_id, event_id))
        for name in values.keys() | our_values.keys():
            a, b = our_values.get(name, ""), our_form(values.get(name, ""))
            if not same(a, b):
                note("value " + classify(a, b), (record_id, name, a[:150], b[:150]))
    left = sum(len(records) for records in by_id.values())
    if left:
        note("records only ours", left)
    print(f"{log}: {len(ours)} records, evtxexport {len(theirs)}")
    for kind, count in differences.items():
        print(f"  {kind}: {count}, first: {examples[kind]}")
    return not differences


def main():
    results = [compare(sys.argv[1], log) for log in sys.argv[2:]]
    sys.exit(0 if all(results) else 1)


main()
