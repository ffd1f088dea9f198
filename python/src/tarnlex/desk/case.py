"""The database of a case: opened, and found to be one."""

from pathlib import Path

import duckdb

from tarnlex.desk.stop import interruptible
from tarnlex.errors import SchemaError, TarnlexError

#: Columns of `events` that the commands read; a table without them is another program's.
NEEDED = (
    "Log",
    "Channel",
    "Computer",
    "Provider",
    "EventID",
    "EventRecordID",
    "TimeCreated",
    "TimeWritten",
    "EventData",
    "UserData",
    "Offset",
)


def open_case(path: str, write: bool = False) -> duckdb.DuckDBPyConnection:
    """Opens the database of a case that exists.

    Args:
        path: The database.
        write: Whether it will be written to; only one process can have it open then.

    Raises:
        TarnlexError: There is none, or it is not a database, or another process has it open.
        SchemaError: It holds no events, or a table `events` of another form.
    """
    if not Path(path).is_file():
        raise TarnlexError(f"{path}: no such case; tarnlex-desk load makes one")
    connection = connect(path, write)
    try:
        _check(connection, path)
    except BaseException:
        connection.close()
        raise
    return connection


def _check(connection: duckdb.DuckDBPyConnection, path: str) -> None:
    rows = connection.execute(
        "SELECT column_name FROM duckdb_columns() WHERE table_name = 'events' AND NOT internal"
    ).fetchall()
    missing = [name for name in NEEDED if name not in {row[0] for row in rows}]
    if not rows:
        raise SchemaError(f"{path} holds no table events: is it a case of tarnlex-desk load?")
    if missing:
        raise SchemaError(
            f"{path}: its table events is not one of tarnlex-desk load: no {', '.join(missing)}"
        )


def connect(path: str, write: bool) -> duckdb.DuckDBPyConnection:
    """Opens or, to be written to, makes a database.

    Raises:
        TarnlexError: It cannot be opened; the message says why.
    """
    try:
        connection = interruptible(duckdb.connect(path, read_only=not write))
        # The database's own bar of progress would stand among the rows.
        connection.execute("SET enable_progress_bar = false")
    except duckdb.Error as error:
        reason = "another process has it open" if "lock" in str(error) else str(error).splitlines()[0]
        raise TarnlexError(f"{path} cannot be opened as a case: {reason}") from error
    return connection
