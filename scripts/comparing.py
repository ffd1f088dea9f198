"""What the comparisons with other readers share."""

import collections
import subprocess
from collections.abc import Iterator

SEPARATOR = "\x01"


def our_tables(tarnlex: str, log: str, *options: str) -> Iterator[tuple[list[str], list[list[str]]]]:
    """Header and rows of each table of a dump, as lists of cells; a log of many rows has several."""
    command = [tarnlex, "-log", log, "-csvgen", "-csv_separator", SEPARATOR, "-quiet", *options]
    run = subprocess.run(command, capture_output=True, check=True)
    # A table is cut at line feeds alone: texts may hold other characters that Python takes for ends.
    lines = run.stdout.decode("utf-8", "surrogateescape").split("\n")[4:]
    header: list[str] = []
    rows: list[list[str]] = []
    for line in lines:
        cells = line.split(SEPARATOR)
        if cells[0] == "Record#":
            if header:
                yield header, rows
            header, rows = cells, []
        elif line:
            if len(cells) != len(header):
                raise SystemExit(f"{log}: a row of {len(cells)} cells under {len(header)} columns")
            rows.append(cells)
    if header:
        yield header, rows


def our_rows(tarnlex: str, log: str, *options: str) -> tuple[list[str], list[list[str]]]:
    """Header and rows of a one-table dump, as lists of cells; no header, no rows without records."""
    tables = list(our_tables(tarnlex, log, *options))
    if len(tables) > 1:
        raise SystemExit(f"{log}: {len(tables)} tables")
    return tables[0] if tables else ([], [])


class Differences:
    """What differs, counted by kind, with the first example of each."""

    def __init__(self) -> None:
        self.counts: collections.Counter[str] = collections.Counter()
        self.examples: dict[str, object] = {}

    def note(self, kind: str, detail: object) -> None:
        """Counts one difference."""
        self.counts[kind] += 1
        self.examples.setdefault(kind, detail)

    def show(self) -> None:
        """Prints all kinds with how many there are."""
        for kind, count in self.counts.items():
            print(f"  {count:6} UNEXPLAINED {kind}, first: {self.examples[kind]}")
