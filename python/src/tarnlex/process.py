"""A run of the program: its lines as they come, what it said, and its end."""

import json
import subprocess
import tempfile
from collections.abc import Iterator, Sequence
from pathlib import Path
from types import TracebackType
from typing import IO, Any, Self

from tarnlex import options, program
from tarnlex.errors import ProgramError, RunError

# Of what a run says no more than this is kept, in bytes.
MOST_SAID = 1 << 16
# So long a run may take to end once it is asked to, in seconds.
PATIENCE = 5.0
# Exit code of a run without any log, and of one that failed otherwise.
EMPTY = 255
# Outcomes of logs that a run was not asked to read, by a report or by a part.
UNASKED = ("read", "no report for it", "in part 1")


class Run:
    """The program at work, until the end of a `with` block at the latest.

    Args:
        arguments: Its command line, without its own name.
        logs: Paths to hand over with -pipe, none of which has a line break.
        out: Where standard output goes; by default to `lines`.
    """

    def __init__(
        self, arguments: Sequence[str], logs: Sequence[str] = (), out: int = subprocess.PIPE
    ) -> None:
        self._said: IO[bytes] = tempfile.TemporaryFile()  # noqa: SIM115
        with tempfile.TemporaryFile() as paths:
            paths.write("".join(f"{log}\n" for log in logs).encode("utf-8", "surrogateescape"))
            paths.seek(0)
            command = [program.find(), *arguments]
            try:
                self._process = subprocess.Popen(
                    command,
                    bufsize=1 << 20,
                    stdin=paths,
                    stdout=out,
                    stderr=self._said,
                    process_group=0,  # Ctrl-C is for this process, which then ends its runs
                )
            except OSError as error:
                self._said.close()
                raise ProgramError(f"{command[0]} cannot be started: {error}") from error

    def __enter__(self) -> Self:
        return self

    def __exit__(
        self, kind: type[BaseException] | None, error: BaseException | None, trace: TracebackType | None
    ) -> None:
        self.stop()
        self._said.close()

    def lines(self) -> Iterator[bytes]:
        """The lines of standard output, each with its end, as the program writes them."""
        return iter(self._process.stdout or ())

    def wait(self) -> int:
        """The exit code, once the program has ended by itself."""
        return self._process.wait()

    def messages(self, account: Path | None = None) -> list[str]:
        """What the program said on standard error, without the run header, and without naming the account."""
        self._said.seek(0)
        said = options.messages(self._said.read(MOST_SAID).decode("utf-8", "replace"))
        return [message.removesuffix(f"; {account} names them") for message in said]

    def judge(self, account: Path) -> None:
        """Waits for the end of the program.

        Args:
            account: The account that the run was asked for.

        Raises:
            RunError: The run failed, or a log that was asked for could not be read.
        """
        status = self.wait()
        missing = unread(read_account(account)[0])
        if status != 0 or missing:
            raise RunError(status, [*missing, *self.messages(account)])

    def end(self) -> None:
        """Asks the program to end; for another thread than the one that waits."""
        self._process.terminate()

    def stop(self) -> None:
        """Ends the program, if it has not ended by itself."""
        # First, as it may be waiting for somebody to read on.
        if self._process.stdout:
            self._process.stdout.close()
        if self._process.poll() is not None:
            return
        self._process.terminate()
        try:
            self._process.wait(PATIENCE)
        except subprocess.TimeoutExpired:
            self._process.kill()
            self._process.wait()


def read_account(path: Path) -> tuple[list[dict[str, Any]], dict[str, Any] | None]:
    """The account of a run: a dict for each log and folder, and that of the run if it came to its end."""
    logs: list[dict[str, Any]] = []
    run = None
    try:
        with path.open(encoding="utf-8", newline="\n") as lines:
            for line in lines:
                one = json.loads(line)
                if one["type"] == "run":
                    run = one
                else:
                    logs.append(one)
    except (OSError, ValueError):
        pass  # of a run that was ended in the middle of a line, what is whole counts
    return logs, run


def unread(logs: Sequence[dict[str, Any]]) -> list[str]:
    """What of an account's logs was asked for and not read, in words."""
    return [f"{log['path']}: {log['outcome']}" for log in logs if log["outcome"] not in UNASKED]
