"""The two tables of a load: that of the events, and that of what was loaded."""

import contextlib
import json
from collections.abc import Iterable, Iterator
from pathlib import Path
from typing import TYPE_CHECKING

from tarnlex.errors import SchemaError
from tarnlex.schema import MEMBERS, OTHERS, UNFIT, Column

if TYPE_CHECKING:
    from duckdb import DuckDBPyConnection

# Which load an event is of, in the table of loads.
LOAD = Column("Load", "BIGINT", "")
EVENTS = (*MEMBERS, OTHERS, UNFIT, LOAD)
LOADS = {
    "load_id": "BIGINT",
    "path": "VARCHAR",
    "size": "BIGINT",
    "mtime": "TIMESTAMP_NS",
    "options": "JSON",
    "parts": "INTEGER",
    "rows": "BIGINT",
    "exit": "INTEGER",
    "outcome": "VARCHAR",
    "messages": "VARCHAR",
    "account": "JSON",
    "program": "VARCHAR",
    "loaded_at": "TIMESTAMP",
}


# Columns that a message names.
MOST_NAMED = 5


def quoted(name: str) -> str:
    """A name as SQL has it."""
    return '"' + name.replace('"', '""') + '"'


def text(value: str) -> str:
    """A text as SQL has it."""
    return "'" + value.replace("'", "''") + "'"


def loads_of(table: str) -> str:
    """Name of the table that says what was loaded into a table."""
    return f"{table}_loads"


def prepare(connection: "DuckDBPyConnection", table: str) -> None:
    """Makes the tables that are not there; both or none.

    Raises:
        SchemaError: One is there and has other columns. Nothing is changed then.
    """
    wanted = {
        table: {column.name: column.sql for column in EVENTS},
        loads_of(table): LOADS,
    }
    missing = [name for name, columns in wanted.items() if not _exists(connection, name, columns)]
    with transaction(connection):
        for name in missing:
            columns = ", ".join(f"{quoted(column)} {kind}" for column, kind in wanted[name].items())
            connection.execute(f"CREATE TABLE {quoted(name)} ({columns})")


@contextlib.contextmanager
def transaction(connection: "DuckDBPyConnection") -> Iterator[None]:
    """All of a block or nothing."""
    connection.begin()
    try:
        yield
        connection.commit()
    except BaseException:
        # A full disk has ended it already, and what went wrong is what counts.
        with contextlib.suppress(Exception):
            connection.rollback()
        raise


def _exists(connection: "DuckDBPyConnection", name: str, columns: dict[str, str]) -> bool:
    there = dict(
        connection.execute(
            "SELECT column_name, data_type FROM duckdb_columns() WHERE table_name = ? "
            "AND schema_name = current_schema() AND database_name = current_database() ORDER BY column_index",
            [name],
        ).fetchall()
    )
    if not there:
        return False
    if list(there.items()) != list(columns.items()):
        theirs, ours = there.items() - columns.items(), columns.items() - there.items()
        differing = _named(dict.fromkeys(name for name, _ in [*theirs, *ours])) or "their order"
        raise SchemaError(
            f"there is a table {name} with other columns ({differing}): load into another table"
        )
    return True


def _named(differing: Iterable[str]) -> str:
    """Some of what differs, in words."""
    names = list(differing)
    return ", ".join(names[:MOST_NAMED]) + (" and others" if len(names) > MOST_NAMED else "")


def insertion(table: str, lines: Path, load: int, object_size: int | None = None) -> str:
    """The statement that takes a file of lines of JSON into the table of events.

    A value that its column cannot hold without a change stands in "Unfit" as a text, and the column is NULL.

    Args:
        table: The table of events.
        lines: The file.
        load: Number of the load.
        object_size: The longest line that is expected, in bytes, where it is beyond the usual.
    """
    names = [column.name for column in MEMBERS]
    kinds = {column.name: "JSON" if column.sql == "JSON" else "VARCHAR" for column in MEMBERS}
    known = f"[{', '.join(text(name) for name in names)}]"
    nothing = json.dumps(dict.fromkeys(names))
    unfit = {column.name: _is_unfit(column) for column in MEMBERS if column.sql not in ("VARCHAR", "JSON")}
    texts = ", ".join(
        f"{text(name)}: CASE WHEN {test} THEN {quoted(name)} END" for name, test in unfit.items()
    )
    size = f", maximum_object_size = {object_size}" if object_size else ""
    return f"""
        INSERT INTO {quoted(table)}
        WITH members AS (
          SELECT json AS line, unnest(json_transform(json, {text(json.dumps(kinds))}))
          FROM read_json_objects({text(str(lines))}, format = 'newline_delimited'{size}))
        SELECT {", ".join(_value(column) for column in MEMBERS)},
          CASE WHEN len(list_filter(json_keys(line), lambda name: NOT list_contains({known}, name))) > 0
            THEN json_merge_patch(line, {text(nothing)}) END,
          CASE WHEN {" OR ".join(unfit.values())}
            THEN json_merge_patch('{{}}', to_json({{{texts}}})) END,
          {load}
        FROM members"""


def _value(column: Column) -> str:
    name = quoted(column.name)
    if column.sql in ("VARCHAR", "JSON"):
        return name
    return f"CASE WHEN NOT {_is_unfit(column)} THEN TRY_CAST({name} AS {column.sql}) END"


def _is_unfit(column: Column) -> str:
    """Whether the text of a member does not come back whole from its column; false without one."""
    name = quoted(column.name)
    cast = f"TRY_CAST({name} AS {column.sql})"
    if column.sql == "TIMESTAMP_NS":
        # As the program writes times; other texts may say a zone, or fewer digits.
        back = f"{cast} IS NOT NULL AND length({name}) = 28 AND {name}[11] = 'T' AND {name}[28] = 'Z'"
    else:
        back = f"{cast}::VARCHAR = {name}"
    return f"({name} IS NOT NULL AND NOT coalesce({back}, false))"
