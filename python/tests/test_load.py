import json
import os
import pty
import re
import shutil
import signal
import subprocess
import sys
import time
from datetime import UTC, datetime
from pathlib import Path
from typing import Any

import duckdb
import pytest

import tarnlex
from tarnlex import table
from tarnlex.schema import MEMBERS

LOGS, EVENTS = 6, 127  # in the folder of made-up logs

Connection = duckdb.DuckDBPyConnection


def members(connection: Connection, name: str = "events") -> list[dict[str, Any]]:
    """The events of a table as the program writes them, to the last digit."""
    values = ", ".join(
        f"strftime(\"{column.name}\", '%Y-%m-%dT%H:%M:%S.%n')"
        if "TIMESTAMP" in column.sql
        else f'"{column.name}"'
        for column in MEMBERS
    )
    rows = connection.execute(f'SELECT {values}, "Others" FROM {name} ORDER BY "Load", rowid').fetchall()
    return [_event(row) for row in rows]


def _event(row: tuple[Any, ...]) -> dict[str, Any]:
    event: dict[str, Any] = {}
    for column, value in zip(MEMBERS, row, strict=False):
        if value is None:
            continue
        if column.sql == "JSON":
            event[column.name] = json.loads(value)
        else:
            event[column.name] = value[:27] + "Z" if "TIMESTAMP" in column.sql else value
    others: dict[str, Any] = json.loads(row[-1] or "{}")
    return event | others


def sorted_by_place(events: list[dict[str, Any]]) -> list[dict[str, Any]]:
    return sorted(events, key=lambda event: (event["Log"], event["Offset"]))


def counts(connection: Connection) -> dict[str, int]:
    """Events of each log, by its name."""
    return dict(
        connection.execute("SELECT split_part(Log, '/', -1), count(*) FROM events GROUP BY ALL").fetchall()
    )


@pytest.mark.parametrize("workers", [1, 3])
def test_nothing_of_an_event_is_lost(made: Path, workers: int) -> None:
    with duckdb.connect() as connection:
        loaded = tarnlex.load(connection, made, workers=workers)
        assert (loaded.logs, loaded.rows, loaded.unread) == (LOGS, EVENTS, [])
        assert sorted_by_place(members(connection)) == sorted_by_place(list(tarnlex.events(made)))


def test_nothing_of_real_logs_is_lost(real: Path) -> None:
    with duckdb.connect() as connection:
        tarnlex.load(connection, real, recover=True)
        events = sorted_by_place(list(tarnlex.events(real, recover=True)))
        assert len(events) > 1000
        assert sorted_by_place(members(connection)) == events


def test_a_log_is_the_same_by_each_path_to_it(logs: Path) -> None:
    with duckdb.connect() as connection:
        tarnlex.load(connection, logs)
        assert tarnlex.load(connection, logs / ".." / logs.name).present == LOGS


def test_a_log_whose_name_is_no_text_is_loaded_once(logs: Path) -> None:
    odd = Path(os.fsdecode(os.fsencode(logs) + b"/odd\xff.evtx"))
    shutil.copy(logs / "Security.evtx", odd)
    with duckdb.connect() as connection:
        assert tarnlex.load(connection, odd).rows == 58
        assert tarnlex.load(connection, odd).present == 1


def test_options_filter_and_are_a_load_of_their_own(made: Path) -> None:
    with duckdb.connect() as connection:
        assert tarnlex.load(connection, made, eventid=4624).rows == 17
        assert tarnlex.load(connection, made, eventid=4624).present == LOGS
        assert tarnlex.load(connection, made, eventid=4625).rows > 0
        assert connection.execute("SELECT DISTINCT EventID FROM events ORDER BY 1").fetchall() == [
            (4624,),
            (4625,),
        ]
        options = connection.execute("SELECT DISTINCT options->>1 FROM events_loads ORDER BY 1").fetchall()
        assert options == [("4624",), ("4625",)]


def test_a_large_log_is_read_in_parts(large: Path) -> None:
    with duckdb.connect() as connection:
        assert tarnlex.load(connection, large, table="whole").rows == 9280
        loaded = tarnlex.load(connection, large, table="parts", workers=3, part_size=1 << 20)
        assert (loaded.logs, loaded.rows) == (1, 9280)
        assert connection.execute("SELECT parts FROM parts_loads").fetchall() == [(21,)]
        columns = '* EXCLUDE ("Load")'
        differing = f"SELECT {columns} FROM whole EXCEPT ALL SELECT {columns} FROM parts"
        assert connection.execute(differing).fetchall() == []
        # The account is that of the log as a whole.
        assert connection.execute(
            "SELECT (w.account->'identifiers') = (p.account->'identifiers'), p.account->>'part' "
            "FROM whole_loads AS w, parts_loads AS p"
        ).fetchall() == [(True, None)]


def test_loads_say_what_was_loaded(made: Path) -> None:
    with duckdb.connect() as connection:
        tarnlex.load(connection, made / "System.evtx")
        row = connection.execute("SELECT * FROM events_loads").fetchone()
        assert row
        load = dict(zip(table.LOADS, row, strict=True))
        status = (made / "System.evtx").stat()
        assert load["path"] == str(made / "System.evtx")
        assert (load["size"], load["rows"], load["exit"], load["outcome"]) == (status.st_size, 6, 0, "read")
        assert connection.execute("SELECT epoch_ns(mtime) FROM events_loads").fetchall() == [
            (status.st_mtime_ns,)
        ]
        assert json.loads(load["account"])["records"]["decoded"] == 6
        assert load["program"] == tarnlex.version()
        assert abs((datetime.now(UTC).replace(tzinfo=None) - load["loaded_at"]).total_seconds()) < 60
        assert connection.execute('SELECT DISTINCT "Load" FROM events').fetchall() == [(load["load_id"],)]


def test_a_load_is_taken_up_and_a_changed_log_replaced(logs: Path) -> None:
    with duckdb.connect() as connection:
        tarnlex.load(connection, logs / "Security.evtx")
        loaded = tarnlex.load(connection, logs)
        assert (loaded.logs, loaded.present, loaded.replaced) == (LOGS - 1, 1, 0)
        before = counts(connection)
        (logs / "System.evtx").write_bytes((logs / "Cleared.evtx").read_bytes())
        loaded = tarnlex.load(connection, logs)
        assert (loaded.logs, loaded.present, loaded.replaced) == (1, LOGS - 1, 1)
        assert counts(connection) == before | {"System.evtx": before["Cleared.evtx"]}
        assert connection.execute("SELECT count(*) FROM events_loads").fetchone() == (LOGS,)


def test_what_cannot_be_read_is_noted_and_stops_nothing(logs: Path) -> None:
    others = [logs / f"notes {number}.txt" for number in range(9)]
    for other in others:
        other.write_text("These are notes.\n")
    with duckdb.connect() as connection:
        for _ in range(2):
            loaded = tarnlex.load(connection, [*others, logs], workers=1)
            assert [(Path(one.path), one.outcome) for one in loaded.unread] == [
                (other, "no event log") for other in others
            ]
            assert "passed over" in loaded.unread[0].messages[0]
        noted = connection.execute(
            "SELECT path, rows, outcome FROM events_loads WHERE rows IS NULL"
        ).fetchall()
        assert noted == [(str(other), None, "no event log") for other in others]
        assert sum(counts(connection).values()) == EVENTS


def test_a_log_that_cannot_be_read_any_more_keeps_what_was_loaded(logs: Path) -> None:
    log = logs / "System.evtx"
    with duckdb.connect() as connection:
        tarnlex.load(connection, log)
        log.write_text("no log")
        assert tarnlex.load(connection, log).unread[0].outcome == "no event log"
        assert counts(connection) == {"System.evtx": 6}


def stand_in(folder: Path, does: str) -> Path:
    """A program that does something else when it decodes a log."""
    script = folder / "stand_in"
    real = os.environ["TARNLEX_PROGRAM"]
    script.write_text(f'#!/bin/sh\ncase "$*" in *.lines*) {does};; esac\nexec {real} "$@"\n')
    script.chmod(0o755)
    return script


def test_a_program_that_breaks_off_leaves_nothing_of_its_log(
    logs: Path, tmp_path: Path, monkeypatch: pytest.MonkeyPatch
) -> None:
    does = f'{os.environ["TARNLEX_PROGRAM"]} "$@"; case "$*" in *" 20/21"*) kill -9 $$;; esac; exit'
    monkeypatch.setenv("TARNLEX_PROGRAM", str(stand_in(tmp_path, does)))
    log = logs / "large.evtx"
    content = (logs / "Security.evtx").read_bytes()
    log.write_bytes(content[:4096] + content[4096:] * 160)
    with duckdb.connect() as connection:
        for _ in range(3):
            loaded = tarnlex.load(connection, log, part_size=1 << 20, workers=2)
            assert [(one.outcome, loaded.rows) for one in loaded.unread] == [("broken off", 0)]
        assert connection.execute("SELECT count(*) FROM events").fetchone() == (0,)
        assert connection.execute("SELECT exit FROM events_loads").fetchall() == [(-9,)]


def test_another_schema_is_refused_and_nothing_changed(made: Path) -> None:
    for name in ("events", "events_loads"):
        with duckdb.connect() as connection:
            connection.execute(f"CREATE TABLE {name} (Log VARCHAR, mine INTEGER)")
            with pytest.raises(tarnlex.SchemaError, match=f"a table {name} with other columns .*mine"):
                tarnlex.load(connection, made)
            assert connection.execute("SELECT table_name FROM duckdb_tables()").fetchall() == [(name,)]


def test_names_of_tables_are_names_only(made: Path) -> None:
    name = 'a "b"; DROP TABLE x; --\''
    with duckdb.connect() as connection:
        tarnlex.load(connection, made / "System.evtx", table=name)
        tarnlex.load(connection, made, table=name)
        found = connection.execute("SELECT table_name FROM duckdb_tables() ORDER BY 1").fetchall()
        assert found == [(name,), (name + "_loads",)]


def test_names_of_folders_are_names_only(made: Path, tmp_path: Path, monkeypatch: pytest.MonkeyPatch) -> None:
    folder = tmp_path / "case [1] of * it's"
    folder.mkdir()
    with duckdb.connect(str(folder / "case.duckdb")) as connection:
        assert tarnlex.load(connection, made).rows == EVENTS
    assert [path.name for path in folder.iterdir()] == ["case.duckdb"]
    odd = tmp_path / "this | that"
    shutil.copytree(made, odd / "logs")
    monkeypatch.chdir(odd)
    with duckdb.connect() as connection, pytest.raises(tarnlex.PathError, match="name its logs"):
        tarnlex.load(connection, "logs")
    with duckdb.connect() as connection:
        assert tarnlex.load(connection, sorted(Path("logs").iterdir())).rows == EVENTS


def test_a_database_for_reading_alone_is_told(made: Path, tmp_path: Path) -> None:
    case = str(tmp_path / "case.duckdb")
    duckdb.connect(case).close()
    with (
        duckdb.connect(case, read_only=True) as connection,
        pytest.raises(tarnlex.LoadError, match="read-only"),
    ):
        tarnlex.load(connection, made)


def test_wrong_calls_make_no_table(made: Path, tmp_path: Path) -> None:
    with duckdb.connect() as connection:
        with pytest.raises(tarnlex.OptionError, match="part cannot be given: a load cuts"):
            tarnlex.load(connection, made, part="1/2")
        with pytest.raises(tarnlex.OptionError, match="unique cannot be given: each log"):
            tarnlex.load(connection, made, unique=True)
        with pytest.raises(tarnlex.OptionError, match="is recover meant"):
            tarnlex.load(connection, made, recovery=True)
        with pytest.raises(tarnlex.PathError):
            tarnlex.load(connection, tmp_path / "nowhere")
        with pytest.raises(tarnlex.NoLogsError):
            tarnlex.load(connection, tmp_path)
        with pytest.raises(ValueError, match="workers"):
            tarnlex.load(connection, made, workers=-1)
        assert connection.execute("SELECT * FROM duckdb_tables()").fetchall() == []


def insert(lines: list[str], folder: Path) -> list[dict[str, Any]]:
    """What the table holds of lines of JSON, without what is NULL."""
    path = folder / "lines"
    path.write_text("".join(f"{line}\n" for line in lines))
    with duckdb.connect() as connection:
        table.prepare(connection, "events")
        connection.execute(table.insertion("events", path, 7))
        rows = connection.execute("SELECT * FROM events").fetchall()
    names = [column.name for column in table.EVENTS]
    return [
        {name: value for name, value in zip(names, row, strict=True) if value is not None} for row in rows
    ]


@pytest.mark.parametrize(
    ("member", "text"),
    [
        ("TimeCreated", '"1601-01-01T00:00:00.0000000Z"'),
        ("TimeCreated", '"9999-12-31T23:59:59.9999999Z"'),
        ("TimeWritten", '"yesterday"'),
        ("TimeWritten", '"2023-03-14T07:24:05.123456+02"'),
        ("EventID", "4294967296"),
        ("EventID", '"0x10"'),
        ("EventID", "46.5"),
        ("EventID", '" 46"'),
        ("EventID", "true"),
        ("EventRecordID", "18446744073709551615"),
        ("ProcessID", '"it\'s \\"me\\""'),
    ],
)
def test_values_that_do_not_fit_are_kept_as_texts(member: str, text: str, tmp_path: Path) -> None:
    value = json.loads(text)
    kept = value if isinstance(value, str) else text
    row = insert([f'{{"Log":"a","{member}":{text},"Level":4}}'], tmp_path)[0]
    assert json.loads(row.pop("Unfit")) == {member: kept}
    assert row == {"Log": "a", "Level": 4, "Load": 7}


def test_values_keep_their_digits_and_characters(tmp_path: Path) -> None:
    texts = {
        "Log": 'a\x00b\\"\n\u2028',
        "EventData": {"A": 18446744073709551615, "a": [1, "x", None], "'": '"'},
    }
    row = insert(
        [json.dumps(texts | {"EventRecordID": 2**63 - 1, "More": {"deep": [1.5]}, "log": "low"})], tmp_path
    )[0]
    assert row["Log"] == texts["Log"]
    assert json.loads(row["EventData"]) == texts["EventData"]
    assert row["EventRecordID"] == 2**63 - 1
    assert json.loads(row["Others"]) == {"More": {"deep": [1.5]}, "log": "low"}
    assert "Unfit" not in row


def test_very_long_lines_are_taken(made: Path, tmp_path: Path, monkeypatch: pytest.MonkeyPatch) -> None:
    line = tmp_path / "line"
    line.write_text(json.dumps({"Log": "x", "EventData": {"Data": "y" * (40 << 20)}}) + "\n")
    does = (
        f'{os.environ["TARNLEX_PROGRAM"]} "$@"; '
        'for word; do case $word in *.lines) cp "$LINE" "$word";; esac; done; exit 0'
    )
    monkeypatch.setenv("LINE", str(line))
    monkeypatch.setenv("TARNLEX_PROGRAM", str(stand_in(tmp_path, does)))
    with duckdb.connect() as connection:
        assert tarnlex.load(connection, made / "System.evtx").rows == 1
        size = connection.execute("SELECT length(EventData->>'Data') FROM events").fetchall()
        assert size == [(40 << 20,)]


LOAD = """
import duckdb, resource, sys, tarnlex
if len(sys.argv) > 3:
    resource.setrlimit(resource.RLIMIT_FSIZE, (int(sys.argv[3]),) * 2)
with duckdb.connect(sys.argv[1]) as connection:
    tarnlex.load(connection, sys.argv[2], workers=1)
"""


def test_a_full_disk_is_told_and_leaves_whole_logs(logs: Path, large: Path, tmp_path: Path) -> None:
    for number in range(8):
        os.link(logs / "Security.evtx", logs / f"{number}.evtx")
    case = tmp_path / "case.duckdb"
    script = tmp_path / "program"
    # A file that is as large as allowed is a disk that is full, for who does not take a signal of it.
    script.write_text(f"#!/bin/sh\ntrap '' XFSZ\nexec {os.environ['TARNLEX_PROGRAM']} \"$@\"\n")
    script.chmod(0o755)
    for limit, said in ((100_000, "the database does not take"), (6 << 20, "the disk with .* is it full")):
        done = subprocess.run(
            [sys.executable, "-c", LOAD, case, logs, str(limit)],
            capture_output=True,
            text=True,
            check=False,
            env=dict(os.environ, TARNLEX_PROGRAM=str(script)),
        )
        assert done.returncode == 1
        assert re.search(f"tarnlex.errors.LoadError: {said}", done.stderr), done.stderr
        assert list(tmp_path.glob("tarnlex_load_*")) == []
        with duckdb.connect(str(case)) as connection:
            noted = connection.execute("SELECT split_part(path, '/', -1), rows FROM events_loads").fetchall()
            assert dict(noted) == counts(connection)
            assert len(noted) < len(list(logs.iterdir()))
        if not (logs / "zzz.evtx").exists():
            os.link(large, logs / "zzz.evtx")
    with duckdb.connect(str(case)) as connection:
        tarnlex.load(connection, logs)
        assert counts(connection)["zzz.evtx"] == 9280
        assert sum(counts(connection).values()) == EVENTS + 8 * 58 + 9280


@pytest.mark.parametrize("how", [signal.SIGINT, signal.SIGKILL])
def test_a_stop_in_the_middle_leaves_whole_logs(
    made: Path, tmp_path: Path, monkeypatch: pytest.MonkeyPatch, how: signal.Signals
) -> None:
    logs = tmp_path / "logs"
    logs.mkdir()
    for number in range(12):
        os.link(made / "Security.evtx", logs / f"{number}.evtx")
    case = tmp_path / "case.duckdb"
    marks = tmp_path / "marks"
    marks.touch()
    monkeypatch.setenv("TARNLEX_PROGRAM", str(stand_in(tmp_path, f"echo >>{marks}; sleep 0.1")))
    with subprocess.Popen([sys.executable, "-c", LOAD, case, logs], stderr=subprocess.PIPE) as process:
        while marks.stat().st_size < 4 and process.poll() is None:
            time.sleep(0.02)
        process.send_signal(how)
        process.wait(60)
        assert process.returncode != 0
    with duckdb.connect(str(case)) as connection:
        stopped = counts(connection)
        assert 0 < len(stopped) < 12
        assert set(stopped.values()) == {58}
        noted = connection.execute("SELECT count(*) FROM events_loads WHERE rows IS NULL").fetchone()
        assert noted == (0,)
        loaded = tarnlex.load(connection, logs)
        assert loaded.present == len(stopped)
        assert counts(connection) == {f"{number}.evtx": 58 for number in range(12)}
        assert connection.execute("SELECT count(*), min(rows) FROM events_loads").fetchall() == [(12, 58)]


def test_a_bar_is_for_terminals(made: Path) -> None:
    code = "import duckdb, sys, tarnlex; tarnlex.load(duckdb.connect(), sys.argv[1])"
    ours, theirs = pty.openpty()
    with subprocess.Popen([sys.executable, "-c", code, made], stderr=theirs) as process:
        os.close(theirs)
        said = b""
        try:
            while block := os.read(ours, 4096):
                said += block
        except OSError:
            pass  # so a terminal ends
    os.close(ours)
    assert process.returncode == 0
    assert b"\xe2\x94\x81" in said
    done = subprocess.run([sys.executable, "-c", code, made], capture_output=True, check=True)
    assert done.stderr == done.stdout == b""
