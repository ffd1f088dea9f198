"""`tarnlex-desk sigma`: runs Sigma rules over a case."""

import argparse
import sys
from collections import Counter

import duckdb
from rich.console import Console
from rich.progress import Progress

from tarnlex.desk.case import open_case
from tarnlex.desk.show import chosen_format, say, show
from tarnlex.desk.sigma_rules import Rule, read_rules, rule_files
from tarnlex.desk.sigma_run import Outcome, run_rules
from tarnlex.desk.sigma_sql import Converter
from tarnlex.errors import TarnlexError

#: What a terminal has room for.
SHORT = """SELECT RuleLevel AS "Level", Rule, CAST(TimeCreated AS TIMESTAMP) AS Time, Computer, EventID,
  substr(CAST(coalesce(EventData, UserData) AS VARCHAR), 1, 120) AS Event
  FROM sigma_hits ORDER BY Time, Rule"""

HITS = """SELECT Rule, RuleLevel AS "Level", Tags, TimeCreated, Computer, Channel, EventID, EventRecordID,
  coalesce(EventData, UserData) AS Event, Log, RuleFile FROM sigma_hits ORDER BY TimeCreated, Rule"""


def run(arguments: argparse.Namespace) -> int:
    """Runs all rules, keeps their hits in the case, writes them, and says which rules failed.

    Returns:
        0, or 2 where a rule could not be run.

    Raises:
        TarnlexError: There is no such case, or there are no rules.
    """
    converter = Converter()
    files = rule_files(arguments.rules)
    rules = list(read_rules(files, converter))
    connection = open_case(arguments.case, write=True)
    try:
        outcomes = _run(connection, rules, converter)
        form = chosen_format(arguments.format, sys.stdout)
        show(connection.sql(SHORT if form == "table" else HITS), form, title="Sigma hits")
    except duckdb.Error as error:
        raise TarnlexError(f"{arguments.case}: {str(error).splitlines()[0]}") from error
    finally:
        connection.close()
    return _tell(outcomes)


def _run(connection: duckdb.DuckDBPyConnection, rules: list[Rule], converter: Converter) -> list[Outcome]:
    with Progress(console=Console(stderr=True), transient=True, disable=not sys.stderr.isatty()) as progress:
        bar = progress.add_task("rules", total=None)
        return run_rules(
            connection,
            rules,
            converter.columns,
            progress=lambda done, total: progress.update(bar, completed=done, total=total),
        )


def _tell(outcomes: list[Outcome]) -> int:
    for outcome in outcomes:
        if outcome.reason:
            say(f"{outcome.rule.file}: {outcome.rule.title}: {outcome.reason}")
    counts = Counter(outcome.name for outcome in outcomes)
    hits = sum(len(outcome.rows) for outcome in outcomes)
    ran = counts["matched"] + counts["no match"]
    failed, matched = counts["failed"], counts["matched"]
    say(f"{len(outcomes)} rules: {ran} run, {failed} failed, {matched} matched; {hits} hits")
    return 2 if counts["failed"] else 0
