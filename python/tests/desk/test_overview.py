"""The page of a case: its numbers are those of the case, and nothing of a log acts in it."""

import datetime
import itertools
import json
import re
from collections.abc import Callable, Iterable, Mapping
from pathlib import Path
from typing import Any

import duckdb
import pytest

from desk.browser import Page, opened
from tarnlex.desk.main import main
from tarnlex.desk.panels import PANELS, SIGMA_PANELS, TOTALS
from tarnlex.desk.pictures import shown

MakeCase = Callable[[Iterable[Mapping[str, object]]], Path]


def page_of(case: Path, folder: Path) -> str:
    assert main(["overview", str(case), str(folder / "page.html")]) == 0
    return (folder / "page.html").read_text(encoding="utf-8")


def figures_of(page: str) -> dict[str, Any]:
    found = re.search(r'<script type="application/json" id="figures">(.*?)</script>', page, re.DOTALL)
    assert found
    figures: dict[str, Any] = json.loads(found[1])
    return figures


def number(text: str) -> int:
    return int(text.replace(",", ""))


#: Of panels the numbers that their rows have to come to, asked for otherwise than the panel does.
SUMS = {
    "hosts": ("Events", "SELECT count(*) FROM events"),
    "logs": ("Events", "SELECT count(*) FROM events"),
    "hours": ("Events", "SELECT count(*) FROM events"),
    "logons": (
        "Logons",
        "SELECT count(*) FROM events WHERE Provider LIKE '%Security-Auditing' AND EventID = 4624 "
        "OR Provider = 'Security' AND EventID IN (528, 540)",
    ),
    "failed": (
        "Failed",
        "SELECT count(*) FROM events WHERE Provider LIKE '%Security-Auditing' AND EventID = 4625 "
        "OR Provider = 'Security' AND EventID IN (529, 530, 531, 532, 533, 534, 535, 536, 537, 539)",
    ),
}

#: Of panels that list events, how many there are.
COUNTS = {
    "services": "EventID IN (7045, 4697)",
    "tasks": "EventID IN (4698, 4702)",
    "cleared": "EventID IN (1102, 517) OR EventID = 104 AND Provider = 'Microsoft-Windows-Eventlog'",
    "crashes": "EventID IN (7031, 7034, 6008) OR EventID = 41 AND Channel = 'System'",
}


def check_numbers(case: Path, page: str) -> None:
    tables = Page(page).tables
    figures = figures_of(page)
    with duckdb.connect(str(case), read_only=True) as connection:
        for key, (column, query) in SUMS.items():
            wanted = connection.execute(query).fetchall()[0][0]
            rows = tables.get(key, [[column]])
            index = rows[0].index(column)
            # Tables have 500 rows, pictures all that there is room for.
            if len(rows) <= 500:
                assert sum(number(row[index]) for row in rows[1:]) == wanted, key
            if key == "hours":
                cells = figures[key]["data"][0]["customdata"]
                assert sum(cell or 0 for line in cells for cell in line) == wanted
        for key, where in COUNTS.items():
            wanted = connection.execute(f"SELECT count(*) FROM events WHERE {where}").fetchall()[0][0]
            assert len(tables.get(key, [[]])) - 1 == min(wanted, 500), key
        for name, value in zip(*(_totals(connection)), strict=True):
            assert re.search(rf"<dt>{name}</dt><dd>{re.escape(value)}</dd>", page), name


def _totals(connection: duckdb.DuckDBPyConnection) -> tuple[list[str], list[str]]:
    hosts, logs, events = connection.execute(
        "SELECT len(list_distinct(list(Computer))), len(list_distinct(list(Log))), count(*) FROM events"
    ).fetchall()[0]
    return ["Hosts", "Logs", "Events"], [f"{one:,}" for one in (hosts, logs, events)]


def test_the_numbers_are_those_of_the_case(case: Path, tmp_path: Path) -> None:
    page = page_of(case, tmp_path)
    check_numbers(case, page)
    rows = Page(page).tables["failed"]
    # Two of the logs have the same twelve.
    assert rows[1][:4] == ["Administrator", "198.51.100.23", "MARLOW-WS04", "24"]
    assert {row[2] for row in Page(page).tables["cleared"][1:]} == {"Security"}


def test_the_numbers_are_those_of_a_case_of_real_logs(real_case: Path, tmp_path: Path) -> None:
    check_numbers(real_case, page_of(real_case, tmp_path))


def test_every_query_of_the_page_can_be_asked_again(
    case: Path, tmp_path: Path, capsys: pytest.CaptureFixture[str]
) -> None:
    page = Page(page_of(case, tmp_path))
    for panel in PANELS:
        capsys.readouterr()
        assert main(["sql", str(case), panel.query]) == 0
        header, *rows = capsys.readouterr().out.splitlines()
        if rows:
            assert page.tables[panel.key][0] == header.split(",")
    text = "".join(page.texts)
    for panel in PANELS:
        assert panel.query in text
    assert TOTALS


def test_the_page_is_drawn_and_fetches_nothing(case: Path, tmp_path: Path) -> None:
    page = page_of(case, tmp_path)
    drawn = opened(tmp_path / "page.html")
    for key, figure in figures_of(page).items():
        after = drawn.split(f'id="picture-{key}"', 1)[1].split("</section>", 1)[0]
        bars = sum(len(one["x"]) for one in figure["data"] if one["type"] == "bar")
        if key == "hours":
            assert 'class="hm"' in after
        else:
            assert after.count('<g class="point">') == bars, key
    for tag, attributes in Page(page).elements:
        assert tag not in ("link", "iframe", "object", "embed")
        assert not attributes.get("src"), tag
        assert attributes.get("href", "#").startswith("#")


def test_a_host_is_one_bar_where_events_follow_each_other_and_several_where_not(
    make_case: MakeCase, tmp_path: Path
) -> None:
    days = [1, 2, 3, 200, 201, 400]
    events = [
        {"Computer": "A", "EventID": 1, "TimeCreated": f"{_day(day)}T{hour:02}:00:00.0000000Z"}
        for day, hour in itertools.product(days, range(24))
    ]
    rows = Page(page_of(make_case(events), tmp_path)).tables["hosts"]
    assert [row[1:] for row in rows[1:]] == [
        ["2023-01-02 00:00:00", "2023-01-04 23:00:00", "72"],
        ["2023-07-20 00:00:00", "2023-07-21 23:00:00", "48"],
        ["2024-02-05 00:00:00", "2024-02-05 23:00:00", "24"],
    ]


def _day(number: int) -> str:
    return (datetime.date(2023, 1, 1) + datetime.timedelta(days=number)).isoformat()


def test_a_case_without_events_has_a_page(make_case: MakeCase, tmp_path: Path) -> None:
    page = page_of(make_case([]), tmp_path)
    assert page.count("None in this case.") == len(PANELS)
    assert "None in this case." in opened(tmp_path / "page.html")


def test_events_without_a_time_or_a_name_have_a_page(make_case: MakeCase, tmp_path: Path) -> None:
    page = page_of(make_case([{}, {"EventID": 1}, {"TimeCreated": "1601-01-01T00:00:00.0000000Z"}]), tmp_path)
    assert "<dt>Events</dt><dd>3</dd>" in page


RUN = "document.documentElement.dataset.ran = 1"
HOSTILE = [
    f"<script>{RUN}</script>",
    f"</script><script>{RUN}</script>",
    f"</td></tr></table><img src=x onerror='{RUN}'>",
    f'"><svg onload="{RUN}">',
    f"'-{RUN}-'",
    f"<a href='javascript:{RUN}'>here</a><b>bold</b>",
    f"&lt;script&gt;{RUN}&lt;/script&gt;",
    "<!--",
    "]]>",
    "{{ 7 * 7 }}{% raw %}",
    f"\u2028{RUN}\u2029",
    "%{customdata}%{x}",
    "$\\href{javascript:1}{x}$",
    f"</style><style>*{{background:url(x)}}</style><iframe srcdoc='<script>parent.{RUN}</script>'>",
    "\u202etxt.exe",
    "\x00\x08\x1b[31m",
]


def hostile_events() -> Iterable[dict[str, object]]:
    """Events of every panel, in each of whose texts stands what would act if it could."""
    kinds = [
        ("Security", "Microsoft-Windows-Security-Auditing", 4624),
        ("Security", "Microsoft-Windows-Security-Auditing", 4625),
        ("Security", "Microsoft-Windows-Security-Auditing", 4698),
        ("Security", "Microsoft-Windows-Security-Auditing", 4616),
        ("Security", "Microsoft-Windows-Eventlog", 1102),
        ("System", "Service Control Manager", 7045),
        ("System", "Service Control Manager", 7034),
        ("Microsoft-Windows-Windows Defender/Operational", "Microsoft-Windows-Windows Defender", 1116),
    ]
    names = [
        *("LogonType", "TargetUserName", "IpAddress", "ServiceName", "ImagePath", "StartType", "AccountName"),
        *("TaskName", "TaskContent", "SubjectUserName", "PreviousTime", "NewTime", "ProcessName", "param1"),
        *("Path", "Threat Name", "Severity Name", "Action Name", "Detection User"),
    ]
    for place, text in enumerate(HOSTILE):
        for number, (channel, provider, event_id) in enumerate(kinds):
            yield {
                "Log": f"/evidence/{text}/{number}.evtx",
                "Channel": channel,
                "Provider": provider,
                "Computer": f"{text} {number}",
                "EventID": event_id,
                "TimeCreated": f"2023-03-{place + 1:02}T{number:02}:00:00.0000000Z",
                "EventData": dict.fromkeys(names, text),
                "UserData": {"LogFileCleared": {"Channel": text, "SubjectUserName": text}},
            }


def test_nothing_of_a_log_acts_in_the_page(make_case: MakeCase, tmp_path: Path) -> None:
    case = make_case(hostile_events())
    rule = tmp_path / "rule.yml"
    title = json.dumps(HOSTILE[1])
    rule.write_text(
        f"title: {title}\nlevel: high\nlogsource: {{product: windows, service: security}}\n"
        "detection:\n  s: {EventID: 4625}\n  condition: s\n"
    )
    assert main(["sigma", str(case), str(rule)]) == 0
    text = page_of(case, tmp_path)
    clean = Page(text)
    for drawn in (text, opened(tmp_path / "page.html")):
        page = Page(drawn)
        assert "data-ran" not in page.named("html")[0]
        assert len(page.named("script")) == 3
        assert {"img", "iframe", "b", "form", "object"}.isdisjoint(tag for tag, _ in page.elements)
        assert all(one["href"].startswith("#") for one in page.named("a"))
        assert not any(name.startswith("on") for _, one in page.elements for name in one)
        assert page.tables.keys() == {panel.key for panel in (*PANELS, *SIGMA_PANELS)}
        assert page.tables == clean.tables
    # All is there to be read, as it stands in the log but for what would act on a reader's screen.
    accounts = {row[0] for row in clean.tables["failed"][1:]}
    assert set(HOSTILE[:10]) <= accounts
    assert {"\\u202etxt.exe", "\\x00\\x08\\x1b[31m"} <= accounts


def test_the_browser_would_have_run_what_the_page_keeps_from_running(tmp_path: Path) -> None:
    """Without which the test above would say nothing."""
    page = tmp_path / "control.html"
    page.write_text(f"<html><body>{HOSTILE[0]}</body></html>")
    assert "data-ran" in Page(opened(page)).named("html")[0]


def test_the_browser_runs_no_script_that_the_page_does_not_name(case: Path, tmp_path: Path) -> None:
    """Should a text be not escaped one day, its script is not run."""
    text = page_of(case, tmp_path)
    (tmp_path / "page.html").write_text(text.replace("</h1>", f"</h1>{HOSTILE[0]}{HOSTILE[2]}", 1))
    drawn = opened(tmp_path / "page.html")
    assert "data-ran" not in Page(drawn).named("html")[0]
    assert "dataset.ran" in drawn
    assert 'class="point"' in drawn


@pytest.mark.parametrize(
    ("text", "label"),
    [
        ("<b>x</b>", "&lt;b&gt;x&lt;/b&gt;"),
        ("a\n b", "a b"),
        ("x" * 60, f"{'x' * 24}…{'x' * 23}"),
        ("&", "&amp;"),
    ],
)
def test_labels_are_short_and_escaped(text: str, label: str) -> None:
    assert shown(text) == label


def test_a_click_on_a_heading_sorts_the_rows(case: Path, tmp_path: Path) -> None:
    text = page_of(case, tmp_path)
    # The page lets no other script run, not even that of this test.
    text = re.sub(r'<meta http-equiv="Content-Security-Policy"[^>]*>', "", text)
    clicks = "".join(
        f"document.querySelectorAll('#{key} th button')[{column}].click();" for key, column in CLICKS
    )
    (tmp_path / "page.html").write_text(text.replace("</body>", f"<script>{clicks}</script></body>"))
    before, after = Page(text).tables, Page(opened(tmp_path / "page.html")).tables
    hours = [int(row[2]) for row in after["hours"][1:]]
    assert hours == sorted((int(row[2]) for row in before["hours"][1:]), reverse=True)
    assert hours != [int(row[2]) for row in before["hours"][1:]]
    failed = [row[0] for row in after["failed"][1:]]
    assert failed == sorted((row[0] for row in before["failed"][1:]), key=str.lower)


#: A second click turns the order around.
CLICKS = [("hours", 2), ("hours", 2), ("failed", 0)]


def test_what_was_not_read_is_on_the_page(logs: Path, tmp_path: Path) -> None:
    with (logs / "Security.evtx").open("r+b") as log:
        log.seek(4096)
        log.write(bytes(65536))
    broken = tmp_path / "Broken.evtx"
    broken.write_text("This is no log.")
    case = tmp_path / "case.duckdb"
    assert main(["load", str(case), str(logs), str(broken)]) == 2
    rows = Page(page_of(case, tmp_path)).tables["unread"]
    assert str(broken) in [row[0] for row in rows[1:]]
