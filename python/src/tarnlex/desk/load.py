"""`tarnlex-desk load`: all event logs below folders into a case."""

import argparse
from pathlib import Path

import duckdb

import tarnlex
from tarnlex.desk.case import connect
from tarnlex.desk.show import say
from tarnlex.errors import SchemaError, TarnlexError

#: What the account of each log says, a row a log, beside the events. As a view it is never behind.
ACCOUNTS = """CREATE OR REPLACE VIEW accounts AS
SELECT path AS Log, size AS Size, outcome AS Outcome, "rows" AS Events,
  account->>'format' AS Format, account->>'kind' AS Kind,
  CAST(account->'records'->>'in_part' AS BIGINT) AS InPart,
  CAST(account->'records'->>'skipped' AS BIGINT) AS Skipped,
  CAST(account->'records'->>'left' AS BIGINT) AS "Left",
  CAST(account->'records'->>'regained' AS BIGINT) AS Regained,
  CAST(account->'header'->>'dirty' AS BOOLEAN) AS Dirty,
  account->>'torn_at' AS TornAt, messages AS Messages, loaded_at AS LoadedAt, account AS Account
FROM events_loads ORDER BY path, loaded_at"""

#: Whether any log was loaded with, and any without deleted records.
_LOADED = """SELECT DISTINCT list_contains(CAST(options AS VARCHAR[]), '-recover')
FROM events_loads WHERE "rows" IS NOT NULL"""


def run(arguments: argparse.Namespace) -> int:
    """Loads all logs that the case does not have yet, with all that they hold.

    Returns:
        0, or 2 where logs could not be read.

    Raises:
        TarnlexError: Nothing was loaded, or a load was stopped in its middle: by a full disk, say.
            Logs that were loaded before stay.
    """
    new = not Path(arguments.case).exists()
    connection = connect(arguments.case, write=True)
    try:
        _check(connection, arguments)
        loaded = _load(connection, arguments)
        events = connection.execute("SELECT count(*) FROM events").fetchall()[0][0]
    except TarnlexError:
        empty = new and not _has_loads(connection)
        connection.close()
        if empty:
            Path(arguments.case).unlink(missing_ok=True)
        raise
    except duckdb.Error as error:
        raise TarnlexError(f"{arguments.case}: {str(error).splitlines()[0]}") from error
    finally:
        connection.close()
    return _tell(arguments.case, loaded, events)


def _load(connection: duckdb.DuckDBPyConnection, arguments: argparse.Namespace) -> tarnlex.Loaded:
    recover, complete = arguments.recover, not arguments.recover
    try:
        return tarnlex.load(
            connection, arguments.paths, workers=arguments.workers, recover=recover, complete=complete
        )
    finally:
        # What was loaded before a load was stopped is a case too.
        if _has_loads(connection):
            connection.execute(ACCOUNTS)


def _has_loads(connection: duckdb.DuckDBPyConnection) -> bool:
    found = connection.execute("SELECT 1 FROM duckdb_tables() WHERE table_name = 'events_loads'").fetchall()
    return bool(found)


def _check(connection: duckdb.DuckDBPyConnection, arguments: argparse.Namespace) -> None:
    """Raises where events would stand in the case twice, as loaded with and without what was deleted."""
    before = connection.execute(_LOADED).fetchall() if _has_loads(connection) else []
    if any(row[0] != arguments.recover for row in before):
        how = "without" if arguments.recover else "with"
        raise SchemaError(
            f"{arguments.case} was loaded {how} --recover: do so again, or load into another case"
        )


def _tell(case: str, loaded: tarnlex.Loaded, events: int) -> int:
    for unread in loaded.unread:
        say(f"{unread.path}: {'; '.join([unread.outcome, *unread.messages])}")
    before = f", {loaded.present} there before" if loaded.present else ""
    missing = f", {len(loaded.unread)} not read" if loaded.unread else ""
    say(f"{case}: {loaded.logs} logs with {loaded.rows} events loaded{before}{missing}; {events} events now")
    return 2 if loaded.unread else 0
