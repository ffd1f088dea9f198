"""Paths of logs and folders, as callers give them."""

import os
from collections.abc import Iterable
from pathlib import Path
from typing import TypeAlias

from tarnlex.errors import PathError

PathLike: TypeAlias = str | os.PathLike[str]
Paths: TypeAlias = PathLike | Iterable[PathLike]


def listed(paths: Paths, *, whole: bool = False) -> list[str]:
    """One path or many, each of which is there.

    Args:
        paths: As callers give them.
        whole: Whether they are wanted from the root on.

    Raises:
        PathError: One is not there, or cannot be handed to the program: one with a line break, or a folder
            with a "|", which stands between folders.
    """
    given = [paths] if isinstance(paths, str | os.PathLike) else list(paths)
    found = [_whole(path) if whole else os.fspath(path) for path in given]
    if not found:
        raise PathError("no path is given")
    for path in found:
        if not Path(path).exists():
            raise PathError(f"there is no {path}")
        if "\n" in path or "\r" in path:
            raise PathError(f"a path with a line break cannot be read: {path!r}")
        if Path(path).is_dir() and ("|" in path or path != path.strip()):
            raise PathError(f'a folder with "|" or outer blanks cannot be searched: {path!r}; name its logs')
    return found


def _whole(path: PathLike) -> str:
    """A path from the root on, without "..", so that a log has one name however it is reached."""
    given = Path(path)
    return str(given.resolve() if ".." in given.parts else given.absolute())


def in_runs(paths: Iterable[str]) -> list[tuple[list[str], list[str]]]:
    """Paths in their order, put together for as few runs as keep it.

    Returns:
        For each run its arguments that say which logs, and the paths to hand over with -pipe.
    """
    runs: list[tuple[list[str], list[str]]] = []
    for path in paths:
        if Path(path).is_dir():
            runs.append((["-dir", path], []))
        elif runs and runs[-1][1]:
            runs[-1][1].append(path)
        else:
            runs.append((["-pipe"], [path]))
    return runs
