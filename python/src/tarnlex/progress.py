"""How far a load is, on a terminal."""

import contextlib
import sys
from collections.abc import Callable, Iterator


@contextlib.contextmanager
def bar(total: int, shown: bool) -> Iterator[Callable[[int], None]]:
    """A bar on standard error that is moved on by bytes; none where that is no terminal, or rich is missing.

    Args:
        total: Bytes to come.
        shown: Whether it is wanted.

    Yields:
        What to call with the bytes that were done.
    """
    if shown and sys.stderr.isatty():
        with contextlib.suppress(ImportError):
            from rich.console import Console  # noqa: PLC0415
            from rich.progress import (  # noqa: PLC0415
                BarColumn,
                DownloadColumn,
                Progress,
                TimeRemainingColumn,
            )

            columns = (BarColumn(), DownloadColumn(binary_units=True), TimeRemainingColumn())
            with Progress(*columns, console=Console(stderr=True), transient=True) as progress:
                task = progress.add_task("", total=total)
                yield lambda done: progress.advance(task, done)
                return
    yield lambda done: None
