"""Keyword arguments become options of the command line.

Which options there are, and which take a value, the program says itself, and it judges their values too: so
nothing here has to be kept up with it.
"""

import datetime
import difflib
import functools
import os
import re
import subprocess
from collections.abc import Iterable, Mapping
from typing import TypeAlias

from tarnlex import program
from tarnlex.errors import OptionError

Value: TypeAlias = str | int | bool | os.PathLike[str] | datetime.datetime | Iterable[str | int] | None

# What callers of this package say by other means, and why they cannot say it here.
OWN = {
    **dict.fromkeys(
        ("log", "dir", "pipe", "partition", "livesys", "vss", "carve", "carve_out"),
        "the paths say which logs",
    ),
    **dict.fromkeys(("json", "out", "outfile", "outdir"), "events come as -json writes them"),
    **dict.fromkeys(("h", "help", "options", "version"), "it makes the program say something and end"),
    "quiet": "a run is always quiet",
}
# Those that name a file to write.
FILES = ("account", "diags", "stats", "hist")
# Those that are about all logs of a run together.
WHOLE_RUN = (*FILES, "unique")


@functools.cache
def _takes_value(listing: str) -> dict[str, bool]:
    """Of each option that the program lists, by name, whether it takes a value."""
    found = re.findall(r"^ +-(\w+)( \S.*?)?  ", listing, re.MULTILINE)
    return {name: bool(value) for name, value in found}


def known() -> dict[str, bool]:
    """The options that may be given as keyword arguments, and whether each takes a value."""
    return {name: value for name, value in _takes_value(program.ask("-options")).items() if name not in OWN}


def arguments(options: Mapping[str, Value], refused: Mapping[str, str] | None = None) -> list[str]:
    """The command line for options.

    Args:
        options: By the name that an option has on the command line. True stands for an option that takes no
            value; None and False leave it out. Lists are put together with "|"; times without a zone are UTC.
        refused: Options that the caller does not take, with the reason.

    Returns:
        The arguments, without the sources of logs and the form of the output.

    Raises:
        OptionError: An option that does not exist or does not go here, or a value that does not fit.
    """
    takes_value = known()
    line: list[str] = []
    for name, value in options.items():
        reason = OWN.get(name) or (refused or {}).get(name)
        if reason:
            raise OptionError(f"{name} cannot be given: {reason}")
        if name not in takes_value:
            nearest = difflib.get_close_matches(name, takes_value, 1)
            raise OptionError(f"no option {name}" + (f"; is {nearest[0]} meant?" if nearest else ""))
        if value is None or value is False:
            continue
        line.append(f"-{name}")
        if takes_value[name]:
            line.append(_text(name, value))
        elif value is not True:
            raise OptionError(f"{name} takes no value: True or False, not {value!r}")
    return line


def _text(name: str, value: Value) -> str:
    """The value of an option as the command line has it."""
    if value is True or value == "":
        raise OptionError(f"{name} needs a value")
    if isinstance(value, str | int):
        return str(value)
    if isinstance(value, os.PathLike):
        return os.fspath(value)
    if isinstance(value, datetime.datetime):
        aware = value if value.tzinfo else value.replace(tzinfo=datetime.UTC)
        return aware.astimezone(datetime.UTC).replace(tzinfo=None).isoformat() + "Z"
    if isinstance(value, Iterable) and not isinstance(value, bytes | bytearray | Mapping):
        parts = [str(part) for part in value]
        if parts and not any("|" in part for part in parts):
            return "|".join(parts)
    raise OptionError(f"{name} does not take {value!r}")


def check(line: list[str]) -> None:
    """Has the program judge a command line, over no log at all.

    Args:
        line: What `arguments` gave.

    Raises:
        OptionError: The program would ignore or refuse something of it; the message is the program's.
    """
    tried = [program.find(), "-pipe", "-json", "-quiet", "-strict", *_without_files(line)]
    done = subprocess.run(tried, stdin=subprocess.DEVNULL, capture_output=True, check=False)
    if done.returncode != 0:
        said = messages(done.stderr.decode("utf-8", "replace"))
        said = [message for message in said if message != "not run, as -strict is given"]
        raise OptionError("; ".join(said) or f"the program ended with {done.returncode}")


def _without_files(line: list[str]) -> list[str]:
    """A command line without the options that make the program write a file; all of them take a value."""
    written = {f"-{name}" for name in FILES}
    kept: list[str] = []
    rest = iter(line)
    for word in rest:
        if word in written:
            next(rest)
        else:
            kept.append(word)
    return kept


def messages(said: str) -> list[str]:
    """The lines of standard error that are no run header."""
    header = re.compile(r'tarnlex ver: |run time: |"cmdline: |\s*$')
    return [line for line in said.splitlines() if not header.match(line)]
