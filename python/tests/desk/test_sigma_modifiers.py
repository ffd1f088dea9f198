"""What rules mean: each modifier finds what it shall and nothing beside."""

import base64
from collections.abc import Callable, Iterable, Mapping
from pathlib import Path

import duckdb
import pytest

from tarnlex.desk.case import open_case
from tarnlex.desk.sigma_rules import read_rules
from tarnlex.desk.sigma_run import Outcome, run_rules
from tarnlex.desk.sigma_sql import Converter

MakeCase = Callable[[Iterable[Mapping[str, object]]], Path]
SYSMON = "Microsoft-Windows-Sysmon/Operational"


@pytest.fixture
def ask(tmp_path: Path, fill: Callable[..., None]) -> Callable[..., Outcome]:
    """Runs a rule, given as its detection, over events of Security, given as their EventData."""

    def run(
        detection: str, *values: object, source: str = "service: security", channel: str = "Security"
    ) -> Outcome:
        events = [
            {"Channel": channel, "EventID": 1, "EventRecordID": number, "EventData": value}
            for number, value in enumerate(values)
        ]
        rule = tmp_path / "rule.yml"
        rule.write_text(
            f"title: a\nlogsource: {{product: windows, {source}}}\ndetection:\n{detection}\n",
            encoding="utf-8",
        )
        converter = Converter()
        rules = list(read_rules([rule], converter))
        with duckdb.connect() as connection:
            fill(connection, events, tmp_path)
            return run_rules(connection, rules, converter.columns)[0]

    return run


def hits(outcome: Outcome) -> set[int]:
    assert outcome.reason == ""
    return outcome.rows


def selection(text: str) -> str:
    return f"  selection:\n    {text}\n  condition: selection"


WORDS = ["Mimikatz", "mimikatz.exe", "MIMIKATZ", "kat", None, "*", "m*z"]

CASES = [
    # Texts are compared without regard to case, "*" and "?" stand for others unless there is a "\" before.
    ("Name: mimikatz", WORDS, {0, 2}),
    ("Name: mimi*", WORDS, {0, 1, 2}),
    ("Name: '*katz'", WORDS, {0, 2}),
    ("Name: 'm?mikatz'", WORDS, {0, 2}),
    (r"Name: '\*'", WORDS, {5}),
    (r"Name: 'm\*z'", WORDS, {6}),
    ("Name|startswith: MIMIKATZ.", WORDS, {1}),
    ("Name|endswith: .EXE", WORDS, {1}),
    ("Name|contains: IKA", WORDS, {0, 1, 2}),
    ("Name|contains|all: [mimi, exe]", WORDS, {1}),
    ("Name|cased: Mimikatz", WORDS, {0}),
    ("Name|contains|cased: KAT", WORDS, {2}),
    ("Name|startswith|cased: mimi", WORDS, {1}),
    ("Name|re: '^[Mm]imikatz$'", WORDS, {0}),
    ("Name|re|i: '^mimikatz$'", WORDS, {0, 2}),
    ("Name|exists: true", WORDS, {0, 1, 2, 3, 5, 6}),
    ("Name|exists: false", WORDS, {4}),
    ("Name: null", WORDS, {4}),
    ("Name|neq: kat", ["kat", "Kat", "x"], {2}),
    # What is something else in SQL is itself in a rule.
    ("Name: '100%'", ["100%", "1000", "100x"], {0}),
    ("Name|contains: 'a_b'", ["a_b", "axb"], {0}),
    (r"Name: 'C:\Windows\x'", ["c:\\windows\\x", "c:windowsx"], {0}),
    (r"Name|endswith: '\x'", ["c:\\x", "c:x"], {0}),
    ('Name: "it\'s"', ["it's", "its"], {0}),
    ("Name|contains|cased: '[a]?*'", ["[a]?*", "a", "[a]xx"], {0, 2}),
    ('Name: "\' OR 1=1 --"', ["x", "' or 1=1 --"], {1}),
    ("Name|re: \"' OR '1'='1\"", ["x", "' OR '1'='1"], {1}),
    ('"Na\\"me\') OR 1=1 --": x', ["x"], set()),
    # Lines and letters of other alphabets.
    ("Name|contains: 'ÄÖ'", ["x\näöü"], {0}),
    ("Name|re|s: 'a.b'", ["a\nb", "ab"], {0}),
    ("Name|re|m: '^b$'", ["a\nb", "ab"], {0}),
    # Numbers are numbers of JSON, texts, or hexadecimal with all their digits.
    ("Name: 3", [3, "3", 33, "0x00000003", "0x0000000000000003"], {0, 1, 3, 4}),
    ("Name: '3'", [3, "3", 33], {0, 1}),
    ("Name: '0x1410'", ["0x00001410", "0x0000000000001410", "0x1410", "0x00014100"], {0, 1, 2}),
    ("Name: '0x00001410'", ["0x00001410", "0x1410"], {0, 1}),
    ("Name: '0x0'", ["0x00000000", "0x00000001"], {0}),
    ("Name|gt: 5", [5, 6, "7", "x", None], {1, 2}),
    ("Name|gte: 5", [5, 4, "7"], {0, 2}),
    ("Name|lt: 5", [5, 4.5, "-1", "x"], {1, 2}),
    ("Name|lte: 5", [5, 6], {0}),
    ("Name: true", [True, "true", "True", False, "x"], {0, 1, 2}),
    ("Name: -1", [-1, "-1", 1], {0, 1}),
    # A GUID stands without braces in a case.
    (
        "Name: '{1131F6AA-9C07-11D1-F79F-00C04FC2DCD2}'",
        ["1131f6aa-9c07-11d1-f79f-00c04fc2dcd2", "1131f6aa-9c07-11d1-f79f-00c04fc2dcd3"],
        {0},
    ),
    # Addresses.
    ("Name|cidr: 10.1.0.0/16", ["10.1.2.3", "10.11.2.3", "x"], {0}),
    ("Name|cidr: 10.1.2.128/30", ["10.1.2.129", "10.1.2.132", "10.1.2.12"], {0}),
    ("Name|cidr: [10.0.0.0/8, '::1/128']", ["10.1.2.3", "::1", "11.1.1.1"], {0, 1}),
    # Encodings.
    ("Name|windash|contains: ' -enc '", ["x -ENC y", "x /enc y", "x \u2013enc y", "x enc y"], {0, 1, 2}),
    ("Name|base64: foo bar", [base64.b64encode(b"foo bar").decode(), "foo bar"], {0}),
    (
        "Name|base64offset|contains: http://x",
        [base64.b64encode(b"x" * number + b"http://x!").decode() for number in range(3)] + ["http://x"],
        {0, 1, 2},
    ),
    (
        "Name|wide|base64offset|contains: iex",
        [base64.b64encode(text.encode("utf-16-le")).decode() for text in ("iex b", "a iex b", "a exi")],
        {0, 1},
    ),
    # Several values of one name, each on a line.
    ("Name|contains: second", [["first", "second one"], ["first"]], {0}),
    (r"Name|contains: 'C:\x'", [["a", "C:\\x"]], {0}),
    ("Name: '[a'", ["[a", "a"], {0}),
]


@pytest.mark.parametrize(("detection", "values", "found"), CASES)
def test_a_modifier_finds_what_it_shall(
    ask: Callable[..., Outcome], detection: str, values: list[object], found: set[int]
) -> None:
    events = [{} if value is None else {"Name": value} for value in values]
    assert hits(ask(selection(detection), *events)) == found


@pytest.mark.parametrize(
    "name", ["a b", "a/b~c", "a.b", "$a", "*", "0", "a'b", 'a"b', "a\\b", "[0]", "#text", "é"]
)
def test_a_field_may_have_any_name(ask: Callable[..., Outcome], name: str) -> None:
    key = "'" + name.replace("'", "''") + "'"
    assert hits(ask(selection(f"{key}: x"), {name: "X"}, {name: "y"}, {}, {"ab": "x"})) == {0}


def test_a_field_is_compared_with_another(ask: Callable[..., Outcome]) -> None:
    events = [
        {"A": "x", "B": "X"},
        {"A": "x", "B": "y"},
        {"A": "x"},
        {"A": "x%", "B": "x%"},
        {"A": "%", "B": "a"},
    ]
    assert hits(ask(selection("A|fieldref: B"), *events)) == {0, 3}
    assert hits(ask(selection("B|fieldref|startswith: A"), *events)) == {0, 3}
    assert hits(ask(selection("B|fieldref|contains: A"), *events)) == {0, 3}


def test_words_without_a_field_are_found_in_any_value_but_in_no_name(ask: Callable[..., Outcome]) -> None:
    events = [{"A": "some Words"}, {"Words": "x"}, {"A": {"B": ["c", "words\\x"]}}, {}, {"A": 4711}]
    assert hits(ask("  keywords: [words]\n  condition: keywords", *events)) == {0, 2}
    assert hits(ask("  keywords: ['so*rds']\n  condition: keywords", *events)) == {0}
    assert hits(ask("  keywords: ['words\\x', 4711]\n  condition: keywords", *events)) == {2, 4}
    assert hits(ask("  keywords:\n    '|all': [some, words]\n  condition: keywords", *events)) == {0}
    assert hits(ask("  keywords:\n    '|re': 'W[o]rds'\n  condition: keywords", *events)) == {0}


def test_what_an_event_does_not_say_does_not_keep_a_negation_from_being_true(
    ask: Callable[..., Outcome],
) -> None:
    detection = "  a: {Name: x}\n  b: {Other: y}\n  condition: a and not b"
    assert hits(ask(detection, {"Name": "x"}, {"Name": "x", "Other": "y"}, {"Name": "x", "Other": "z"})) == {
        0,
        2,
    }
    detection = "  a: {Name: x}\n  b: {Other|re: y}\n  condition: a and not (b or not a)"
    assert hits(ask(detection, {"Name": "x"}, {"Name": "x", "Other": "y"})) == {0}


def test_conditions_count_selections(ask: Callable[..., Outcome]) -> None:
    detection = "  s_a: {A: 1}\n  s_b: {B: 1}\n  condition: "
    events = [{"A": 1}, {"B": 1}, {"A": 1, "B": 1}, {}]
    assert hits(ask(f"{detection}1 of s_*", *events)) == {0, 1, 2}
    assert hits(ask(f"{detection}all of s_*", *events)) == {2}
    assert hits(ask(f"{detection}all of them", *events)) == {2}
    assert hits(ask(f"{detection}not 1 of s_*", *events)) == {3}


def test_members_of_the_frame_are_fields(ask: Callable[..., Outcome]) -> None:
    assert hits(ask(selection("EventID: 1"), {}, {})) == {0, 1}
    assert hits(ask(selection("EventID|gte: 2"), {})) == set()
    assert hits(ask(selection("Channel: SECURITY"), {})) == {0}


def test_parts_of_a_time_are_compared(ask: Callable[..., Outcome]) -> None:
    events = [{"When": "2023-03-14 07:24:05"}, {"When": "2023-03-14T08:24:05.1234567Z"}, {"When": "x"}]
    assert hits(ask(selection("When|hour: 7"), *events)) == {0}
    assert hits(ask(selection("When|day: 14"), *events)) == {0, 1}


def test_user_data_is_searched_at_any_depth(tmp_path: Path, make_case: MakeCase) -> None:
    rule = tmp_path / "rule.yml"
    rule.write_text(
        "title: a\nlogsource: {product: windows, service: security}\n"
        "detection:\n  s: {SubjectUserName: admin}\n  condition: s\n"
    )
    events = [
        {
            "Channel": "Security",
            "EventID": 1102,
            "UserData": {"LogFileCleared": {"SubjectUserName": "Admin"}},
        },
        {
            "Channel": "Security",
            "EventID": 1102,
            "UserData": {"LogFileCleared": {"SubjectUserName": "other"}},
        },
        {"Channel": "System", "EventID": 104, "UserData": {"LogFileCleared": {"SubjectUserName": "Admin"}}},
    ]
    converter = Converter()
    with open_case(str(make_case(events)), write=True) as connection:
        assert run_rules(connection, list(read_rules([rule], converter)), converter.columns)[0].rows == {0}


def test_a_log_source_is_asked_for_in_the_logs_that_have_it(ask: Callable[..., Outcome]) -> None:
    whoami = selection(r"Image|endswith: '\whoami.exe'")
    process = {"source": "category: process_creation"}
    event = {"Image": "C:\\whoami.exe"}
    assert hits(ask(whoami, event, **process, channel=SYSMON)) == {0}
    assert hits(ask(whoami, event, **process, channel="System")) == set()
    # Windows' own audit has the name elsewhere, in an event of another number.
    outcome = ask(whoami, **process)
    assert {(tuple(one.channels), tuple(one.event_ids)) for one in outcome.rule.conditions} == {
        ((SYSMON.lower(),), (1,)),
        (("security",), (4688,)),
    }


@pytest.mark.parametrize(
    ("source", "reason"),
    [
        ("category: antivirus", "no Windows log is known for its log source: category antivirus"),
        ("service: nothing", "no Windows log is known for its log source: service nothing"),
    ],
)
def test_a_log_source_that_is_none_of_windows_is_a_reason(
    ask: Callable[..., Outcome], source: str, reason: str
) -> None:
    outcome = ask(selection("A: b"), {"A": "b"}, source=source)
    assert (outcome.name, outcome.reason) == ("failed", f"cannot be converted: {reason}")


def test_what_cannot_be_converted_or_run_is_a_reason(ask: Callable[..., Outcome]) -> None:
    assert "cannot be run: Invalid Input Error" in ask(selection("A|re: '(?=a)b'"), {"A": "b"}).reason
    assert "cannot be converted" in ask(selection("A|expand: '%list%'"), {"A": "b"}).reason
    assert "is not a Sigma rule" in ask(selection("A|nonsense: b"), {"A": "b"}).reason
    assert "cannot be converted" in ask("  s: {A: b}\n  condition: s and t", {"A": "b"}).reason


def test_a_wide_rule_is_converted(ask: Callable[..., Outcome]) -> None:
    names = ", ".join(f"name{number}" for number in range(3000))
    assert hits(ask(selection(f"A: [{names}]"), {"A": "name2999"}, {"A": "name3000"})) == {0}
