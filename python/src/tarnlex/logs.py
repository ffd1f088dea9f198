"""Which logs there are below paths, and in which parts they are read."""

import os
import tempfile
from collections.abc import Iterator, Sequence
from pathlib import Path
from typing import NamedTuple

from tarnlex.errors import NoLogsError, RunError
from tarnlex.paths import in_runs
from tarnlex.process import EMPTY, Run, read_account

# The smallest part that the program makes of a log, as nothing but the list is wanted.
_MOST_PARTS = 65536
_LITTLE = f"{_MOST_PARTS}/{_MOST_PARTS}"


class Log(NamedTuple):
    """A log that is to be read, or something that cannot be.

    Attributes:
        path: As the program opens it.
        size: In bytes; 0 for what is not there.
        modified: When it was written to last, in nanoseconds since 1970, UTC.
        outcome: Why it is not to be read; empty for a log that is.
    """

    path: str
    size: int
    modified: int
    outcome: str

    @property
    def name(self) -> str:
        """The path as the program writes it: a text, also where the path is none."""
        return self.path.encode("utf-8", "surrogateescape").decode("utf-8", "replace")


def found(paths: Sequence[str]) -> list[Log]:
    """All logs that paths name, each once, in their order; folders are searched as `-dir` does.

    Files and folders that cannot be opened are among them, with their outcome.

    Raises:
        NoLogsError: There is none below a folder.
        RunError: The program failed.
    """
    logs: dict[str, Log] = {}
    for source, files in in_runs(paths):
        for path, outcome in ((file, "") for file in files) if files else _below(source):
            logs.setdefault(path, _log(path, outcome))
    return list(logs.values())


def _below(source: list[str]) -> Iterator[tuple[str, str]]:
    """Path and outcome of what the program finds in a folder."""
    with tempfile.TemporaryDirectory(prefix="tarnlex_") as folder:
        account = Path(folder, "account")
        asked = [*source, "-json", "-quiet", "-part", _LITTLE, "-out", os.devnull, "-account", str(account)]
        with Run(asked) as run:
            status = run.wait()
            logs, _ = read_account(account)
            if status == EMPTY and not logs:
                raise NoLogsError(f"no event log below {source[1]}")
            if status != 0:
                raise RunError(status, run.messages())
    for log in logs:
        yield log["path"], "" if log["outcome"] in ("read", "in part 1") else log["outcome"]


def _log(path: str, outcome: str) -> Log:
    try:
        status = Path(path).stat()
    except OSError:
        return Log(path, 0, 0, outcome)
    return Log(path, status.st_size, status.st_mtime_ns, outcome)


def parts(log: Log, part_size: int) -> list[str]:
    """The parts, "K/N", in which a log is read, one for each `part_size` bytes; of a small log an empty text.

    Of a log in the format EVT the program reads all as the first part, and nothing as the others.
    """
    number = min(-(-log.size // part_size), _MOST_PARTS)
    return [f"{part}/{number}" for part in range(1, number + 1)] if number > 1 else [""]
