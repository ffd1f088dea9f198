"""Where the program is, and what it says of itself."""

import functools
import os
import shutil
import subprocess
from importlib import metadata
from pathlib import Path

from tarnlex.errors import ProgramError

VARIABLE = "TARNLEX_PROGRAM"


def find() -> str:
    """Path of the program that this package runs.

    The one that the environment variable TARNLEX_PROGRAM names, else the one that was installed with this
    package, else the first of the search path.

    Raises:
        ProgramError: There is none.
    """
    named = os.environ.get(VARIABLE)
    if named:
        if not os.access(named, os.X_OK):
            raise ProgramError(f"{VARIABLE} names {named}, which cannot be run")
        return named
    found = _installed() or shutil.which("tarnlex")
    if found is None:
        raise ProgramError(f"no program tarnlex: set {VARIABLE} to its path, or put it into the search path")
    return found


def _installed() -> str | None:
    """The program that came with this package; checkouts have none."""
    try:
        files = metadata.files("tarnlex") or []
    except metadata.PackageNotFoundError:
        return None
    for file in files:
        path = Path(str(file.locate()))
        if file.name == "tarnlex" and os.access(path, os.X_OK) and path.is_file():
            return str(path.resolve())
    return None


def ask(*arguments: str) -> str:
    """What the program answers to arguments that make it say something and end.

    Raises:
        ProgramError: It cannot be started, or fails.
    """
    return _ask(find(), *arguments)


@functools.cache
def _ask(program: str, *arguments: str) -> str:
    try:
        done = subprocess.run([program, *arguments], capture_output=True, text=True, check=False)
    except OSError as error:
        raise ProgramError(f"{program} cannot be started: {error}") from error
    if done.returncode != 0:
        raise ProgramError(f"{program} {' '.join(arguments)} ended with {done.returncode}")
    return done.stdout


def version() -> str:
    """Version and commit of the program, as "0.33 (0123456789ab)"."""
    said = dict(line.split(": ", 1) for line in ask("-version").splitlines() if ": " in line)
    return f"{said.get('tarnlex ver', 'unknown')} ({said.get('commit', 'unknown')[:12]})"
