#!/usr/bin/env python3
"""Tests that scripts/compare_readers.py finds what is wrong.

Usage: compare_readers_test.py [--reader NAME]... TARNLEX [LOG...]

The rows of each log are altered in all ways of ALTERATIONS, every row in one place, with each column in
turn; then the comparison has to report every row that was altered and was good before. Then rows are left
out, and given twice. Copies of a log that are broken have to be mended for readers that would stop there.
Without a LOG all below the folder that TARNLEX_LOGS names are taken. In the end the comparison has to fail
over nothing.
"""

import multiprocessing
import os
import subprocess
import sys
from collections.abc import Callable
from dataclasses import dataclass

SCRIPTS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "scripts")
sys.path.insert(0, SCRIPTS)

import compare_readers
import comparing
import event_xml

Cells = list[str]
# Every reader with the identifiers, as it gives them, of the records that were found to differ.
Found = dict[str, set[int]]


@dataclass
class Log:
    """Rows of a log in one table, and what the readers say of it."""

    path: str
    header: Cells
    rows: list[Cells]
    theirs: dict[str, list[event_xml.Record]]


def other(text: str) -> str:
    """A text of the same shape in which one letter or digit, the one nearest the middle, is another."""
    for at in sorted(range(len(text)), key=lambda at: abs(2 * at - len(text))):
        if text[at].isascii() and text[at].isdigit():
            return text[:at] + str((int(text[at]) + 1) % 10) + text[at + 1 :]
        if text[at].isascii() and text[at].isalpha():
            return text[:at] + ("q" if text[at] in "kK" else "k") + text[at + 1 :]
    return text + "x"


def filled(cells: Cells) -> list[int]:
    """Where a row holds something."""
    return [at for at, cell in enumerate(cells) if cell not in ("", "[null]")]


def with_cell(cells: Cells, at: int, text: str) -> Cells:
    """A row with another text in one place."""
    return [*cells[:at], text, *cells[at + 1 :]]


def change_a_column(_: Cells, cells: Cells, turn: int) -> Cells:
    """Another text in one column, be it empty or not."""
    return with_cell(cells, turn % len(cells), other(cells[turn % len(cells)]))


def change_a_value(_: Cells, cells: Cells, turn: int) -> Cells:
    """Another text in a column that holds one."""
    at = filled(cells)[turn % len(filled(cells))]
    return with_cell(cells, at, other(cells[at]))


def empty_a_value(header: Cells, cells: Cells, turn: int) -> Cells:
    """Nothing in a column that holds a value."""
    places = [at for at in filled(cells) if header[at] in header[6:]]
    return with_cell(cells, places[turn % len(places)], "") if places else cells


def swap_two_values(header: Cells, cells: Cells, turn: int) -> Cells:
    """Two values each under the other's name; as it was where a row has no two that differ."""
    places = [at for at in filled(cells) if 6 <= at < len(cells) - 1]
    for a in places[turn % max(len(places), 1) :] + places:
        for b in places:
            if compare_readers.form_between(cells[a], cells[b]) is None:
                return with_cell(with_cell(cells, a, cells[b]), b, cells[a])
    return cells


ALTERATIONS: dict[str, Callable[[Cells, Cells, int], Cells]] = {
    "a column changed": change_a_column,
    "a value changed": change_a_value,
    "a value emptied": empty_a_value,
    "two values swapped": swap_two_values,
}


def read(tarnlex: str, path: str, readers: list[str]) -> Log:
    """A log as all see it."""
    header, rows = comparing.our_rows(tarnlex, path, "-complete")
    theirs = {reader: compare_readers.READERS[reader].read(path) for reader in readers}
    return Log(path, header, rows, theirs)


def key_of(log: Log, cells: Cells, reader: str) -> int:
    """The identifier by which a reader knows a row."""
    row = compare_readers.row_of(log.header, cells)
    return row.identifier if compare_readers.READERS[reader].by_header else row.own


def found_in(log: Log, rows: list[Cells]) -> Found:
    """What the comparison finds wrong with these rows of a log."""
    ours = [compare_readers.row_of(log.header, cells) for cells in rows]
    results = [
        compare_readers.compare_records(ours, theirs, log.path, reader)
        for reader, theirs in log.theirs.items()
    ]
    return {result.reader: {difference.record for difference in result.differences} for result in results}


def testable(log: Log) -> list[int]:
    """Which rows a reader has too and nothing is wrong with."""
    before = found_in(log, log.rows)
    known = {reader: {record.identifier for record in theirs} for reader, theirs in log.theirs.items()}

    def good(cells: Cells) -> bool:
        keys = {reader: key_of(log, cells, reader) for reader in log.theirs}
        return any(keys[r] in known[r] for r in keys) and all(keys[r] not in before[r] for r in keys)

    return [at for at, cells in enumerate(log.rows) if good(cells)]


def visible(log: Log, cells: Cells, altered: Cells) -> bool:
    """Whether a row was altered in a way that one of the readers can tell: not all give Record#."""
    by_header = any(compare_readers.READERS[reader].by_header for reader in log.theirs)
    return altered != cells and (by_header or altered[1:] != cells[1:])


def missed(log: Log, good: list[int], name: str, turn: int) -> tuple[int, list[str]]:
    """How many rows were altered at this turn, and which of them the comparison did not report."""
    altered = [ALTERATIONS[name](log.header, cells, at + turn) for at, cells in enumerate(log.rows)]
    found = found_in(log, altered)
    tried = [at for at in good if visible(log, log.rows[at], altered[at])]
    unseen = [at for at in tried if not any(key_of(log, log.rows[at], r) in found[r] for r in log.theirs)]
    return len(tried), [f"{name}: {what_changed(log, log.rows[at], altered[at])}" for at in unseen]


def what_changed(log: Log, cells: Cells, altered: Cells) -> str:
    """The places in which a row was altered."""
    places = [at for at in range(len(cells)) if cells[at] != altered[at]]
    changes = [f"{log.header[at]} from {cells[at]!r} to {altered[at]!r}" for at in places]
    return f"{log.path}, record {cells[0]}: {', '.join(changes)}"


def missed_rows(log: Log, good: list[int]) -> tuple[int, list[str]]:
    """Of rows left out and rows given twice, a third of all each: how many, and which were not reported."""
    kept = [cells for at, cells in enumerate(log.rows) if at % 3]
    found_left_out = found_in(log, kept)
    found_twice = found_in(log, log.rows + log.rows[1::3])
    unseen = []
    for at in good:
        keys = {reader: key_of(log, log.rows[at], reader) for reader in log.theirs}
        if at % 3 == 0 and not any(keys[r] in found_left_out[r] for r in keys):
            unseen.append(f"left out: {log.path}, record {log.rows[at][0]}")
        if at % 3 == 1 and not any(keys[r] in found_twice[r] for r in keys):
            unseen.append(f"twice: {log.path}, record {log.rows[at][0]}")
    return sum(at % 3 < 2 for at in good), unseen


def turns(log: Log, name: str) -> range:
    """So many turns that each column has its row, where columns count; one where values do."""
    return range(0, len(log.header), len(log.rows)) if name == "a column changed" else range(1)


def mends(path: str) -> bool:
    """Whether a record of a sound log that loses its size gets it back, and one that loses all a stand-in."""
    with open(path, "rb") as file:
        log = file.read()
    chunk = log[event_xml.CHUNKS_AT :][: event_xml.CHUNK_SIZE]
    size = event_xml.sound_size(chunk, event_xml.RECORDS_AT, len(chunk))
    if not size or event_xml.mended(log) != log:
        return True
    begin = event_xml.CHUNKS_AT + event_xml.RECORDS_AT
    sizeless = bytearray(log)
    sizeless[begin + 4 : begin + 8] = sizeless[begin + size - 4 : begin + size] = bytes(4)
    erased = log[:begin] + bytes(size) + log[begin + size :]
    stands_in = log[:begin] + event_xml.bridge(size) + log[begin + size :]
    return event_xml.mended(bytes(sizeless)) == log and event_xml.mended(erased) == stands_in


def check_log(tarnlex: str, path: str, readers: list[str]) -> tuple[int, int, list[str]]:
    """How many rows of a log are good, how many alterations were tried, and which were not found."""
    log = read(tarnlex, path, readers)
    if not log.rows:
        return 0, 0, []
    good = testable(log)
    tried, unseen = missed_rows(log, good)
    if not mends(path):
        unseen.append(f"{path}: not mended")
    for name in ALTERATIONS:
        for turn in turns(log, name):
            count, missing = missed(log, good, name, turn)
            tried += count
            unseen += missing
    return len(good), tried, unseen


def fails_over_nothing(tarnlex: str, readers: list[str]) -> bool:
    """Whether the comparison fails where there is no log, and where a log is none."""
    script = os.path.join(SCRIPTS, "compare_readers.py")
    options = [f"--reader={reader}" for reader in readers]
    nowhere = {**os.environ, "TARNLEX_LOGS": os.path.dirname(os.path.abspath(__file__))}
    runs = [
        subprocess.run(
            [sys.executable, script, *options, tarnlex, *logs], env=nowhere, capture_output=True, check=False
        )
        for logs in ([], [os.path.abspath(__file__)])
    ]
    return all(run.returncode != 0 for run in runs)


def main() -> int:
    """Checks all logs, as many at once as there are processors."""
    chosen = compare_readers.arguments()
    calls = [(chosen.tarnlex, log, chosen.readers) for log in chosen.logs]
    with multiprocessing.Pool() as pool:
        results = pool.starmap(check_log, calls, chunksize=1)
    rows, tried = sum(result[0] for result in results), sum(result[1] for result in results)
    unseen = [line for result in results for line in result[2]]
    for line in unseen[:50]:
        print(f"NOT FOUND: {line}")
    over_nothing = fails_over_nothing(chosen.tarnlex, chosen.readers)
    if not over_nothing:
        print("NOT FOUND: that nothing was compared")
    print(f"{len(results)} logs, {rows} good rows: {tried} alterations, {len(unseen)} not found")
    return 0 if rows and over_nothing and not unseen else 1


if __name__ == "__main__":
    sys.exit(main())
