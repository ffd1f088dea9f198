"""Spark at work: on a cluster of two workers on this machine, or where that does not run, in threads."""

import json
import os
from collections.abc import Iterator
from pathlib import Path
from typing import Any

import pytest

import tarnlex
from tarnlex.schema import MEMBERS

pyspark = pytest.importorskip("pyspark")
pytestmark = pytest.mark.slow


@pytest.fixture(scope="module")
def spark() -> Iterator[Any]:
    from pyspark.sql import SparkSession

    for master in ("local-cluster[2,1,1024]", "local[2,4]"):
        builder = SparkSession.builder.master(master).config("spark.ui.enabled", "false")
        builder = builder.config("spark.executor.memory", "1024m")
        try:
            # Not that of the logs, so that a time in the session's zone would show.
            session = builder.config("spark.sql.session.timeZone", "Europe/Oslo").getOrCreate()
            session.range(4).count()
        except Exception as error:
            print(f"{master}: {error}")
            continue
        print(f"on {master}")
        yield session
        session.stop()
        return
    pytest.fail("Spark does not run here")


def whole(row: Any) -> dict[str, Any]:
    """An event as the program writes it, its data as texts."""
    event: dict[str, Any] = {}
    for column in MEMBERS:
        value = row[column.name]
        if value is None:
            continue
        if column.spark == "timestamp":
            value = row[f"{column.name}Text"]
        elif column.sql == "JSON" and not isinstance(value, dict):
            value = json.loads(value)
        event[column.name] = value
    return event | {name: json.loads(value) for name, value in (row["Others"] or {}).items()}


def with_texts(event: dict[str, Any]) -> dict[str, Any]:
    data = {
        name: value
        if isinstance(value, str)
        else json.dumps(value, separators=(",", ":"), ensure_ascii=False)
        for name, value in event.get("EventData", {}).items()
    }
    return event | ({"EventData": data} if "EventData" in event else {})


def by_place(event: dict[str, Any]) -> tuple[str, int]:
    return event["Log"], event["Offset"]


def same(frame: Any, paths: Any, **options: Any) -> int:
    """How many events a frame and the program agree on."""
    got = sorted((whole(row) for row in frame.collect()), key=by_place)
    wanted = sorted((with_texts(event) for event in tarnlex.events(paths, **options)), key=by_place)
    assert got == wanted
    return len(got)


def test_events_are_those_of_the_program(spark: Any, made: Path) -> None:
    from tarnlex.spark import events

    frame = events(spark, made)
    assert same(frame, made) == 127
    assert frame.filter("errors IS NOT NULL OR Unfit IS NOT NULL").count() == 0
    assert frame.rdd.getNumPartitions() == 6
    # Seconds of UTC, whatever the session's zone.
    first = frame.filter("EventID = 4624").selectExpr("unix_micros(TimeCreated)", "TimeCreatedText").first()
    assert first[0] % 10**6 == int(first[1][20:26])


def test_events_of_real_logs_are_those_of_the_program(spark: Any, real: Path) -> None:
    from tarnlex.spark import events

    log = sorted(real.glob("evtx/*.evtx"), key=lambda path: path.stat().st_size)[-1]
    assert same(events(spark, log, part_size=1 << 20, recover=True), log, recover=True) > 1000


def test_parts_of_a_large_log_are_tasks(spark: Any, large: Path) -> None:
    from tarnlex.spark import events

    frame = events(spark, large, part_size=4 << 20, eventid=4624)
    assert frame.rdd.getNumPartitions() == 6
    assert same(frame, large, eventid=4624) > 1000


def test_a_bad_log_is_a_row_and_no_lost_job(spark: Any, logs: Path) -> None:
    from tarnlex.spark import events

    bad = logs / "bad.evtx"
    bad.write_text("These are notes.\n")
    rows = events(spark, [bad, logs]).filter("errors IS NOT NULL").collect()
    assert [(row.Log, row.EventID) for row in rows] == [(str(bad), None)]
    assert rows[0].errors.startswith(f"{bad}: no event log")
    assert events(spark, [bad, logs]).filter("errors IS NULL").count() == 127


def program_that_breaks_off(folder: Path, *, for_good: bool) -> str:
    """One that dies after its first events, at the first attempt for each log or at each."""
    script = folder / f"program_{for_good}"
    real = os.environ["TARNLEX_PROGRAM"]
    script.write_text(
        "#!/bin/sh\n"
        "read -r log\n"
        f'mark={folder}/$(basename "$log").tried\n'
        'echo >>"$mark"\n'
        f'if {str(for_good).lower()} || [ "$(wc -l <"$mark")" -eq 1 ]; then\n'
        f'  echo "$log" | {real} "$@" | head -n 3\n'
        "  kill -9 $$\n"
        "fi\n"
        f'echo "$log" | exec {real} "$@"\n'
    )
    script.chmod(0o755)
    return str(script)


def test_a_task_that_is_lost_is_run_again_without_doubled_rows(
    spark: Any, made: Path, tmp_path: Path
) -> None:
    from tarnlex.spark import events

    frame = events(spark, made, program_path=program_that_breaks_off(tmp_path, for_good=False))
    rows = frame.select("Log", "Offset", "errors").collect()
    assert len(rows) == len(set(rows)) == 127
    assert {row.errors for row in rows} == {None}
    assert [len(mark.read_text()) for mark in tmp_path.glob("*.tried")] == [2] * 6


def test_a_program_that_always_breaks_off_costs_no_job(spark: Any, made: Path, tmp_path: Path) -> None:
    from tarnlex.spark import events

    frame = events(
        spark, made / "Security.evtx", program_path=program_that_breaks_off(tmp_path, for_good=True)
    )
    rows = frame.collect()
    assert [row.errors for row in rows] == [None] * 3 + ["the program was ended by signal 9 and said nothing"]
    assert len((tmp_path / "Security.evtx.tried").read_text()) == 4


def test_the_call_of_the_documents_counts(spark: Any, logs: Path, capsys: pytest.CaptureFixture[str]) -> None:
    from pyspark.sql import SparkSession

    from tarnlex.spark import events

    bad = logs / "bad.evtx"
    bad.write_text("These are notes.\n")
    spark = SparkSession.builder.getOrCreate()
    frame = events(spark, [logs, bad], eventid=4625)
    frame.where(frame.errors.isNull()).groupBy("Computer", frame.EventData["TargetUserName"]).count().show()
    assert "Administrator|" in capsys.readouterr().out
    frame.where(frame.errors.isNotNull()).select("Log", "errors").show(truncate=False)
    assert "bad.evtx: no event log" in capsys.readouterr().out


def test_wrong_calls_raise_before_anything_runs(spark: Any, made: Path, tmp_path: Path) -> None:
    from tarnlex.spark import events

    with pytest.raises(tarnlex.OptionError, match="is recover meant"):
        events(spark, made, recovery=True)
    with pytest.raises(tarnlex.NoLogsError):
        events(spark, tmp_path)
