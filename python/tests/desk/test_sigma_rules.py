"""Rules of ours over real logs find what is in them and nothing else, and rules that are none are named."""

import json
import subprocess
import sys
import time
from collections.abc import Callable, Iterable, Mapping
from pathlib import Path

import duckdb
import pytest

from tarnlex import table
from tarnlex.desk.main import main

RULES = Path(__file__).parent / "rules"

#: Of each rule the logs that hold what it is about, and the record identifiers there.
EXPECTED = json.loads((RULES / "expected.json").read_text())

MakeCase = Callable[[Iterable[Mapping[str, object]]], Path]


@pytest.fixture(scope="session")
def hunted(real_case: Path) -> dict[str, dict[str, list[int]]]:
    """The hits of all rules by rule and log."""
    assert main(["sigma", str(real_case), str(RULES), "--format", "csv"]) == 0
    found: dict[str, dict[str, list[int]]] = {}
    with duckdb.connect(str(real_case), read_only=True) as connection:
        rows = connection.execute(
            "SELECT RuleFile, Log, EventRecordID FROM sigma_hits ORDER BY ALL"
        ).fetchall()
    for rule, log, number in rows:
        found.setdefault(Path(rule).stem, {}).setdefault(Path(log).name, []).append(number)
    return found


def test_every_rule_is_expected_to_find_something() -> None:
    assert sorted(EXPECTED) == sorted(path.stem for path in RULES.glob("*.yml"))
    assert len(EXPECTED) >= 20


@pytest.mark.parametrize("rule", sorted(EXPECTED))
def test_a_rule_finds_what_it_is_about_and_nothing_else(
    hunted: dict[str, dict[str, list[int]]], rule: str
) -> None:
    assert hunted.get(rule, {}) == EXPECTED[rule]


# Each of its lists has nine times as many values as the one before.
MANY_VALUES = "a0: &a0 [x, x, x, x, x, x, x, x, x]\n" + "".join(
    f"a{n}: &a{n} [{', '.join([f'*a{n - 1}'] * 9)}]\n" for n in range(1, 10)
)

BAD_RULES = {
    "aliases.yml": (MANY_VALUES, "it has more than 1000000 values"),
    "halves.yml": ('title: "\\ud800"', "surrogates not allowed"),
    "broken.yml": ("a: [b", "is not YAML: while parsing a flow sequence"),
    "bytes.yml": ("\udcff", "is not YAML: it is not text in UTF-8"),
    "list.yml": ("- a", "is not a Sigma rule: it has no members"),
    "empty.yml": ("", "is not a Sigma rule: it has no members"),
    "none.yml": ("title: x", "is not a Sigma rule"),
    "counts.yml": (
        "title: x\n"
        "correlation: {type: event_count, rules: [a], group-by: [A], timespan: 1h, condition: {gte: 5}}",
        "correlations of events are not run",
    ),
}


def test_what_is_no_rule_is_named_with_its_reason_and_the_others_are_run(
    tmp_path: Path, make_case: MakeCase, capsys: pytest.CaptureFixture[str]
) -> None:
    rules = tmp_path / "rules" / "deep"
    rules.mkdir(parents=True)
    for name, (text, _) in BAD_RULES.items():
        (rules / name).write_text(text, errors="surrogateescape")
    (rules / "good.YAML").write_text(
        "title: good\nlogsource: {product: windows, service: security}\n"
        "detection:\n  s: {EventID: 1}\n  condition: s\n"
    )
    case = make_case([{"Channel": "Security", "EventID": 1}])
    assert main(["sigma", str(case), str(tmp_path / "rules"), "--format", "json"]) == 2
    out, err = capsys.readouterr()
    assert [json.loads(line)["Rule"] for line in out.splitlines()] == ["good"]
    for name, (_, reason) in BAD_RULES.items():
        assert any(name in line and reason in line for line in err.splitlines()), (name, err)
    assert err.splitlines()[-1] == "9 rules: 1 run, 8 failed, 1 matched; 1 hits"


def test_hits_say_rule_level_tags_time_computer_and_event(
    tmp_path: Path, make_case: MakeCase, capsys: pytest.CaptureFixture[str]
) -> None:
    rule = tmp_path / "rule.yml"
    rule.write_text(
        "title: A title\nid: 6c4f2b1e-1c1f-4f0e-9d0a-000000000001\nlevel: high\ntags: [attack.t1000]\n"
        "logsource: {product: windows, service: security}\ndetection:\n  s: {Name: x}\n  condition: s\n"
    )
    time = "2023-03-14T07:24:05.1234567Z"
    event = {
        "Channel": "Security",
        "EventID": 1,
        "Computer": "WS",
        "TimeCreated": time,
        "EventData": {"Name": "X"},
    }
    case = make_case([event])
    assert main(["sigma", str(case), str(rule), "--format", "json"]) == 0
    hit = json.loads(capsys.readouterr().out)
    assert (hit["Rule"], hit["Level"], hit["Tags"]) == ("A title", "high", ["attack.t1000"])
    assert (hit["TimeCreated"], hit["Computer"], hit["Event"]) == (
        "2023-03-14 07:24:05.1234567",
        "WS",
        {"Name": "X"},
    )


def test_hits_are_those_of_the_last_run(tmp_path: Path, make_case: MakeCase) -> None:
    case = make_case([{"Channel": "Security", "EventID": number} for number in (1, 2)])
    for number in (1, 2):
        rule = tmp_path / f"{number}.yml"
        rule.write_text(
            f"title: r{number}\nlogsource: {{product: windows, service: security}}\n"
            f"detection:\n  s: {{EventID: {number}}}\n  condition: s\n"
        )
        assert main(["sigma", str(case), str(rule)]) == 0
    with duckdb.connect(str(case), read_only=True) as connection:
        assert connection.execute("SELECT Rule, EventID FROM sigma_hits").fetchall() == [("r2", 2)]
        assert connection.execute("SELECT Rule, Outcome, Hits FROM sigma_rules").fetchall() == [
            ("r2", "matched", 1)
        ]


def test_no_rules_are_an_error(tmp_path: Path, case: Path, capsys: pytest.CaptureFixture[str]) -> None:
    (tmp_path / "notes.txt").write_text("no rule")
    assert main(["sigma", str(case), str(tmp_path)]) == 1
    assert "no rules (*.yml, *.yaml) in" in capsys.readouterr().err
    assert main(["sigma", str(case), str(tmp_path / "nowhere")]) == 1
    assert "no such file or folder of rules" in capsys.readouterr().err


def test_a_full_disk_leaves_the_hits_of_the_last_run(tmp_path: Path, make_case: MakeCase) -> None:
    name = "x" * 1000
    case = make_case(
        [{"Channel": "Security", "EventID": 1, "EventData": {"Name": f"{name}{n}"}} for n in range(3000)]
    )
    rule = tmp_path / "rule.yml"
    rule.write_text(
        "title: a\nlogsource: {product: windows, service: security}\n"
        "detection:\n  s: {Name: x*}\n  condition: s\n"
    )
    assert main(["sigma", str(case), str(tmp_path / "rule.yml"), "--format", "csv"]) == 0
    size = case.stat().st_size // 1024
    command = f'ulimit -f {size}; exec "{sys.executable}" -m tarnlex.desk sigma "{case}" "{rule}"'
    done = subprocess.run(["/bin/bash", "-c", command], capture_output=True, text=True, check=False)
    assert done.returncode == 1, done.stderr
    assert done.stderr.startswith(f"tarnlex-desk: {case}: ")
    assert "Traceback" not in done.stderr
    with duckdb.connect(str(case), read_only=True) as connection:
        assert connection.execute("SELECT count(*) FROM sigma_hits").fetchall() == [(3000,)]


@pytest.mark.slow
def test_two_hundred_rules_over_a_million_events_take_minutes(
    tmp_path: Path, capsys: pytest.CaptureFixture[str]
) -> None:
    """The case is made of one statement, a rule in ten is about something that some events have."""
    path = tmp_path / "case.duckdb"
    with duckdb.connect(str(path)) as connection:
        table.prepare(connection, "events")
        connection.execute(MILLION)
    for number in range(200):
        (tmp_path / f"{number}.yml").write_text(generated_rule(number))
    began = time.monotonic()
    assert main(["sigma", str(path), str(tmp_path), "--format", "csv"]) == 0
    taken = time.monotonic() - began
    out, err = capsys.readouterr()
    with capsys.disabled():
        print(f"200 rules over 1,000,000 events: {taken:.1f} s, {err.splitlines()[-1]}")
    assert "200 rules: 200 run, 0 failed" in err
    assert len(out.splitlines()) > 1000
    assert taken < 300


MILLION = """
INSERT INTO events BY NAME
SELECT 'a.evtx' AS Log, number AS EventRecordID, 'HOST' || number % 50 AS Computer,
  make_timestamp_ns(1678786000000000000 + number * 1000000000) AS TimeCreated,
  CASE number % 4 WHEN 0 THEN 'Security' WHEN 1 THEN 'System' ELSE 'Microsoft-Windows-Sysmon/Operational' END
    AS Channel,
  CASE number % 4 WHEN 0 THEN [4624, 4625, 4688, 4663][number // 4 % 4 + 1] WHEN 1 THEN 7036
    ELSE [1, 3, 7, 10, 11, 13][number // 4 % 6 + 1] END AS EventID,
  json_object('Image', 'C:\\Windows\\System32\\tool' || number % 997 || '.exe',
    'CommandLine', 'tool' || number % 997 || '.exe -option ' || number % 1009 ||
      ' C:\\Users\\u' || number % 31,
    'ParentImage', 'C:\\Windows\\explorer' || number % 13 || '.exe', 'User', 'DOMAIN\\u' || number % 31,
    'TargetUserName', 'u' || number % 31, 'LogonType', number % 12,
    'IpAddress', '10.0.' || number % 250 || '.7',
    'TargetObject', 'HKLM\\Software\\Key' || number % 503, 'Details', 'value ' || number % 101,
    'GrantedAccess', printf('0x%08x', number % 4096),
    'TargetImage', 'C:\\Windows\\p' || number % 211 || '.exe'
  ) AS EventData
FROM range(1000000) AS numbers(number)"""


def generated_rule(number: int) -> str:
    """One of ten kinds of rules, with values of its own."""
    kinds = [
        ("category: process_creation", f"Image|endswith: '\\tool{number}.exe'"),
        ("category: process_creation", f"CommandLine|contains|all: ['tool{number}.exe', '-option 1', 'u1']"),
        ("category: registry_set", f"TargetObject|re: '(?i)key{number}$'"),
        ("category: process_access", f"GrantedAccess: '{number:#x}'"),
        ("service: security", f"LogonType: {number}"),
        ("service: security", f"IpAddress|cidr: 10.0.{number}.0/24"),
        ("service: sysmon", f"TargetImage|contains: '\\p{number}.exe'"),
        ("category: network_connection", f"User|endswith: '\\u{number % 40}'"),
        ("service: system", f"Details|startswith: 'value {number}'"),
        ("category: file_event", f"Image|contains|windash: 'tool-{number}'"),
    ]
    source, what = kinds[number % len(kinds)]
    return (
        f"title: rule {number}\nlevel: low\nlogsource: {{product: windows, {source}}}\n"
        f"detection:\n  s: {{{what}}}\n  f: {{User|contains: nobody{number}}}\n  condition: s and not f\n"
    )
