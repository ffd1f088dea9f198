"""Loading logs into a table of DuckDB."""

import contextlib
import os
import tempfile
from collections.abc import Iterator
from pathlib import Path
from typing import TYPE_CHECKING

from tarnlex import logs, options
from tarnlex.errors import LoadError
from tarnlex.loaded import Loaded
from tarnlex.options import Value
from tarnlex.paths import PathLike, Paths, listed
from tarnlex.progress import bar

if TYPE_CHECKING:
    from duckdb import DuckDBPyConnection

REFUSED = {
    **dict.fromkeys(options.FILES, "each log is a run of its own; the table of loads has their accounts"),
    "unique": "each log is a run of its own, which knows nothing of the others",
    "part": "a load cuts large logs into parts itself",
    "event_json": "the table's columns are the members of -json",
    "strict": "the table of loads says what was not read",
}
# Logs above this size are read in parts, in bytes.
PART_SIZE = 128 << 20


def load(
    connection: "DuckDBPyConnection",
    paths: Paths,
    table: str = "events",
    *,
    workers: int | None = None,
    progress: bool = True,
    scratch: PathLike | None = None,
    part_size: int = PART_SIZE,
    **chosen: Value,
) -> Loaded:
    """Loads the events of logs into a table of DuckDB, which is made if it is not there.

    There is a column for each member of `-json`, in its order; times are TIMESTAMP_NS, in UTC, and keep all
    seven digits; EventData and other objects are JSON. "Others" (JSON) has members of any other name, "Unfit"
    (JSON) the texts of values that their column cannot hold, such as times before 1677 or after 2262, and
    "Load" the load that the event is of.

    The table `<table>_loads` has a row for each log: path, size in bytes, mtime, options, rows, exit,
    outcome, messages, account. Each log is one transaction: what is stopped in the middle leaves whole logs,
    and the same call takes it up again. A log of the same path, size, mtime and options is not loaded twice;
    one that has changed since it was loaded replaces what it was.

    Args:
        connection: To a database file or to memory. Cursors of it are used in other threads.
        paths: A log, a folder below which all logs are read whatever their names, or several of both.
        table: Name of the table of events.
        workers: How many processes decode, and how many threads insert; by default as many as there are
            processors.
        progress: Whether a bar on a terminal shows how far the load is; it takes the package rich.
        scratch: Folder for decoded events on their way, at most about `3 * workers * part_size` bytes; by
            default beside the database, or the system's for one in memory.
        part_size: Logs above this size are decoded in parts, in bytes.
        **chosen: Options, named as on the command line: `eventid="4624|4625"`, `recover=True`.

    Returns:
        What was loaded, and what could not be read.

    Raises:
        OptionError: An option that does not exist, or a value that the program does not take.
        PathError: A path that is not there.
        NoLogsError: A folder without any log.
        SchemaError: The table exists and has other columns; nothing is changed.
        LoadError: The database or the scratch folder does not take more. Logs loaded so far stay.

    Example:
        >>> connection = duckdb.connect("case.duckdb")
        >>> tarnlex.load(connection, "/evidence", recover=True).rows
    """
    from tarnlex.loading import Loading  # noqa: PLC0415  (only loads need duckdb)

    line = options.arguments(chosen, REFUSED)
    given = listed(paths, whole=True)
    options.check(line)
    workers = workers or len(os.sched_getaffinity(0))
    if workers < 1 or part_size < 1:
        raise ValueError("workers and part_size are at least 1")
    wanted = logs.found(given)
    with (
        connection.cursor() as own,
        _scratch(own, scratch) as folder,
        bar(sum(log.size for log in wanted), progress) as done,
    ):
        return Loading(
            own, table=table, line=line, workers=workers, part_size=part_size, folder=folder, done=done
        ).run(wanted)


@contextlib.contextmanager
def _scratch(connection: "DuckDBPyConnection", wanted: PathLike | None) -> Iterator[Path]:
    """A folder of its own for files that are on their way."""
    row = connection.execute(
        "SELECT path FROM duckdb_databases() WHERE database_name = current_database()"
    ).fetchone()
    beside = str(Path(row[0]).parent) if row and row[0] else None
    try:
        kept = tempfile.TemporaryDirectory(prefix="tarnlex_load_", dir=wanted or beside)
    except OSError as error:
        raise LoadError(f"no scratch folder can be made: {error}") from error
    with kept as folder:
        yield Path(folder)
