"""Rows as a table on a terminal, as CSV or as lines of JSON."""

import csv
import re
import sys
from collections.abc import Sequence
from typing import TextIO

import duckdb
from rich.console import Console
from rich.table import Table
from rich.text import Text

from tarnlex.errors import TarnlexError

FORMATS = ("table", "csv", "json")

#: What a terminal may take for a command, and what turns the direction of a line around.
_UNSEEN = re.compile("[\x00-\x1f\x7f-\x9f\u061c\u200b-\u200f\u2028-\u202e\u2066-\u2069\ufeff]")

#: As many rows as somebody reads on a terminal.
TABLE_ROWS = 500


def visible(text: str) -> str:
    r"""A text from a log with what would act on a terminal written out.

    >>> visible("a\x1b[31mb")
    'a\\x1b[31mb'
    """
    return _UNSEEN.sub(lambda found: found[0].encode("unicode_escape").decode(), text)


def chosen_format(name: str | None, stream: TextIO) -> str:
    """The format asked for, or what suits the stream: a table on a terminal, else CSV."""
    return name or ("table" if stream.isatty() else "csv")


def show(relation: duckdb.DuckDBPyRelation, name: str | None, title: str = "") -> int:
    """Writes all rows of a relation to standard output.

    Values are written by the database: times with all their digits, JSON as it is. A table on a
    terminal has at most `TABLE_ROWS` rows, and says on standard error when there are more.

    Args:
        relation: What to write.
        name: One of `FORMATS`, or None for what suits standard output.
        title: What stands above a table.

    Returns:
        The number of rows.
    """
    form = chosen_format(name, sys.stdout)
    if form == "json":
        return _write_lines(_over(relation, "CAST(to_json(rows) AS VARCHAR)"))
    columns = relation.columns
    casts = ", ".join(f"CAST(#{number} AS VARCHAR)" for number in range(1, len(columns) + 1))
    texts = _over(relation, casts)
    if form == "csv":
        return _write_csv(columns, texts)
    return _write_table(columns, texts, title)


def _over(relation: duckdb.DuckDBPyRelation, columns: str) -> duckdb.DuckDBPyRelation:
    over = relation.query("rows", f"SELECT {columns} FROM rows")
    if over is None:
        raise TarnlexError("there are no rows to show")
    return over


def _write_lines(relation: duckdb.DuckDBPyRelation) -> int:
    count = 0
    for row in relation.iter_rows():
        sys.stdout.write(f"{row[0]}\n")
        count += 1
    return count


def _write_csv(columns: Sequence[str], relation: duckdb.DuckDBPyRelation) -> int:
    writer = csv.writer(sys.stdout, lineterminator="\n")
    writer.writerow(columns)
    sys.stdout.flush()
    count = 0
    for row in relation.iter_rows():
        writer.writerow(row)
        count += 1
    return count


def _write_table(columns: Sequence[str], relation: duckdb.DuckDBPyRelation, title: str) -> int:
    table = Table(title=Text(title) if title else None, title_justify="left")
    for column in columns:
        table.add_column(Text(visible(column)), overflow="fold")
    count = 0
    for row in relation.iter_rows():
        count += 1
        if count <= TABLE_ROWS:
            table.add_row(*(Text("" if cell is None else visible(cell)) for cell in row))
    console = Console(file=sys.stdout, highlight=False)
    console.print(table)
    if count > TABLE_ROWS:
        say(f"{count - TABLE_ROWS} more rows; --format csv and --format json write all")
    return count


def say(message: str) -> None:
    """A line for the user, on standard error."""
    print(visible(message), file=sys.stderr)
