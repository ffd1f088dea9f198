"""`tarnlex-desk sql`: asks a case in SQL."""

import argparse

import duckdb

from tarnlex.desk.case import open_case
from tarnlex.desk.show import show
from tarnlex.errors import TarnlexError

#: What reads and writes nothing; a database for reading alone still lets others write files, its own too.
_READING = ("SELECT", "PRAGMA", "CALL", "SET")


def run(arguments: argparse.Namespace) -> int:
    """Runs a query, by which the case cannot be changed, and writes its rows.

    Raises:
        TarnlexError: There is no such case, or the database refuses the query.
    """
    connection = open_case(arguments.case)
    try:
        _check(connection, arguments.query)
        relation = connection.sql(arguments.query)
        if relation is not None:
            show(relation, arguments.format)
    except duckdb.Error as error:
        raise TarnlexError(f"the query fails: {error}") from error
    finally:
        connection.close()
    return 0


def _check(connection: duckdb.DuckDBPyConnection, query: str) -> None:
    """Raises at a statement that does more than to ask."""
    for statement in connection.extract_statements(query):
        # To pivot, and to explain, has another statement within, which may be one that writes.
        kind = statement.type.name
        asks = kind in _READING or (kind in ("MULTI", "EXPLAIN") and "copy" not in query.lower())
        if not asks:
            raise TarnlexError(f"the query does more than to ask: {kind}")
