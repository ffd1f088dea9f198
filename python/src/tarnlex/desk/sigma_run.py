"""Running converted Sigma rules over the events of a case."""

from collections.abc import Callable, Sequence
from dataclasses import dataclass, field

import duckdb

from tarnlex.desk import stop
from tarnlex.desk.sigma_fields import FieldColumns, select_columns, sql_text
from tarnlex.desk.sigma_rules import Rule
from tarnlex.desk.sigma_sql import Condition

EVENT_COLUMNS = (
    'TimeCreated, Computer, Channel, EventID, EventRecordID, Provider, Log, "Offset", EventData, UserData'
)
RULE_COLUMNS = "'' AS Rule, '' AS RuleID, '' AS RuleLevel, CAST([] AS VARCHAR[]) AS Tags, '' AS RuleFile"

RULES = """CREATE OR REPLACE TABLE sigma_rules (
    Rule VARCHAR, RuleID VARCHAR, RuleLevel VARCHAR, RuleFile VARCHAR, Outcome VARCHAR, Hits BIGINT,
    Reason VARCHAR)"""


@dataclass
class Outcome:
    """What became of a rule: its number of hits, or the reason why it was not run."""

    rule: Rule
    rows: set[int] = field(default_factory=set)
    reason: str = ""

    @property
    def name(self) -> str:
        """One of "failed", "matched" and "no match"."""
        return "failed" if self.reason else "matched" if self.rows else "no match"


@dataclass(frozen=True)
class _Task:
    outcome: Outcome
    condition: Condition


def run_rules(
    connection: duckdb.DuckDBPyConnection,
    rules: Sequence[Rule],
    columns: FieldColumns,
    table: str = "events",
    progress: Callable[[int, int], None] = lambda done, total: None,
) -> list[Outcome]:
    """Runs all rules, and leaves their hits in the tables `sigma_hits` and `sigma_rules`.

    Rules are run in groups, a group for each set of channels: the fields that a group asks for
    become columns of a temporary table, by one pass over the events of its channels, and each
    condition is a filter over it.

    Args:
        connection: The case, open for writing. The two tables are replaced in one transaction.
        rules: What to run; those with a reason not to are counted as failed.
        columns: The columns that the rules' conditions name.
        table: The table of events.
        progress: Called with the number of conditions that were run, and of all.

    Returns:
        An outcome for each rule, in the same order.
    """
    outcomes = [Outcome(rule, reason=rule.reason) for rule in rules]
    groups: dict[tuple[str, ...], list[_Task]] = {}
    for outcome in outcomes:
        for condition in outcome.rule.conditions:
            groups.setdefault(tuple(sorted(condition.channels)), []).append(_Task(outcome, condition))
    total, done = sum(map(len, groups.values())), 0
    for channels, tasks in sorted(groups.items()):
        _make_columns(connection, channels, [task.condition for task in tasks], columns, table)
        for task in tasks:
            stop.check()
            _run(connection, task)
            done += 1
            progress(done, total)
    connection.execute("DROP TABLE IF EXISTS temp.sigma_columns")
    _store(connection, outcomes, table)
    return outcomes


def _make_columns(
    connection: duckdb.DuckDBPyConnection,
    channels: tuple[str, ...],
    conditions: Sequence[Condition],
    columns: FieldColumns,
    table: str,
) -> None:
    fields = frozenset[str]().union(*(one.fields for one in conditions))
    texts, selected = select_columns(columns, fields, any(one.all_values for one in conditions))
    wanted = []
    if channels:
        wanted.append(f"lower(Channel) IN ({', '.join(map(sql_text, channels))})")
    if all(one.event_ids for one in conditions):
        numbers = sorted(frozenset[int]().union(*(one.event_ids for one in conditions)))
        wanted.append(f"EventID IN ({', '.join(map(str, numbers))})")
    where = f"WHERE {' AND '.join(wanted)}" if wanted else ""
    connection.execute(
        f"CREATE OR REPLACE TEMP TABLE sigma_columns AS SELECT event, {selected or '0 AS nothing'} "
        f"FROM (SELECT rowid AS event, {texts} AS texts, * FROM {table} {where})"
    )


def _run(connection: duckdb.DuckDBPyConnection, task: _Task) -> None:
    if task.outcome.reason:
        return
    try:
        rows = connection.execute(
            f"SELECT event FROM temp.sigma_columns WHERE {task.condition.where}"
        ).fetchall()
    except duckdb.InterruptException:
        raise
    except duckdb.Error as error:
        task.outcome.rows.clear()
        task.outcome.reason = f"cannot be run: {' '.join(str(error).split())}"
        return
    task.outcome.rows.update(row[0] for row in rows)


def _store(connection: duckdb.DuckDBPyConnection, outcomes: Sequence[Outcome], table: str) -> None:
    connection.begin()
    try:
        made = f"SELECT {RULE_COLUMNS}, {EVENT_COLUMNS} FROM {table} LIMIT 0"
        connection.execute(f"CREATE OR REPLACE TABLE sigma_hits AS {made}")
        connection.execute(RULES)
        for outcome in outcomes:
            _store_outcome(connection, outcome, table)
        connection.commit()
    except BaseException:
        connection.rollback()
        raise


def _store_outcome(connection: duckdb.DuckDBPyConnection, outcome: Outcome, table: str) -> None:
    rule = outcome.rule
    connection.execute(
        "INSERT INTO sigma_rules VALUES (?, ?, ?, ?, ?, ?, ?)",
        [rule.title, rule.identifier, rule.level, rule.file, outcome.name, len(outcome.rows), outcome.reason],
    )
    if outcome.rows:
        connection.execute(
            f"INSERT INTO sigma_hits SELECT ?, ?, ?, ?, ?, {EVENT_COLUMNS} FROM {table} "
            "WHERE rowid IN (SELECT unnest(?)) ORDER BY TimeCreated, rowid",
            [rule.title, rule.identifier, rule.level, list(rule.tags), rule.file, sorted(outcome.rows)],
        )
