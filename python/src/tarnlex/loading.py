"""A load on its way: threads that each take a log, have it decoded, and insert it."""

import contextlib
from collections import deque
from collections.abc import Callable, Generator
from concurrent.futures import FIRST_EXCEPTION, CancelledError, Future, ThreadPoolExecutor, wait
from itertools import count
from pathlib import Path
from threading import Event, Lock, Semaphore

import duckdb

from tarnlex import logs
from tarnlex import table as tables
from tarnlex.decode import Decoded, Decoders
from tarnlex.errors import LoadError, TarnlexError
from tarnlex.ledger import Before, Ledger
from tarnlex.loaded import Loaded, Unread
from tarnlex.logs import Log
from tarnlex.process import UNASKED


class Loading:
    """A load on its way: threads that each take a log, have it decoded, and insert it.

    Args:
        connection: To the database, for this thread.
        table: Name of the table of events.
        line: The options.
        workers: How many processes decode, and how many threads insert.
        part_size: Logs above this size are decoded in parts, in bytes.
        folder: Where files are that are on their way.
        done: What to tell the bytes that were loaded.
    """

    def __init__(
        self,
        connection: duckdb.DuckDBPyConnection,
        *,
        table: str,
        line: list[str],
        workers: int,
        part_size: int,
        folder: Path,
        done: Callable[[int], None],
    ) -> None:
        self._connection = connection
        self._table = table
        self._ledger = Ledger(table, line)
        self._workers = workers
        self._part_size = part_size
        self._done = done
        self._decoders = Decoders(line, folder)
        self._pool = ThreadPoolExecutor(workers, "tarnlex_decode")
        # Decoded files that wait for their turn.
        self._room = Semaphore(2 * workers)
        self._stopped = Event()
        self._loaded = Loaded()
        self._lock = Lock()

    def run(self, wanted: list[Log]) -> Loaded:
        """Loads what has not been loaded yet."""
        try:
            tables.prepare(self._connection, self._table)
        except duckdb.Error as error:
            raise LoadError(f"the database does not take a table {self._table}: {error}") from error
        before = self._ledger.before(self._connection)
        new = [log for log in wanted if before[log.name].state != (log.size, log.modified)]
        self._loaded.present = len(wanted) - len(new)
        self._done(sum(log.size for log in wanted) - sum(log.size for log in new))
        numbers = count(self._ledger.last(self._connection) + 1)
        with self._pool, ThreadPoolExecutor(self._workers, "tarnlex_load") as threads:
            try:
                running = [threads.submit(self._one, log, next(numbers), before[log.name]) for log in new]
                wait(running, return_when=FIRST_EXCEPTION)
                for one in running:
                    if one.done():
                        one.result()
            finally:
                self._stopped.set()
                threads.shutdown(wait=False, cancel_futures=True)
                self._pool.shutdown(wait=False, cancel_futures=True)
                self._decoders.stop()
        return self._loaded

    def _one(self, log: Log, load: int, before: Before) -> None:
        """Loads a log in a transaction, or notes why it cannot be read."""
        if self._stopped.is_set():
            return
        with self._connection.cursor() as cursor:
            try:
                with tables.transaction(cursor):
                    self._take(cursor, log, load, before)
            except _UnreadError as error:
                if self._stopped.is_set():
                    return
                self._note(cursor, log, load, error.what)
            except CancelledError:
                return
            except duckdb.Error as error:
                raise LoadError(f"the database does not take {log.name}: {error}") from error
        self._done(log.size)

    def _take(self, cursor: duckdb.DuckDBPyConnection, log: Log, load: int, before: Before) -> None:
        """Inserts the events of a log and its row in the table of loads."""
        if log.outcome:
            raise _UnreadError(Decoded(Path(), 0, {"outcome": log.outcome}, []))
        parts = logs.parts(log, self._part_size)
        whole = self._pool.submit(self._decoders.account, log.path) if len(parts) > 1 else None
        self._ledger.forget(cursor, before.loads)
        rows, messages = 0, []
        with contextlib.closing(self._decoded(log.path, parts)) as all_parts:
            for decoded in all_parts:
                _judge(decoded)
                rows += self._insert(cursor, decoded.lines, load)
                messages += decoded.messages
        if whole:
            decoded = whole.result()
            _judge(decoded)
        self._ledger.record(
            cursor, log, load, rows=rows, what=decoded._replace(messages=messages), parts=len(parts)
        )
        with self._lock:
            self._loaded.logs += 1
            self._loaded.rows += rows
            self._loaded.replaced += before.is_loaded

    def _note(self, cursor: duckdb.DuckDBPyConnection, log: Log, load: int, what: Decoded) -> None:
        """Notes a log that could not be read; what was loaded of it before stays."""
        with tables.transaction(cursor):
            self._ledger.forget_failed(cursor, log.name)
            self._ledger.record(cursor, log, load, rows=None, what=what)
        with self._lock:
            self._loaded.unread.append(Unread(log.name, what.outcome, what.messages))

    def _decoded(self, path: str, parts: list[str]) -> Generator[Decoded, None, None]:
        """The parts of a log in their order, decoded ahead as far as there is room."""
        ahead: deque[Future[Decoded]] = deque()
        rest = deque(parts)
        try:
            while rest or ahead:
                while rest and self._has_room(needed=not ahead):
                    ahead.append(self._pool.submit(self._decoders.part, path, rest.popleft()))
                yield ahead[0].result()
                self._drop(ahead.popleft())
        finally:
            for left in ahead:
                self._drop(left)

    def _drop(self, decoding: Future[Decoded]) -> None:
        """Makes room for another file, this one being of no use any more."""
        with contextlib.suppress(CancelledError, TarnlexError):
            if not decoding.cancel():
                decoding.result().lines.unlink(missing_ok=True)
        self._room.release()

    def _has_room(self, *, needed: bool) -> bool:
        """Takes room for a file; one that is needed is waited for, as others get on and make some."""
        if not needed:
            return self._room.acquire(blocking=False)
        while not self._room.acquire(timeout=0.2):
            if self._stopped.is_set():
                raise CancelledError
        return True

    def _insert(self, cursor: duckdb.DuckDBPyConnection, lines: Path, load: int) -> int:
        """Inserts a file of lines; returns how many they were."""
        if not lines.exists() or lines.stat().st_size == 0:
            return 0
        longest = _longest(lines) if lines.stat().st_size > _USUAL_LINE else None
        row = cursor.execute(tables.insertion(self._table, lines, load, longest)).fetchone()
        return int(row[0]) if row else 0


# The longest line, in bytes, that the database takes unless it is told of longer ones.
_USUAL_LINE = 16 << 20


def _longest(lines: Path) -> int | None:
    """The longest line of a file, in bytes; None where all are of a usual length."""
    with lines.open("rb") as file:
        longest = max(len(line) for line in file)
    return longest if longest >= _USUAL_LINE else None


class _UnreadError(Exception):
    """A log of which nothing is loaded, as not all of it was read."""

    def __init__(self, what: Decoded) -> None:
        super().__init__(what.outcome)
        self.what = what


def _judge(decoded: Decoded) -> None:
    """Raises what a run over a log did not do."""
    if decoded.exit != 0 or decoded.outcome not in UNASKED:
        raise _UnreadError(decoded)
