"""Ending a command in good order while the database is at work.

A query runs outside of Python, which learns of a signal only when it is done. So commands run in a
thread, and the first one waits for the signal and interrupts the database.
"""

import concurrent.futures
import signal
import threading
import weakref
from collections.abc import Callable
from types import FrameType
from typing import NoReturn

import duckdb

_connections: "weakref.WeakSet[duckdb.DuckDBPyConnection]" = weakref.WeakSet()
_stopping = threading.Event()


class Stopped(KeyboardInterrupt):
    """The command was told to end, by a signal of this number."""

    def __init__(self, number: int) -> None:
        self.number = number
        super().__init__()


def interruptible(connection: duckdb.DuckDBPyConnection) -> duckdb.DuckDBPyConnection:
    """Has a stop interrupt what a connection does."""
    _connections.add(connection)
    return connection


def check() -> None:
    """Raises if the command is being stopped; asked before what cannot be taken back.

    Raises:
        Stopped: It is.
    """
    if _stopping.is_set():
        raise Stopped(signal.SIGINT)


def listen() -> None:
    """From now on a signal to end raises `Stopped` in the first thread."""
    _stopping.clear()
    for number in (signal.SIGINT, signal.SIGTERM):
        signal.signal(number, _raise)


def run(command: Callable[[], int]) -> int:
    """Runs a command, and ends it and its queries when a signal comes.

    Returns:
        What the command returns.

    Raises:
        Stopped: A signal came; the command has ended.
    """
    with concurrent.futures.ThreadPoolExecutor(1) as pool:
        running = pool.submit(command)
        try:
            return running.result()
        except Stopped:
            _stopping.set()
            while not running.done():
                for connection in list(_connections):
                    connection.interrupt()
                concurrent.futures.wait([running], timeout=0.1)
            raise


def _raise(number: int, _: FrameType | None) -> NoReturn:
    raise Stopped(number)
