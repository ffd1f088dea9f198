"""A log or a part of it, decoded into a file of lines of JSON."""

import os
from collections.abc import Sequence
from pathlib import Path
from threading import Lock
from typing import Any, NamedTuple

from tarnlex.errors import LoadError
from tarnlex.process import Run, read_account


class Decoded(NamedTuple):
    """What came of a run over one log.

    Attributes:
        lines: The file of its events; perhaps not there, of a run without any.
        exit: Exit code of the program; negative: the signal that ended it.
        account: What the program accounts of the log; empty where it did not come to it.
        messages: What it said.
    """

    lines: Path
    exit: int
    account: dict[str, Any]
    messages: list[str]

    @property
    def outcome(self) -> str:
        """What became of the log, in the words of the account."""
        said = str(self.account.get("outcome", "broken off"))
        return "broken off" if said == "read" and self.exit != 0 else said


class Decoders:
    """Runs of the program, all of which can be ended from another thread.

    Args:
        line: The options that all runs have.
        folder: Where files of lines are made.
    """

    def __init__(self, line: Sequence[str], folder: Path) -> None:
        self._line = list(line)
        self._folder = folder
        self._lock = Lock()
        self._running: set[Run] = set()
        self._number = 0
        self._stopped = False

    def part(self, path: str, part: str) -> Decoded:
        """Decodes a part, "K/N", of a log; without a part, all of it.

        Raises:
            LoadError: The lines cannot be written.
        """
        lines = self._name("lines")
        return self._run(path, lines, [*(["-part", part] if part else []), *self._line])

    def account(self, path: str) -> Decoded:
        """The account of a log as a whole, without its events."""
        recover = ["-recover"] if "-recover" in self._line else []
        return self._run(path, Path(os.devnull), ["-eventid", "65536", *recover])

    def stop(self) -> None:
        """Ends all runs, and those to come."""
        with self._lock:
            self._stopped = True
            running = list(self._running)
        for run in running:
            run.end()

    def _name(self, kind: str) -> Path:
        with self._lock:
            self._number += 1
            return self._folder / f"{self._number}.{kind}"

    def _run(self, path: str, lines: Path, line: list[str]) -> Decoded:
        account = self._name("account")
        asked = ["-pipe", "-json", "-quiet", "-out", str(lines), "-account", str(account), *line]
        with Run(asked, [path]) as run:
            with self._lock:
                self._running.add(run)
                stopped = self._stopped
            try:
                if stopped:
                    run.end()
                status = run.wait()
            finally:
                with self._lock:
                    self._running.discard(run)
            messages = run.messages(account)
        logs, _ = read_account(account)
        account.unlink(missing_ok=True)
        if any(said.startswith("prob writing output") for said in messages):
            raise LoadError(f"the disk with {self._folder} does not take what is written there: is it full?")
        return Decoded(lines, status, logs[0] if logs else {}, messages)
