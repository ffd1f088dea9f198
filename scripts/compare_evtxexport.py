#!/usr/bin/env python3
"""Compares what tarnlex says of EVTX logs with what evtxexport (libevtx) says, value by value.

Usage: compare_evtxexport.py TARNLEX LOG...

The XML of evtxexport is turned into named values by the rules that docs/output.md gives for columns;
its text forms are turned into ours where the two are known to differ. What is left over is printed,
by class, and makes the exit code 1.
"""
import collections
import re
import shutil
import sys
import tempfile

import comparing
import event_xml

ISO_TIME = re.compile(r"^(\d{4})-(\d\d)-(\d\d)T(\d\d:\d\d:\d\d)\.(\d{3,9})Z$")
GUID = re.compile(r"^\{([0-9A-Fa-f]{8}(-[0-9A-Fa-f]{4}){3}-[0-9A-Fa-f]{12})\}$")


def our_records(tarnlex, log, diags):
    """Rows of a one-table dump, as (record id, event id, columns)."""
    header, rows = comparing.our_rows(tarnlex, log, "-diags", diags)
    records = []
    for cells in rows:
        # Behind the fixed columns stand those of the values, before the last the log's name.
        values = {n: c for n, c in zip(header[6:-1], cells[6:-1]) if c not in ("", "[null]")}
        records.append((int(cells[0]), int(cells[1]), values))
    return records


def first_of_each(values):
    """Named values as a table without -complete has them: the first of each name."""
    found = {}
    for name, text in values:
        if text:
            found.setdefault(name, text)
    return found


def their_records(log):
    """What evtxexport reads of a log: (record id, event id, values), or (None, error, nothing)."""
    records = []
    for record in event_xml.evtxexport_records(log):
        if record.problem:
            records.append((None, record.problem, {}))
            continue
        values = first_of_each(record.values)
        records.append((record.identifier, int(values.get("EventID", "0")), values))
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
    if ours in (theirs, our_form(theirs)):
        return True
    guid = GUID.match(theirs)
    return bool(guid and ours.lower() in (guid.group(1).lower(), theirs.lower()))


def data_texts(values):
    """The texts of all unnamed "Data" elements in order, multi-strings taken apart."""
    names = sorted(n for n in values if n == "Data" or re.match(r"Data_\d\d+$", n))
    texts = [t for n in names for t in our_form(values[n]).split("; ")]
    return [t for t in texts if t.strip()]


def explain(name, ours, theirs, our_values, their_values_, partial):
    """The known reason for a difference of one value, or None."""
    if partial:
        return partial
    if event_xml.CONTROLS.sub("?", ours) == our_form(theirs):
        return "control characters: no XML can hold them"
    if ours.startswith("-") and theirs.isdigit() and int(ours) + 2**64 == int(theirs):
        return "UInt64 above the signed range: written signed here"
    if not ours and theirs.startswith("1601-01-01T00:00:00.0"):
        return "FILETIME 0: no instant here"
    if name.startswith("Data") and data_texts(our_values) == data_texts(their_values_):
        return "multi-string: one text here, an element each there"
    if ours == "false" and theirs == "true":
        return "Boolean of four bytes whose first is zero"
    if not theirs and "<" in ours:
        return "text that is XML: printed there as if it were the event's own"
    if not ours and any("<" in t and name in t for t in our_values.values()):
        return "text that is XML: printed there as if it were the event's own"
    if not theirs and not ours.replace("[LF]", "").replace("[CR]", "").replace("[CRLF]", "").strip():
        return "white space only: left out there"
    return None


def reads_on(ours, theirs, log_bytes):
    """Whether `ours` is a single-byte string of the log that goes on behind `theirs` to its zero byte."""
    text = ours.encode("utf-8", "surrogateescape")
    return ours.startswith(theirs) and theirs != "" and text + b"\0" in log_bytes


def partial_records(diags):
    """Why a record came out in part, as the account gives it, by record identifier."""
    found = {}
    reason = None
    for line in open(diags, encoding="utf-8", errors="replace"):
        if not line.startswith("  "):
            reason = line.split(":")[0] if line.startswith("records ") else None
        elif line.startswith("  record ") and reason:
            found[int(line.split()[1])] = reason
    return found


def compare(tarnlex, log):
    with tempfile.NamedTemporaryFile(suffix=".txt") as diags:
        ours = our_records(tarnlex, log, diags.name)
        partial = partial_records(diags.name)
    with open(log, "rb") as file:
        log_bytes = file.read()
    theirs = their_records(log)
    explained = collections.Counter()
    open_questions = comparing.Differences()
    by_id = collections.defaultdict(list)
    for record in ours:
        by_id[int(record[2].get("EventRecordID", record[0]))].append(record)
    for record_id, event_id, values in theirs:
        if record_id is None:
            open_questions.note("their XML does not parse", event_id)
            continue
        if not by_id[record_id]:
            open_questions.note("record missing", record_id)
            continue
        header_id, our_id, our_values = by_id[record_id].pop(0)
        if our_id != event_id:
            open_questions.note("event id", (record_id, our_id, event_id))
        for name in values.keys() | our_values.keys():
            a, b = our_values.get(name, ""), values.get(name, "")
            if same(a, b):
                continue
            reason = explain(name, a, b, our_values, values, partial.get(header_id))
            if reason is None and reads_on(a, b, log_bytes):
                reason = "single-byte string: read to its zero byte here, beyond its size"
            if reason:
                explained[reason] += 1
            else:
                open_questions.note("value", (record_id, name, a[:150], b[:150]))
    only_ours = sum(len(records) for records in by_id.values())
    print(f"{log}: {len(ours)} records, evtxexport {len(theirs)}, only here {only_ours}")
    for kind, count in sorted(explained.items()):
        print(f"  {count:6} {kind}")
    open_questions.show()
    return len(theirs), not open_questions.counts


def main():
    if shutil.which("evtxexport") is None:
        print("skipped: evtxexport is not installed")
        return
    results = [compare(sys.argv[1], log) for log in sys.argv[2:]]
    records = sum(count for count, _ in results)
    open_logs = sum(1 for _, good in results if not good)
    print(f"{len(results)} logs, {records} records of evtxexport, "
          f"{open_logs} logs with differences that no rule explains")
    sys.exit(1 if open_logs or not records else 0)


main()
