"""Events as Python dicts, as they stream."""

import json
import tempfile
from collections.abc import Iterator
from pathlib import Path
from typing import Any

from tarnlex import options
from tarnlex.errors import NoLogsError, OptionError, RunError
from tarnlex.options import Value
from tarnlex.paths import Paths, in_runs, listed
from tarnlex.process import EMPTY, Run, read_account


def events(paths: Paths, **chosen: Value) -> Iterator[dict[str, Any]]:
    """Events of logs and of folders of logs, one after the other.

    Memory stays the same however large the logs are. Each event is a dict of the members of `-json`, or with
    `event_json=True` of that form: texts, numbers, lists and dicts; times are texts, in UTC, with seven
    digits of the second. The program runs while events are taken; closing the iterator, or dropping it, ends
    it.

    Args:
        paths: A log, a folder below which all logs are read whatever their names, or several of both.
        **chosen: Options, named as on the command line: `eventid="4624|4625"`, `complete=True`,
            `recover=True`, `start_time="2023-03-14T11:00:00Z"` or a datetime (UTC unless it says its zone).

    Yields:
        The events, log after log, in the order of the file. The iterator can be gone through once.

    Raises:
        OptionError: An option that does not exist, or a value that the program does not take.
        PathError: A path that is not there.
        NoLogsError: A folder without any log.
        RunError: After the events that could be read: the run failed, or a log could not be opened or read.
        ProgramError: The program is not to be found.

    Example:
        >>> for event in tarnlex.events("Security.evtx", eventid=4625):
        ...     print(event["TimeCreated"], event["EventData"].get("TargetUserName"))
    """
    form = ["-event_json" if chosen.pop("event_json", False) else "-json"]
    line = options.arguments(chosen)
    runs = in_runs(listed(paths))
    whole = [name for name in options.WHOLE_RUN if chosen.get(name)]
    if whole and len(runs) > 1:
        raise OptionError(f"{whole[0]} goes with one folder, or with files: each folder is a run of its own")
    options.check(line)
    return _stream(runs, [*form, "-quiet", *line], chosen.get("account"))


def _stream(
    runs: list[tuple[list[str], list[str]]], line: list[str], account: Value
) -> Iterator[dict[str, Any]]:
    for source, logs in runs:
        with tempfile.TemporaryDirectory(prefix="tarnlex_") as folder:
            kept = Path(str(account)) if account else Path(folder, "account")
            asked = [] if account else ["-account", str(kept)]
            with Run([*source, *line, *asked], logs) as run:
                for text in run.lines():
                    yield json.loads(text)
                _judge(run, source, kept)


def _judge(run: Run, source: list[str], account: Path) -> None:
    """Raises what a run is to be blamed for."""
    try:
        run.judge(account)
    except RunError as error:
        if source[0] == "-dir" and error.exit == EMPTY and not read_account(account)[0]:
            raise NoLogsError(f"no event log below {source[1]}") from error
        raise
