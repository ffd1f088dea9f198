"""Windows event logs, EVT and EVTX, as Python dicts, DuckDB tables and Spark DataFrames.

The program tarnlex reads the logs; this package runs it. `events` gives events as they stream, `load` fills
a table of DuckDB, and `tarnlex.spark.events` makes a DataFrame.
"""

from tarnlex.errors import (
    LoadError,
    NoLogsError,
    OptionError,
    PathError,
    ProgramError,
    RunError,
    SchemaError,
    TarnlexError,
)
from tarnlex.events import events
from tarnlex.load import load
from tarnlex.loaded import Loaded, Unread
from tarnlex.program import version

__all__ = [
    "LoadError",
    "Loaded",
    "NoLogsError",
    "OptionError",
    "PathError",
    "ProgramError",
    "RunError",
    "SchemaError",
    "TarnlexError",
    "Unread",
    "events",
    "load",
    "version",
]
