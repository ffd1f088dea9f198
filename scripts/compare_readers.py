#!/usr/bin/env python3
"""Compares every value of every record that other readers see in EVTX logs with the row of -complete.

Usage: compare_readers.py [--default] [--reader NAME]... TARNLEX [LOG...]

Without a LOG all below the folder that TARNLEX_LOGS names are compared. The readers are `evtx` (the
package from PyPI) and `evtxexport` (libevtx), both if none is named, and each has to be there.

A record's values are the texts of its elements and attributes. Each has to stand in the record's row
under its own name, or that name with _02, _03 ..., as often as in the record and in that order, and the row
holds nothing else. The columns in front of the values have to say what those say. A difference of FORMS is
none; a difference that EXCEPTIONS explains is counted. Any other is printed, by class, and makes the
exit code 1, as do logs in which nothing was there to compare.

With --default the rows are those without -complete, and what they lose is counted.
"""

import argparse
import collections
import dataclasses
import glob
import multiprocessing
import os
import re
import sys
from collections.abc import Callable, Iterator

import comparing
import event_xml

Values = dict[str, list[str]]

NUMBERED = re.compile(r"_\d{2,}$")
LINE_BREAKS = (("\r\n", "[CRLF]"), ("\n\r", "[LFCR]"), ("\n", "[LF]"), ("\r", "[CR]"))
HEX = re.compile(r"0[xX][0-9A-Fa-f]+")
INTEGER = re.compile(r"-?\d+")
GUID = re.compile(r"\{?[0-9A-Fa-f]{8}(-[0-9A-Fa-f]{4}){3}-[0-9A-Fa-f]{12}\}?")
THEIR_TIME = re.compile(r"(\d{4,5})-(\d\d)-(\d\d)[T ](\d\d:\d\d:\d\d)(?:\.(\d+))?(?:Z| UTC)?")
OUR_TIME = re.compile(r"(\d\d)/(\d\d)/(\d{4,5}) (\d\d:\d\d:\d\d)\.(\d{9})")
OUR_SYSTEM_TIME = re.compile(r"(\d\d)/(\d\d)/(\d{4,5}) : (\d\d:\d\d:\d\d):(\d{2,3})")
LEVELS = {"": "info", "0": "info", "1": "crit", "2": "error", "3": "warn", "4": "info"}


def cell_form(text: str) -> str:
    """A text as a cell has it: commas and line breaks written as docs/output.md says."""
    text = text.replace(",", ";")
    for ends, mark in LINE_BREAKS:
        text = text.replace(ends, mark)
    return text


def same_controls(ours: str, theirs: str) -> bool:
    """Texts with characters that XML cannot hold, each of which is made a question mark to read it."""
    return event_xml.CONTROLS.sub("?", ours) == cell_form(theirs)


def number_of(text: str) -> int | None:
    """The number that a text is in decimal or hexadecimal digits."""
    if HEX.fullmatch(text):
        return int(text, 16)
    return int(text) if INTEGER.fullmatch(text) else None


def same_number(ours: str, theirs: str) -> bool:
    """Hexadecimal digits with or without leading zeros, in capitals or not, or decimal ones."""
    if not (HEX.fullmatch(ours) or HEX.fullmatch(theirs)):
        return False
    number = number_of(ours)
    return number is not None and number == number_of(theirs)


def same_guid(ours: str, theirs: str) -> bool:
    """GUIDs with and without braces, in capitals or not."""
    if not (GUID.fullmatch(ours) and GUID.fullmatch(theirs)):
        return False
    return ours.strip("{}").lower() == theirs.strip("{}").lower()


def their_time(text: str) -> tuple[str, str] | None:
    """A time as seconds, written one way, and as many digits behind them as are there."""
    found = THEIR_TIME.fullmatch(text)
    if found is None:
        return None
    year, month, day, clock, fraction = found.groups()
    return f"{int(year)}-{month}-{day} {clock}", fraction or ""


def our_time(text: str) -> tuple[str, str] | None:
    """The same of a cell."""
    found = OUR_TIME.fullmatch(text)
    if found is None:
        system = OUR_SYSTEM_TIME.fullmatch(text)
        if system is None:
            return None
        month, day, year, clock, milliseconds = system.groups()
        return f"{int(year)}-{month}-{day} {clock}", f"{int(milliseconds):03}000000"
    month, day, year, clock, fraction = found.groups()
    return f"{int(year)}-{month}-{day} {clock}", fraction


def same_time(ours: str, theirs: str) -> bool:
    """Times in their two ways of writing; `evtx` cuts them at the microsecond."""
    a, b = our_time(ours), their_time(theirs)
    if a is None or b is None or a[0] != b[0]:
        return False
    digits = len(b[1])
    return a[1][:digits] == b[1] and (digits >= 6 or not a[1][digits:].strip("0"))


def same_boolean(ours: str, theirs: str) -> bool:
    """Booleans in capitals or not, or as the number that stands for one: true is any but 0."""
    if INTEGER.fullmatch(theirs):
        return ours == ("true" if int(theirs) else "false")
    return ours in ("true", "false") and ours == theirs.lower()


# What is no difference of value, and how it is called when it is counted.
FORMS: tuple[tuple[str, Callable[[str, str], bool]], ...] = (
    ("comma or line break as cells have them", lambda ours, theirs: ours == cell_form(theirs)),
    ("time", same_time),
    ("GUID: braces, capitals", same_guid),
    ("number: hexadecimal or decimal, leading zeros", same_number),
    ("Boolean: capitals, or the number", same_boolean),
    ("control characters: none in XML", same_controls),
)
LIST_FORM = "list: joined here, an element for each there"
XML_FORM = "text that is XML: there as elements"


def form_between(ours: str, theirs: str) -> str | None:
    """The form in which two texts of one value differ, empty for none; None for different values."""
    if ours == theirs:
        return ""
    return next((name for name, same in FORMS if same(ours, theirs)), None)


@dataclasses.dataclass(frozen=True)
class Excepted:
    """A difference that was looked up in the bytes of its log, and who is right."""

    log: str  # the file's name
    reader: str
    records: tuple[int, ...]  # their identifiers
    kind: str  # of the difference
    name: str  # of the value; empty for whole records
    reason: str


@dataclasses.dataclass(frozen=True)
class Reader:
    """Another reader, and what has to be known of it."""

    read: Callable[[str], list[event_xml.Record]]
    by_header: bool  # whether records have the identifiers of their headers, else their EventRecordID
    escapes: bool  # else a text that is XML is printed as if it were the event's own
    gets_on: bool  # behind what is broken, so that it has every record; else some may be only here


READERS = {
    "evtx": Reader(event_xml.evtx_records, by_header=True, escapes=True, gets_on=True),
    "evtxexport": Reader(event_xml.evtxexport_records, by_header=False, escapes=False, gets_on=False),
}

EXCEPTIONS: tuple[Excepted, ...] = (
    Excepted(
        "Application_no_crc32.evtx",
        "evtxexport",
        (441,),
        "value only here",
        "ExtraInfo",
        "white space only: left out there; the value's bytes are 0a 00, a string of one line feed",
    ),
    Excepted(
        "sample_with_a_bad_chunk_magic.evtx",
        "evtx",
        (*range(45963, 46031), *range(47613, 47628)),
        "record only here",
        "",
        "its slot is zeros up to a page, others pass it over; the row has the values of its bytes in order",
    ),
)


@dataclasses.dataclass
class Row:
    """A record as a row of ours has it."""

    identifier: int  # of the record's header
    own: int  # by its EventRecordID, which an exported log leaves as it was; else the header's
    fixed: dict[str, str]
    values: Values
    log: str


@dataclasses.dataclass(frozen=True)
class Difference:
    """What one reader and a row do not agree on."""

    kind: str
    name: str = ""
    ours: str = ""
    theirs: str = ""
    record: int = -1  # its identifier, as the reader gives it


@dataclasses.dataclass
class Result:
    """What came of the comparison of one log with one reader."""

    log: str
    reader: str
    records: int = 0
    values: int = 0
    only_ours: int = 0
    forms: collections.Counter[str] = dataclasses.field(default_factory=collections.Counter)
    explained: collections.Counter[str] = dataclasses.field(default_factory=collections.Counter)
    differences: list[Difference] = dataclasses.field(default_factory=list)


def base_name(name: str) -> str:
    """A value's name without the number that tells it from others of its name."""
    return NUMBERED.sub("", name)


def number_in(name: str) -> int:
    """The number at the end of a value's name; 1 where there is none."""
    return int(name.rsplit("_", 1)[1]) if NUMBERED.search(name) else 1


def grouped(values: list[tuple[str, str]]) -> Values:
    """Texts by name."""
    groups: Values = {}
    for name, text in values:
        groups.setdefault(base_name(name), []).append(text)
    return groups


def filled(values: list[tuple[str, str]]) -> list[tuple[str, str]]:
    """The values that are not empty."""
    return [(name, text) for name, text in values if text]


def integer(text: str) -> int:
    """The number that a cell shows; -1 for none."""
    return int(text) if text.isdigit() else -1


def row_of(header: list[str], cells: list[str]) -> Row:
    """A row of ours: six columns in front, then the values by name, then the log."""
    named = [(n, c) for n, c in zip(header[6:-1], cells[6:-1]) if c != "[null]"]
    named.sort(key=lambda value: number_in(value[0]))
    values = grouped(filled(named))
    identifier = integer(cells[0])
    own = integer(values["EventRecordID"][0]) if "EventRecordID" in values else identifier
    return Row(identifier, own, dict(zip(header[:6], cells)), values, cells[-1])


def our_records(tarnlex: str, log: str, *options: str) -> list[Row]:
    """All rows of a log."""
    tables = comparing.our_tables(tarnlex, log, *options)
    return [row_of(header, cells) for header, rows in tables for cells in rows]


def as_list(texts: list[str]) -> str:
    """Texts as the strings of one value come in a cell; empty ones at its end are left out."""
    last = max((at for at, text in enumerate(texts) if text), default=-1)
    return "; ".join(cell_form(text) for text in texts[: last + 1])


def in_order(ours: list[str], theirs: list[str], with_empty: list[str]) -> list[str] | None:
    """The forms in which the texts under one name differ; None where they are not the same.

    Other readers give an element to each string of a value, empty ones too.
    """
    if len(ours) == len(theirs):
        forms = [form_between(a, b) for a, b in zip(ours, theirs)]
        if None not in forms:
            return [form for form in forms if form]
    return [LIST_FORM] if len(with_empty) > 1 and ours == [as_list(with_empty)] else None


def unmatched(ours: list[str], theirs: list[str]) -> tuple[list[str], list[str]]:
    """What is left of two lists of texts when all that are the same have been put together."""
    added, lost = list(ours), []
    for text in theirs:
        match = next((i for i, one in enumerate(added) if form_between(one, text) is not None), None)
        if match is None:
            lost.append(text)
        else:
            del added[match]
    return added, lost


def differences_under(name: str, row: Values, theirs: Values) -> Iterator[Difference]:
    """What differs between the texts under one name, which are known to differ."""
    ours = row.get(name, [])
    added, lost = unmatched(ours, theirs.get(name, []))
    if not lost and not added:
        yield Difference("order", name, " | ".join(ours), " | ".join(theirs[name]))
    for text in lost:
        other = next((n for n, texts in row.items() if n != name and not unmatched(texts, [text])[1]), None)
        if added:
            yield Difference("another value", name, added.pop(0), text)
        elif other:
            yield Difference("value under another name", name, other, text)
        else:
            yield Difference("value lost", name, "", text)
    for text in added:
        yield Difference("value only here", name, text, "")


def compare_values(
    row: Values, record: event_xml.Record, forms: collections.Counter[str]
) -> list[Difference]:
    """What differs between the values of a row and of another reader's record; counts the forms."""
    found: list[Difference] = []
    theirs, with_empty = grouped(filled(record.values)), grouped(record.values)
    for name in sorted(row.keys() | theirs.keys()):
        a, b = row.get(name, []), theirs.get(name, [])
        if a == b:
            continue
        known = in_order(a, b, with_empty.get(name, []))
        if known is None:
            found.extend(differences_under(name, row, theirs))
        else:
            forms.update(known)
    return found


def with_elements(values: Values) -> Values:
    """The same values, with the elements of texts that are XML in place of these texts."""
    found: list[tuple[str, str]] = []
    for name, texts in values.items():
        for text in texts:
            record = event_xml.record_of(text, 0) if text.startswith("<") else None
            found.extend(record.values if record and not record.problem else [(name, text)])
    return grouped(filled(found))


def agree_as_elements(row: Row, theirs: Values) -> bool:
    """Whether a row's texts that are XML make the record's values, once they are taken for elements."""
    ours = with_elements(row.values)
    if ours == row.values:
        return False
    names = ours.keys() | theirs.keys()
    return all(unmatched(ours.get(name, []), theirs.get(name, [])) == ([], []) for name in names)


def expected_in_front(values: Values, written: str) -> dict[str, str]:
    """What the columns in front of the values have to say of a record, by its own values.

    A record without a time of its own has that of its header.
    """

    def first(name: str) -> str:
        return values[name][0] if values.get(name) else ""

    expected = {
        "EventID": first("EventID") or "0",
        "Level": LEVELS.get(first("Level"), "unk"),
        "Provider Name": cell_form(first("Provider Name")),
    }
    time = their_time(first("SystemTime") or written)
    if time:
        year, month, day = time[0].split(" ")[0].split("-")
        expected["Date"] = f"{month}/{day}/{int(year):04}"
        expected["Time-UTC"] = f" {time[0].split(' ')[1]}.{time[1][:3]:0<3}"
    return expected


def compare_front(row: Row, record: event_xml.Record, log: str, complete: bool) -> Iterator[Difference]:
    """What differs between the columns in front of the values and behind them, and the record."""
    expected = expected_in_front(grouped(filled(record.values)), record.written)
    if not complete:  # then the header's, which is another record's in exported logs
        expected.pop("Date", None)
        expected.pop("Time-UTC", None)
    for name, text in expected.items():
        if row.fixed[name].replace("[null]", "").strip() != text.strip():
            yield Difference("column in front", name, row.fixed[name], text)
    if row.log != log:
        yield Difference("column of the log", "event log", row.log, log)


def compare_record(row: Row, record: event_xml.Record, log: str, reader: str, complete: bool) -> Result:
    """What comes of one record that both have."""
    result = Result(log, reader)
    theirs = grouped(filled(record.values))
    result.differences = compare_values(row.values, record, result.forms)
    if result.differences and not READERS[reader].escapes and agree_as_elements(row, theirs):
        result.differences = []
        result.forms[XML_FORM] += 1
    result.differences.extend(compare_front(row, record, log, complete))
    result.values = sum(len(texts) for texts in theirs.values())
    return result


def explanation(log: str, reader: str, difference: Difference) -> str | None:
    """Why a difference is none of ours."""
    found = (os.path.basename(log), reader, difference.kind, difference.name)
    for known in EXCEPTIONS:
        if found == (known.log, known.reader, known.kind, known.name) and difference.record in known.records:
            return known.reason
    return None


def note(result: Result, difference: Difference, record: int) -> None:
    """Takes in what differs in one record, or counts why it does."""
    difference = dataclasses.replace(difference, record=record)
    reason = explanation(result.log, result.reader, difference)
    if reason:
        result.explained[reason] += 1
    else:
        result.differences.append(difference)


def take_in(result: Result, part: Result, record: int) -> None:
    """Adds what came of one record to what came of its log."""
    result.records += 1
    result.values += part.values
    result.forms.update(part.forms)
    for difference in part.differences:
        note(result, difference, record)


def note_left(result: Result, left: dict[int, list[Row]], matched: dict[int, Row]) -> None:
    """Takes in the rows for which a reader has no record."""
    for identifier, rows in left.items():
        for row in rows:
            if row == matched.get(identifier):
                note(result, Difference("row twice"), identifier)
            elif READERS[result.reader].gets_on:
                note(result, Difference("record only here"), identifier)
            else:
                result.only_ours += 1


def compare_records(
    rows: list[Row], records: list[event_xml.Record], log: str, reader: str, complete: bool = True
) -> Result:
    """All that differs between rows and what a reader says of the same log.

    Of rows of one identifier a record is compared with the one that differs least.
    """
    result = Result(log, reader)
    left: dict[int, list[Row]] = collections.defaultdict(list)
    matched: dict[int, Row] = {}
    for row in rows:
        left[row.identifier if READERS[reader].by_header else row.own].append(row)
    for record in records:
        candidates = left[record.identifier]
        if record.problem:
            note(result, Difference("XML of theirs", theirs=record.problem), record.identifier)
        elif not candidates:
            note(result, Difference("record missing"), record.identifier)
        else:
            parts = [compare_record(row, record, log, reader, complete) for row in candidates]
            best = min(range(len(parts)), key=lambda i: len(parts[i].differences))
            matched[record.identifier] = candidates.pop(best)
            take_in(result, parts[best], record.identifier)
    note_left(result, left, matched)
    return result


def compare_log(tarnlex: str, log: str, readers: list[str], complete: bool) -> list[Result]:
    """What comes of one log with each reader."""
    rows = our_records(tarnlex, log, *(["-complete"] if complete else []))
    return [compare_records(rows, READERS[name].read(log), log, name, complete) for name in readers]


def show(result: Result) -> None:
    """Prints what differs in one log, each kind with its first example."""
    print(
        f"{result.log}: {result.reader}: {result.records} records, {result.values} values, "
        f"{result.only_ours} records only here"
    )
    for reason, count in sorted(result.explained.items()):
        print(f"  {count:6} {reason}")
    kinds = collections.Counter(d.kind for d in result.differences)
    for kind, count in sorted(kinds.items()):
        first = next(d for d in result.differences if d.kind == kind)
        print(
            f"  {count:6} UNEXPLAINED {kind}, first: record {first.record}, {first.name}: "
            f"{first.ours[:150]!r}, there {first.theirs[:150]!r}"
        )


def summary(results: list[Result], reader: str) -> bool:
    """Prints the sums for one reader; whether something was compared and nothing is left unexplained."""
    mine = [result for result in results if result.reader == reader]
    forms = sum((result.forms for result in mine), collections.Counter())
    records = sum(result.records for result in mine)
    left = collections.Counter(d.kind for result in mine for d in result.differences)
    print(
        f"{reader}: {len(mine)} logs, {records} records, {sum(r.values for r in mine)} values; "
        f"{sum(forms.values())} in another form, {sum(sum(r.explained.values()) for r in mine)} explained, "
        f"{sum(left.values())} unexplained"
    )
    for form, count in forms.most_common():
        print(f"  {count:8} {form}")
    for kind, count in left.most_common():
        print(f"  {count:8} UNEXPLAINED {kind}")
    return records > 0 and not left


def logs_at_hand() -> list[str]:
    """All EVTX logs below the folder of real logs."""
    folder = os.environ.get("TARNLEX_LOGS", "")
    return sorted(glob.glob(f"{glob.escape(folder)}/evtx/**/*.evtx", recursive=True)) if folder else []


@dataclasses.dataclass
class Arguments:
    """What the command line asks for."""

    tarnlex: str
    logs: list[str]
    readers: list[str]
    complete: bool


def arguments() -> Arguments:
    """The command line; an unknown reader ends the program."""
    parser = argparse.ArgumentParser()
    parser.add_argument("--default", action="store_true")
    parser.add_argument("--reader", action="append", choices=list(READERS))
    parser.add_argument("tarnlex")
    parser.add_argument("logs", nargs="*")
    chosen = parser.parse_args()
    return Arguments(
        chosen.tarnlex, chosen.logs or logs_at_hand(), chosen.reader or list(READERS), not chosen.default
    )


def main() -> int:
    """Compares all logs with all readers, as many at once as there are processors."""
    chosen = arguments()
    calls = [(chosen.tarnlex, log, chosen.readers, chosen.complete) for log in chosen.logs]
    with multiprocessing.Pool() as pool:
        results = [result for part in pool.starmap(compare_log, calls, chunksize=1) for result in part]
    for result in results:
        show(result)
    good = [summary(results, reader) for reader in chosen.readers]
    return 0 if all(good) else 1


if __name__ == "__main__":
    sys.exit(main())
