"""Files that are there whole or not at all."""

import contextlib
import os
import secrets
from collections.abc import Iterator
from pathlib import Path
from typing import TextIO

from tarnlex.desk import stop
from tarnlex.errors import TarnlexError


@contextlib.contextmanager
def replacing(path: str) -> Iterator[TextIO]:
    """A text file that takes the place of `path` once all is written.

    It is written beside `path`; when writing fails, it is removed, and what was at `path` stays.

    Args:
        path: Where the file shall be.

    Yields:
        The file, which takes UTF-8 and keeps line ends.

    Raises:
        TarnlexError: The file cannot be written: no such folder, no right, no room.
    """
    beside = Path(f"{path}.{secrets.token_hex(4)}.part")
    try:
        with beside.open("x", encoding="utf-8", newline="\n") as file:
            yield file
            stop.check()
            file.flush()
            os.fsync(file.fileno())
        beside.replace(path)
    except OSError as error:
        beside.unlink(missing_ok=True)
        raise TarnlexError(
            f"{path} cannot be written: {error.strerror or error}; nothing is left there"
        ) from error
    except BaseException:
        beside.unlink(missing_ok=True)
        raise
