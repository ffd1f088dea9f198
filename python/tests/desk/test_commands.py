"""The commands over made-up logs: what they write, what they say, how they end."""

import csv
import io
import json
import os
import shutil
import signal
import subprocess
import sys
import time
from collections.abc import Callable, Iterable, Mapping
from pathlib import Path

import duckdb
import pytest

import tarnlex
from tarnlex.desk.main import main

MakeCase = Callable[[Iterable[Mapping[str, object]]], Path]


def desk(*arguments: object, limit: int | None = None) -> subprocess.CompletedProcess[str]:
    """Runs the command in a process of its own, in which no file may grow beyond so many KiB."""
    command = [sys.executable, "-m", "tarnlex.desk", *map(str, arguments)]
    if limit is not None:
        command = ["/bin/bash", "-c", f'ulimit -f {limit}; exec "$@"', "bash", *command]
    return subprocess.run(command, capture_output=True, text=True, check=False)


def left_in(folder: Path) -> list[str]:
    return sorted(path.name for path in folder.iterdir())


def test_load_takes_all_logs_with_all_they_hold_and_their_accounts(made: Path, case: Path) -> None:
    events = sum(1 for _ in tarnlex.events(str(made), complete=True))
    with duckdb.connect(str(case), read_only=True) as connection:
        assert connection.execute("SELECT count(*) FROM events").fetchall() == [(events,)]
        rows = connection.execute("SELECT Log, Events, Outcome FROM accounts ORDER BY Log").fetchall()
    assert [Path(row[0]).name for row in rows] == left_in(made)
    assert sum(row[1] for row in rows) == events
    assert {row[2] for row in rows} == {"read"}


def test_load_is_taken_up_again(logs: Path, tmp_path: Path, capsys: pytest.CaptureFixture[str]) -> None:
    case = tmp_path / "case.duckdb"
    (tmp_path / "first").mkdir()
    shutil.move(logs / "System.evtx", tmp_path / "first" / "System.evtx")
    assert main(["load", str(case), str(tmp_path / "first")]) == 0
    assert main(["load", str(case), str(tmp_path / "first"), str(logs)]) == 0
    assert "1 there before" in capsys.readouterr().err
    with duckdb.connect(str(case), read_only=True) as connection:
        assert connection.execute(
            'SELECT count(*) - count(DISTINCT (Log, "Offset")) FROM events'
        ).fetchall() == [(0,)]


def test_load_with_and_without_what_was_deleted_makes_two_cases(
    logs: Path, tmp_path: Path, capsys: pytest.CaptureFixture[str]
) -> None:
    case = tmp_path / "case.duckdb"
    assert main(["load", str(case), str(logs), "--recover"]) == 0
    assert main(["load", str(case), str(logs)]) == 1
    assert "was loaded with --recover" in capsys.readouterr().err
    with duckdb.connect(str(case), read_only=True) as connection:
        rows = connection.execute("SELECT count(*), count(DISTINCT path) FROM events_loads").fetchall()
    assert rows == [(len(left_in(logs)),) * 2]


def test_load_of_a_log_that_cannot_be_read_says_so_and_has_the_others(
    logs: Path, tmp_path: Path, capsys: pytest.CaptureFixture[str]
) -> None:
    broken = logs.parent / "Broken.evtx"
    broken.write_text("This is no log.")
    assert main(["load", str(tmp_path / "case.duckdb"), str(logs), str(broken)]) == 2
    said = capsys.readouterr().err
    assert f"{broken}: " in said
    assert f"{len(left_in(logs))} logs with" in said
    assert "1 not read" in said


def test_load_without_logs_leaves_nothing(tmp_path: Path, capsys: pytest.CaptureFixture[str]) -> None:
    (tmp_path / "empty").mkdir()
    assert main(["load", str(tmp_path / "case.duckdb"), str(tmp_path / "empty")]) == 1
    assert main(["load", str(tmp_path / "case.duckdb"), str(tmp_path / "nowhere")]) == 1
    assert "no event log below" in capsys.readouterr().err
    assert left_in(tmp_path) == ["empty"]


def test_load_into_another_database_changes_nothing(
    made: Path, tmp_path: Path, capsys: pytest.CaptureFixture[str]
) -> None:
    path = tmp_path / "other.duckdb"
    with duckdb.connect(str(path)) as connection:
        connection.execute("CREATE TABLE events AS SELECT 1 AS a")
    assert main(["load", str(path), str(made)]) == 1
    assert "there is a table events with other columns" in capsys.readouterr().err
    with duckdb.connect(str(path), read_only=True) as connection:
        assert connection.execute("SELECT table_name, column_count FROM duckdb_tables()").fetchall() == [
            ("events", 1)
        ]


@pytest.mark.parametrize("command", [["sql", "SELECT 1"], ["sigma", "."], ["overview", "o.html"]])
def test_what_is_no_case_is_an_error(
    tmp_path: Path, command: list[str], capsys: pytest.CaptureFixture[str]
) -> None:
    text, other = tmp_path / "text.duckdb", tmp_path / "other.duckdb"
    text.write_text("This is no database.")
    with duckdb.connect(str(other)) as connection:
        connection.execute("CREATE TABLE events AS SELECT 1 AS EventID")
    rule = tmp_path / "r.yml"
    rule.write_text("title: x")
    rest = [
        str(rule) if part == "." else str(tmp_path / part) if part.endswith("l") else part
        for part in command[1:]
    ]
    for path, words in (
        (tmp_path / "nowhere.duckdb", "no such case"),
        (text, "cannot be opened as a case"),
        (other, "its table events is not one of tarnlex-desk load"),
    ):
        assert main([command[0], str(path), *rest]) == 1
        assert words in capsys.readouterr().err
    assert left_in(tmp_path) == ["other.duckdb", "r.yml", "text.duckdb"]


def test_a_full_disk_leaves_nothing_half_written(case: Path, made: Path, tmp_path: Path) -> None:
    shutil.copy(case, tmp_path / "case.duckdb")
    for command, words in (
        (["overview", tmp_path / "case.duckdb", tmp_path / "page.html"], "page.html cannot be written"),
        (
            ["export", tmp_path / "case.duckdb", "--timesketch", tmp_path / "t.jsonl"],
            "t.jsonl cannot be written",
        ),
    ):
        done = desk(*command, limit=8)
        assert (done.returncode, done.stdout) == (1, "")
        assert words in done.stderr
        assert "Traceback" not in done.stderr
    assert left_in(tmp_path) == ["case.duckdb"]
    done = desk("load", tmp_path / "new.duckdb", made, limit=8)
    assert done.returncode == 1
    assert "tarnlex-desk: " in done.stderr
    assert "Traceback" not in done.stderr


def test_a_page_that_was_there_stays_when_a_new_one_fails(case: Path, tmp_path: Path) -> None:
    page = tmp_path / "page.html"
    page.write_text("the old one")
    assert desk("overview", case, page, limit=8).returncode == 1
    assert page.read_text() == "the old one"
    assert main(["overview", str(case), str(page)]) == 0
    assert page.read_text().startswith("<!DOCTYPE html>")
    assert main(["overview", str(case), str(tmp_path / "no folder" / "page.html")]) == 1


QUERY = "SELECT EventID, EventData, TimeCreated, NULL AS nothing FROM events WHERE EventID = 4625 LIMIT 2"


def test_sql_writes_csv_and_json(case: Path, capsys: pytest.CaptureFixture[str]) -> None:
    assert main(["sql", str(case), QUERY, "--format", "json"]) == 0
    lines = [json.loads(line) for line in capsys.readouterr().out.splitlines()]
    assert [line["EventID"] for line in lines] == [4625, 4625]
    assert lines[0]["EventData"]["TargetUserName"]
    assert main(["sql", str(case), QUERY]) == 0
    rows = list(csv.DictReader(io.StringIO(capsys.readouterr().out)))
    assert [json.loads(row["EventData"]) for row in rows] == [line["EventData"] for line in lines]
    # All seven digits.
    assert [row["TimeCreated"] for row in rows] == [line["TimeCreated"] for line in lines]
    assert rows[0]["TimeCreated"].endswith(".1234567")


def test_sql_writes_a_table_in_which_nothing_of_a_log_acts(
    make_case: MakeCase, capsys: pytest.CaptureFixture[str]
) -> None:
    hostile = "\x1b]0;title\x07\x1b[31m[bold red]red[/] \u202etxt.exe"
    case = make_case([{"Computer": hostile, "EventID": 1}])
    assert main(["sql", str(case), "SELECT Computer FROM events", "--format", "table"]) == 0
    out = capsys.readouterr().out
    assert "\x1b" not in out
    assert "\x07" not in out
    assert "\u202e" not in out
    assert "\\x1b]0;title" in out.replace("\n", "")
    assert "[bold red]" in out


def test_sql_says_how_many_rows_a_table_leaves_out(case: Path, capsys: pytest.CaptureFixture[str]) -> None:
    assert main(["sql", str(case), "SELECT * FROM range(700)", "--format", "table"]) == 0
    assert capsys.readouterr().err.startswith("200 more rows")


def test_sql_cannot_change_a_case(case: Path, capsys: pytest.CaptureFixture[str]) -> None:
    before = case.read_bytes()
    copy = f"COPY (SELECT 1) TO '{case}' (FORMAT csv)"
    changing = (
        "DROP TABLE events",
        "DELETE FROM events",
        copy,
        f"EXPLAIN ANALYZE {copy}",
        f"SELECT 1; {copy}",
    )
    for query in changing:
        assert main(["sql", str(case), query]) == 1
        assert "does more than to ask" in capsys.readouterr().err
    for query in ("SELEC 1", "SELECT nothing FROM events"):
        assert main(["sql", str(case), query]) == 1
        assert "the query fails" in capsys.readouterr().err
    assert case.read_bytes() == before


def test_sql_ends_quietly_when_nobody_reads(case: Path) -> None:
    command = f'"{sys.executable}" -m tarnlex.desk sql "{case}" "SELECT * FROM range(1000000)" | head -n 2'
    done = subprocess.run(["/bin/bash", "-c", command], capture_output=True, text=True, check=False)
    assert done.stdout.splitlines() == ["range", "0"]
    assert done.stderr == ""


def test_export_gives_timesketch_every_event_with_its_time(
    case: Path, made: Path, tmp_path: Path, capsys: pytest.CaptureFixture[str]
) -> None:
    out = tmp_path / "out.jsonl"
    assert main(["export", str(case), "--timesketch", str(out)]) == 0
    lines = out.read_bytes().split(b"\n")[:-1]
    assert all(line.isascii() for line in lines)
    exported = {(one["Log"], one["Offset"]): one for one in map(json.loads, lines)}
    asked = tarnlex.events(str(made), complete=True, timesketch=True)
    wanted = {(one["Log"], one["Offset"]): one for one in asked}
    assert len(lines) == len(exported) == len(wanted)
    for key, one in wanted.items():
        assert exported[key]["datetime"] == one["datetime"]
        assert exported[key]["timestamp_desc"] == one["timestamp_desc"]
        for name in ("TimeCreated", "EventID", "Computer", "EventRecordID"):
            assert exported[key].get(name) == one.get(name)
        assert exported[key].keys() == one.keys()
        assert exported[key]["message"].startswith(f"{one['Provider']} {one['EventID']}")
    times = [json.loads(line)["datetime"] for line in lines]
    assert times == sorted(times)
    assert f"{len(lines)} events" in capsys.readouterr().err


def test_a_wrong_command_line_ends_with_1(capsys: pytest.CaptureFixture[str]) -> None:
    for line in ([], ["nothing"], ["sql"], ["export", "a"], ["sql", "a", "b", "--format", "xml"]):
        with pytest.raises(SystemExit) as ended:
            main(line)
        assert ended.value.code == 1
        assert "usage: tarnlex-desk" in capsys.readouterr().err


def test_a_stopped_command_leaves_no_file(case: Path, tmp_path: Path) -> None:
    code = (
        "import os, signal, sys, time, tarnlex.desk.overview as o; from tarnlex.desk.main import main\n"
        "def page(*_):\n    os.kill(os.getpid(), signal.SIGTERM)\n    time.sleep(1)\n    return 'text'\n"
        "o.page = page; sys.exit(main(sys.argv[1:]))"
    )
    done = subprocess.run(
        [sys.executable, "-c", code, "overview", case, tmp_path / "page.html"],
        capture_output=True,
        text=True,
        check=False,
        env=dict(os.environ),
    )
    assert (done.returncode, done.stderr) == (128 + signal.SIGTERM, "tarnlex-desk: stopped\n")
    assert left_in(tmp_path) == []


@pytest.mark.parametrize("number", [signal.SIGINT, signal.SIGTERM])
def test_a_query_that_would_take_long_is_stopped_at_once(case: Path, number: int) -> None:
    # Hours, were it not stopped.
    query = "SELECT count(*) FROM range(10000000000) a, range(1000) b WHERE a.range % 1001 = b.range"
    command = [sys.executable, "-m", "tarnlex.desk", "sql", str(case), query]
    with subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE) as running:
        assert running.stdout is not None
        # The header comes when the query is about to run.
        assert running.stdout.readline() == b"count_star()\n"
        time.sleep(0.5)
        running.send_signal(number)
        out, err = running.communicate(timeout=60)
    assert (running.returncode, out, err) == (128 + number, b"", b"tarnlex-desk: stopped\n")


def test_a_case_that_another_process_writes_to_is_named(case: Path, tmp_path: Path) -> None:
    shutil.copy(case, tmp_path / "case.duckdb")
    with duckdb.connect(str(tmp_path / "case.duckdb")):
        done = desk("sql", tmp_path / "case.duckdb", "SELECT 1")
    assert done.returncode == 1
    assert "another process has it open" in done.stderr
