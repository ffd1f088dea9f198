import gc
import json
import subprocess
import sys
import time
from datetime import UTC, datetime, timedelta, timezone
from pathlib import Path

import pytest

import tarnlex
from tarnlex import program


def direct(*arguments: str) -> list[dict[str, object]]:
    """What the program itself writes."""
    done = subprocess.run([program.find(), *arguments, "-quiet"], capture_output=True, check=True)
    return [json.loads(line) for line in done.stdout.split(b"\n") if line]


def test_events_are_those_of_the_program(made: Path) -> None:
    log = str(made / "Security.evtx")
    assert list(tarnlex.events(log)) == direct("-log", log, "-json")
    assert len(list(tarnlex.events(log))) == 58


def test_a_folder_is_searched_as_the_program_does(made: Path) -> None:
    assert list(tarnlex.events(made)) == direct("-dir", str(made), "-json")


def test_several_paths_come_in_their_order(logs: Path) -> None:
    odd = logs / "a folder | with a bar"
    odd.mkdir()
    moved = (logs / "SysEvent.Evt").rename(odd / "it's odd|.bin")
    names = [str(moved), str(logs / "System.evtx")]
    found = [event["Log"] for event in tarnlex.events([moved, logs / "System.evtx"])]
    assert sorted(set(found), key=found.index) == names


def test_options_are_those_of_the_command_line(made: Path) -> None:
    log = str(made / "Security.evtx")
    wanted = direct("-log", log, "-json", "-eventid", "4624|4625", "-start_time", "2023-03-14T12:00:00Z")
    assert 0 < len(wanted) < 33
    noon = datetime(2023, 3, 14, 12, 0)
    for start in ("2023-03-14T12:00:00Z", noon, noon.replace(tzinfo=UTC)):
        assert list(tarnlex.events(log, eventid=[4624, 4625], start_time=start)) == wanted
    elsewhere = datetime(2023, 3, 14, 14, 0, tzinfo=timezone(timedelta(hours=2)))
    assert list(tarnlex.events(log, eventid="4624|4625", start_time=elsewhere)) == wanted
    assert len(list(tarnlex.events(log, complete=False, report=None))) == 58


def test_events_come_in_their_own_structure_too(made: Path) -> None:
    event = next(tarnlex.events(made / "Security.evtx", event_json=True))
    assert event["Event"]["System"]["EventID"] == 4624


@pytest.mark.parametrize(
    ("options", "said"),
    [
        ({"evntid": 1}, "no option evntid; is eventid meant"),
        ({"nonsense_of_mine": 1}, "no option nonsense_of_mine$"),
        ({"start_time": "yesterday"}, "ignoring -start_time yesterday, no such time"),
        ({"eventid": "logon"}, "no number"),
        ({"report": "no_such"}, "there is no report no_such"),
        ({"csv": True}, "ignoring -csv beside -json"),
        ({"complete": "yes"}, "complete takes no value"),
        ({"eventid": True}, "eventid needs a value"),
        ({"eventid": []}, "eventid does not take"),
        ({"string": ""}, "string needs a value"),
        ({"string": "-out"}, "reads like an option"),
        ({"log": "x"}, "log cannot be given: the paths say"),
        ({"carve": "x"}, "carve cannot be given: the paths say"),
        ({"out": "x"}, "out cannot be given"),
        ({"quiet": True}, "quiet cannot be given"),
    ],
)
def test_what_the_program_would_ignore_raises(
    made: Path, options: dict[str, tarnlex.options.Value], said: str
) -> None:
    with pytest.raises(tarnlex.OptionError, match=said) as raised:
        tarnlex.events(made, **options)
    assert isinstance(raised.value, TypeError)


def test_a_path_that_is_not_there_raises_at_once(made: Path) -> None:
    with pytest.raises(tarnlex.PathError, match=r"there is no .*nowhere"):
        tarnlex.events([made, made / "nowhere"])
    with pytest.raises(tarnlex.PathError, match="no path"):
        tarnlex.events([])


def test_a_log_that_cannot_be_read_raises_after_the_others(logs: Path) -> None:
    other = logs / "notes.txt"
    other.write_text("These are notes.\n")
    taken: list[dict[str, object]] = []
    with pytest.raises(tarnlex.RunError, match=r"notes\.txt: no event log") as raised:
        taken.extend(tarnlex.events([other, logs / "Security.evtx"]))
    assert len(taken) == 58
    assert raised.value.exit == 0
    assert "passed over: 1 log" in raised.value.messages[-1]


def test_a_folder_without_logs_raises(tmp_path: Path) -> None:
    with pytest.raises(tarnlex.NoLogsError, match=f"no event log below {tmp_path}"):
        list(tarnlex.events(tmp_path))


def test_a_run_that_is_ended_from_outside_raises(
    made: Path, monkeypatch: pytest.MonkeyPatch, tmp_path: Path
) -> None:
    script = tmp_path / "tarnlex"
    script.write_text(
        f'#!/bin/sh\ncase "$*" in *-account*) echo "{{}}"; kill -9 $$;; esac\nexec {program.find()} "$@"\n'
    )
    script.chmod(0o755)
    monkeypatch.setenv("TARNLEX_PROGRAM", str(script))
    taken: list[dict[str, object]] = []
    with pytest.raises(tarnlex.RunError, match="ended by signal 9") as raised:
        taken.extend(tarnlex.events(made / "Security.evtx"))
    assert taken == [{}]
    assert raised.value.exit == -9


def running() -> set[str]:
    """Processes of this one."""
    return set(Path("/proc/self/task").joinpath(str(_own_thread()), "children").read_text().split())


def _own_thread() -> int:
    return int(Path("/proc/thread-self").readlink().name)


def test_closing_or_dropping_ends_the_program(large: Path) -> None:
    before = running()
    for end in ("close", "drop"):
        events = tarnlex.events(large)
        next(events)
        assert len(running() - before) == 1
        began = time.monotonic()
        if end == "close":
            events.close()  # type: ignore[attr-defined]
        else:
            del events
            gc.collect()
        assert running() == before
        assert time.monotonic() - began < 2


def test_memory_does_not_grow_with_the_log(made: Path, large: Path) -> None:
    code = (
        "import resource, sys, tarnlex\n"
        "number = sum(1 for _ in tarnlex.events(sys.argv[1]))\n"
        "print(number, resource.getrusage(resource.RUSAGE_SELF).ru_maxrss)"
    )
    measured = []
    for path in (made / "Security.evtx", large):
        done = subprocess.run([sys.executable, "-c", code, path], capture_output=True, text=True, check=True)
        measured.append([int(number) for number in done.stdout.split()])
    (few, small), (many, big) = measured
    assert many > 100 * few
    assert big < small + 4096  # KiB


def test_files_can_be_asked_for_beside(made: Path, tmp_path: Path) -> None:
    account = tmp_path / "account"
    assert len(list(tarnlex.events(made, account=account))) == 127
    assert '"type":"run"' in account.read_text()
    with pytest.raises(tarnlex.OptionError, match="account goes with one folder"):
        tarnlex.events([made, made / "Security.evtx"], account=account)


def test_the_program_is_the_one_that_is_named(monkeypatch: pytest.MonkeyPatch) -> None:
    assert tarnlex.version().startswith("0.")
    monkeypatch.setenv("TARNLEX_PROGRAM", "/nowhere/tarnlex")
    with pytest.raises(tarnlex.ProgramError, match="TARNLEX_PROGRAM names /nowhere/tarnlex"):
        program.find()
