"""`tarnlex-desk export`: a case for other tools."""

import argparse
import json
from collections.abc import Iterator
from typing import Any

import duckdb

from tarnlex.desk.case import open_case
from tarnlex.desk.files import replacing
from tarnlex.desk.show import say
from tarnlex.errors import TarnlexError

# Texts throughout in EventData and its like: a server may give each name the type of its first value.
_QUERY = """
SELECT to_json(event), strftime(make_timestamp(epoch_ns({time}) // 1000), '%Y-%m-%dT%H:%M:%S.%f+00:00'),
  event.Provider, event.EventID, event.EventData, event.UserData
FROM (SELECT * FROM events ORDER BY coalesce(TimeCreated, TimeWritten) NULLS FIRST, Log, "Offset") AS event"""

# A time outside of these years, or none, is this.
_TIME = """CASE WHEN year(coalesce(event.TimeCreated, event.TimeWritten)) BETWEEN 1970 AND 2999
  THEN coalesce(event.TimeCreated, event.TimeWritten) ELSE TIMESTAMP_NS '1970-01-01 00:00:00' END"""

#: Members whose values are written as texts.
_OBJECTS = ("System", "EventData", "UserData", "RenderingInfo", "Others", "Recovered", "Unfit")

_TIMES = {"TimeCreated", "TimeWritten"}

#: Columns of a case that are no members of an event.
_OWN = ("Load",)


def run(arguments: argparse.Namespace) -> int:
    """Writes all events of a case in the order of their times.

    Raises:
        TarnlexError: There is no such case, or the file cannot be written.
    """
    connection = open_case(arguments.case)
    count = 0
    try:
        with replacing(arguments.timesketch) as file:
            for line in _lines(connection):
                file.write(f"{line}\n")
                count += 1
    except duckdb.Error as error:
        raise TarnlexError(f"{arguments.case}: {error}") from error
    finally:
        connection.close()
    say(f"{arguments.timesketch}: {count} events")
    return 0


def _lines(connection: duckdb.DuckDBPyConnection) -> Iterator[str]:
    for text, time, provider, number, data, user in connection.sql(_QUERY.format(time=_TIME)).iter_rows():
        yield _line(json.loads(text), time, _message(provider, number, data or user))


def _line(event: dict[str, Any], time: str, message: str) -> str:
    members = {name: value for name, value in event.items() if value is not None and name not in _OWN}
    for name in _OBJECTS:
        if name in members:
            members[name] = _texts(members[name])
    for name in _TIMES & members.keys():
        members[name] = _written(members[name])
    # What found no column of its own is a member again.
    members |= members.pop("Others", {}) | members.pop("Unfit", {})
    members |= {"message": message, "datetime": time, "timestamp_desc": "Event Logged"}
    # The importer takes some characters beside the line feed for ends of lines: none but ASCII is written.
    return json.dumps(members, separators=(",", ":"))


def _written(time: str) -> str:
    """A time as the program writes it, with seven digits; the database leaves out zeros at the end."""
    whole, _, digits = time.partition(".")
    return f"{whole.replace(' ', 'T')}.{digits:0<7}Z"


def _texts(value: Any) -> Any:  # noqa: ANN401
    if isinstance(value, dict):
        return {name: _texts(inner) for name, inner in value.items()}
    if isinstance(value, list):
        return [_texts(inner) for inner in value]
    return value if isinstance(value, str) else json.dumps(value)


def _message(provider: str | None, number: int | None, values: str | None) -> str:
    """What happened in a line: the provider, the event identifier, and all values by their names."""
    pairs = _pairs("", json.loads(values)) if values else []
    return " ".join(f"{provider or '-'} {number} {'; '.join(pairs)}".split())


def _pairs(name: str, value: Any) -> list[str]:  # noqa: ANN401
    if isinstance(value, dict):
        return [pair for inner in value for pair in _pairs(inner, value[inner])]
    if isinstance(value, list):
        return [pair for inner in value for pair in _pairs(name, inner)]
    return [f"{name}: {value}"]
