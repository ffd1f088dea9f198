"""The table of loads: a row for each log that was loaded, or that could not be read."""

import json
from collections import defaultdict
from collections.abc import Sequence
from dataclasses import dataclass, field

import duckdb

from tarnlex import program
from tarnlex.decode import Decoded
from tarnlex.logs import Log
from tarnlex.process import UNASKED
from tarnlex.table import loads_of, quoted


@dataclass
class Before:
    """What was loaded of a log before.

    Attributes:
        loads: Numbers of its loads, those that failed included.
        state: Size and time of the log that was loaded.
    """

    loads: list[int] = field(default_factory=list)
    state: tuple[int, int] = (-1, -1)

    @property
    def is_loaded(self) -> bool:
        """Whether one of its loads did not fail."""
        return self.state != (-1, -1)


class Ledger:
    """What a load knows of loads, its own included.

    Args:
        table: The table of events.
        line: The options of the load.
    """

    def __init__(self, table: str, line: Sequence[str]) -> None:
        self._events = quoted(table)
        self._loads = quoted(loads_of(table))
        self._options = json.dumps(list(line))
        self._program = program.version()

    def last(self, connection: duckdb.DuckDBPyConnection) -> int:
        """The highest number of a load; 0 without one."""
        row = connection.execute(f"SELECT coalesce(max(load_id), 0) FROM {self._loads}").fetchone()
        return int(row[0]) if row else 0

    def before(self, connection: duckdb.DuckDBPyConnection) -> dict[str, Before]:
        """What was loaded before with the same options, by path; nothing, of any other path."""
        rows = connection.execute(
            f"SELECT path, size, epoch_ns(mtime), load_id, outcome FROM {self._loads} "
            "WHERE options::VARCHAR = ? ORDER BY load_id",
            [self._options],
        ).fetchall()
        before: dict[str, Before] = defaultdict(Before)
        for path, size, modified, load_id, outcome in rows:
            before[path].loads.append(load_id)
            if outcome in UNASKED:
                before[path].state = (size, modified)
        return before

    def forget(self, connection: duckdb.DuckDBPyConnection, loads: Sequence[int]) -> None:
        """Deletes loads and their events."""
        for load in loads:
            connection.execute(f"DELETE FROM {self._loads} WHERE load_id = ?", [load])
            connection.execute(f'DELETE FROM {self._events} WHERE "Load" = ?', [load])

    def forget_failed(self, connection: duckdb.DuckDBPyConnection, path: str) -> None:
        """Deletes what is noted of loads of a log that could not be read."""
        connection.execute(
            f"DELETE FROM {self._loads} WHERE path = ? AND options::VARCHAR = ? AND rows IS NULL",
            [path, self._options],
        )

    def record(
        self,
        connection: duckdb.DuckDBPyConnection,
        log: Log,
        load: int,
        *,
        rows: int | None,
        what: Decoded,
        parts: int = 0,
    ) -> None:
        """Notes a load.

        Args:
            connection: Where its transaction is.
            log: The log.
            load: The number of the load.
            rows: How many events were inserted; None if the log could not be read.
            what: The account of the log as a whole, and what was said of it.
            parts: In how many parts it was read.
        """
        values = {
            "load_id": load,
            "path": log.name,
            "size": log.size,
            "mtime": log.modified,
            "options": self._options,
            "parts": parts,
            "rows": rows,
            "exit": what.exit,
            "outcome": what.outcome,
            "messages": "\n".join(what.messages),
            "account": json.dumps(what.account),
            "program": self._program,
        }
        places = ", ".join("make_timestamp_ns(?)" if name == "mtime" else "?" for name in values)
        connection.execute(
            f"INSERT INTO {self._loads} ({', '.join(values)}, loaded_at) "
            f"VALUES ({places}, now() AT TIME ZONE 'UTC')",
            list(values.values()),
        )
