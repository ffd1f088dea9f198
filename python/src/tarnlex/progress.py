"""How far a load is, on a terminal."""

import contextlib
import sys
from collections.abc import Callable, Iterator
from typing import TYPE_CHECKING

if TYPE_CHECKING:
    from rich.progress import Progress


def _made() -> "Progress | None":
    """What draws the bar; none where rich is missing."""
    try:
        from rich.console import Console  # noqa: PLC0415
        from rich.progress import (  # noqa: PLC0415
            BarColumn,
            DownloadColumn,
            Progress,
            TimeRemainingColumn,
        )
    except ImportError:
        return None
    columns = (BarColumn(), DownloadColumn(binary_units=True), TimeRemainingColumn())
    return Progress(*columns, console=Console(stderr=True), transient=True)


@contextlib.contextmanager
def bar(total: int, shown: bool) -> Iterator[Callable[[int], None]]:
    """A bar on standard error that is moved on by bytes; none where that is no terminal, or rich is missing.

    Args:
        total: Bytes to come.
        shown: Whether it is wanted.

    Yields:
        What to call with the bytes that were done.
    """
    made = _made() if shown and sys.stderr.isatty() else None
    if made is None:
        yield lambda done: None
        return
    with made as progress:
        task = progress.add_task("", total=total)
        yield lambda done: progress.advance(task, done)
