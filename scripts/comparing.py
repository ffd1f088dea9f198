"""What the comparisons with other readers share."""
import collections
import subprocess

SEPARATOR = "\x01"


def our_rows(tarnlex, log, *options):
    """Header and rows of a one-table dump, as lists of cells; no header, no rows without records."""
    command = [tarnlex, "-log", log, "-csvgen", "-csv_separator", SEPARATOR, "-quiet", *options]
    run = subprocess.run(command, capture_output=True, check=True)
    # A table is cut at line feeds alone: texts may hold other characters that Python takes for ends.
    lines = run.stdout.decode("utf-8", "surrogateescape").split("\n")[4:]
    if lines and lines[-1] == "":
        lines.pop()
    if not lines:
        return [], []
    header = lines[0].split(SEPARATOR)
    rows = [line.split(SEPARATOR) for line in lines[1:]]
    for cells in rows:
        if len(cells) != len(header):
            raise SystemExit(f"{log}: a row of {len(cells)} cells under {len(header)} columns")
    return header, rows


class Differences:
    """What differs, counted by kind, with the first example of each."""

    def __init__(self):
        self.counts = collections.Counter()
        self.examples = {}

    def note(self, kind, detail):
        self.counts[kind] += 1
        self.examples.setdefault(kind, detail)

    def show(self):
        for kind, count in self.counts.items():
            print(f"  {count:6} UNEXPLAINED {kind}, first: {self.examples[kind]}")
