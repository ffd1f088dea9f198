"""`tarnlex-desk sql`: asks a case in SQL."""

import argparse

import duckdb

from tarnlex.desk.case import open_case
from tarnlex.desk.show import show
from tarnlex.errors import TarnlexError


def run(arguments: argparse.Namespace) -> int:
    """Runs a query, by which the case cannot be changed, and writes its rows.

    Raises:
        TarnlexError: There is no such case, or the database refuses the query.
    """
    connection = open_case(arguments.case)
    try:
        relation = connection.sql(arguments.query)
        if relation is not None:
            show(relation, arguments.format)
    except duckdb.Error as error:
        raise TarnlexError(f"the query fails: {error}") from error
    finally:
        connection.close()
    return 0
