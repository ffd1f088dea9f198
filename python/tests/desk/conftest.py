"""Cases for the tests: of made-up logs, of real ones, and of events that a test makes up."""

import json
from collections.abc import Callable, Iterable, Mapping
from pathlib import Path

import duckdb
import pytest

from tarnlex import table
from tarnlex.desk.main import main

Event = Mapping[str, object]


def _fill(connection: duckdb.DuckDBPyConnection, events: Iterable[Event], folder: Path) -> None:
    """Makes the tables of a case, of events that are dicts as tarnlex.events gives them."""
    lines = folder / "events.jsonl"
    lines.write_text("".join(f"{json.dumps({'Log': 'a.evtx'} | dict(one))}\n" for one in events))
    table.prepare(connection, "events")
    if lines.stat().st_size:
        connection.execute(table.insertion("events", lines, 1))


@pytest.fixture(scope="session")
def case(made: Path, tmp_path_factory: pytest.TempPathFactory) -> Path:
    """A case of the made-up logs; tests do not change it."""
    path = tmp_path_factory.mktemp("case") / "case.duckdb"
    assert main(["load", str(path), str(made)]) == 0
    return path


@pytest.fixture(scope="session")
def real_case(real: Path, tmp_path_factory: pytest.TempPathFactory) -> Path:
    """A case of real logs."""
    path = tmp_path_factory.mktemp("case") / "real.duckdb"
    assert main(["load", str(path), str(real)]) == 0
    return path


@pytest.fixture(scope="session")
def fill() -> Callable[[duckdb.DuckDBPyConnection, Iterable[Event], Path], None]:
    """Makes the tables of a case, with a folder to work in."""
    return _fill


@pytest.fixture
def make_case(tmp_path: Path) -> Callable[[Iterable[Event]], Path]:
    """Makes a case of events, each a dict as tarnlex.events gives them."""

    def make(events: Iterable[Event]) -> Path:
        path = tmp_path / "case.duckdb"
        with duckdb.connect(str(path)) as connection:
            _fill(connection, events, tmp_path)
        return path

    return make
