"""`tarnlex-desk overview`: a page that shows a case."""

import argparse
import base64
import datetime
import hashlib
from collections.abc import Sequence
from dataclasses import dataclass
from pathlib import Path
from typing import Any

import duckdb
from jinja2 import Environment, PackageLoader, StrictUndefined
from markupsafe import Markup
from plotly.offline import get_plotlyjs

from tarnlex.desk.case import open_case
from tarnlex.desk.files import replacing
from tarnlex.desk.panels import PANELS, SIGMA_PANELS, TOTALS, UNREAD, Panel
from tarnlex.desk.pictures import PICTURES, Row, as_json
from tarnlex.desk.show import say, visible
from tarnlex.errors import TarnlexError

#: Rows of a table on the page; the query gives them all.
ROWS = 500

#: Rows that a picture is made of.
PICTURE_ROWS = 200_000

#: Characters of a cell.
CELL = 400


@dataclass(frozen=True)
class Answer:
    """A panel with the number of the rows of its query, those that the page has room for, and its picture."""

    panel: Panel
    columns: list[str]
    kinds: list[str]
    count: int
    rows: list[Row]
    figure: Any


def run(arguments: argparse.Namespace) -> int:
    """Makes the page of a case.

    Raises:
        TarnlexError: There is no such case, or the page cannot be written.
    """
    connection = open_case(arguments.case)
    try:
        text = page(connection, arguments.title or Path(arguments.case).stem)
    except duckdb.Error as error:
        raise TarnlexError(f"{arguments.case}: {error}") from error
    finally:
        connection.close()
    with replacing(arguments.page) as file:
        file.write(text)
    say(f"{arguments.page}: {len(text.encode()):,} bytes")
    return 0


def page(connection: duckdb.DuckDBPyConnection, title: str) -> str:
    """The page of a case as text: HTML that needs nothing else.

    Args:
        connection: The case.
        title: What stands at the top.
    """
    answers = [_answer(connection, panel) for panel in _panels(connection)]
    figures = {one.panel.key: one.figure for one in answers if one.figure is not None}
    script = _environment().get_template("overview.js").render()
    plotly = get_plotlyjs() if figures else ""
    return (
        _environment()
        .get_template("overview.html")
        .render(
            title=visible(title),
            totals=_totals(connection),
            answers=answers,
            figures=figures,
            made=datetime.datetime.now(datetime.UTC).strftime("%Y-%m-%d %H:%M UTC"),
            rows=ROWS,
            plotly=_inline(plotly),
            script=_inline(script),
            style=_inline(_environment().get_template("overview.css").render()),
            # The browser itself refuses every script but these two, and all that would be fetched.
            scripts=" ".join(f"'sha256-{_digest(text)}'" for text in (plotly, script) if text),
        )
    )


def _panels(connection: duckdb.DuckDBPyConnection) -> Sequence[Panel]:
    found = connection.execute("SELECT table_name FROM information_schema.tables").fetchall()
    tables = {row[0] for row in found}
    optional = {"sigma_hits": SIGMA_PANELS, "accounts": (UNREAD,)}
    return (*PANELS, *(panel for table in optional if table in tables for panel in optional[table]))


def _answer(connection: duckdb.DuckDBPyConnection, panel: Panel) -> Answer:
    relation = connection.sql(panel.query)
    draw = PICTURES.get(panel.picture)
    limit = PICTURE_ROWS if draw else ROWS
    rows = relation.limit(limit).fetchall()
    # The query is asked a second time only where that has not given all.
    counted = relation.query("rows", "SELECT count(*) FROM rows") if len(rows) == limit else None
    figure = as_json(draw(rows)) if draw and rows else None
    number = counted.fetchall()[0][0] if counted else len(rows)
    kinds = [_kind([row[index] for row in rows[:ROWS]]) for index in range(len(relation.columns))]
    return Answer(panel, relation.columns, kinds, number, rows[:ROWS], figure)


def _kind(column: list[object]) -> str:
    """The class of a column's cells: that of numbers, of times, or none."""
    cells = [value for value in column if value is not None and not isinstance(value, bool)]
    if cells and all(isinstance(value, int | float) for value in cells):
        return "number"
    return "time" if cells and all(isinstance(value, datetime.datetime) for value in cells) else ""


def _totals(connection: duckdb.DuckDBPyConnection) -> list[tuple[str, str]]:
    relation = connection.sql(TOTALS)
    row = relation.fetchall()[0]
    return [
        (name, f"{value:,}" if isinstance(value, int) else cell(value))
        for name, value in zip(relation.columns, row, strict=True)
    ]


def cell(value: object) -> str:
    """A value as the text of a cell."""
    if value is None:
        return ""
    if isinstance(value, datetime.datetime):
        return value.isoformat(sep=" ", timespec="seconds")
    text = visible(str(value))
    return text if len(text) <= CELL else f"{text[:CELL]}…"


def _environment() -> Environment:
    environment = Environment(
        loader=PackageLoader("tarnlex.desk"),
        # Every text is escaped, of whatever template.
        autoescape=True,
        undefined=StrictUndefined,
        trim_blocks=True,
        lstrip_blocks=True,
    )
    environment.filters["cell"] = cell
    return environment


def _inline(text: str) -> Markup:
    """A script or style of ours as it stands; it must not end its element.

    Raises:
        TarnlexError: It would.
    """
    if "</script" in text.lower() or "</style" in text.lower():
        raise TarnlexError("a script of the page would end early")
    return Markup(text)  # noqa: S704 (no text of a log is in it)


def _digest(text: str) -> str:
    return base64.b64encode(hashlib.sha256(text.encode()).digest()).decode()
