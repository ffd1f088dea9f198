"""Pictures of the page, each made of the rows of a panel's query by Plotly.

Plotly takes some tags in labels for its own (`<b>`, `<a href=...>`), so every text from a log is
escaped here before it becomes part of one. Colours of text and lines are the page's, which
follows what the reader prefers; those of marks are chosen for dark and light grounds alike.
"""

import datetime
import html
import json
import math
import os
from collections import Counter
from collections.abc import Callable, Sequence
from pathlib import Path
from typing import Any

import plotly.graph_objects as go

from tarnlex.desk.show import visible

Row = tuple[Any, ...]

#: A strip of more days than this has only those with events.
MOST_DAYS = 400

#: So few days are named each.
FEW_DAYS = 3

#: Days between whose columns there is room for a gap.
DAYS_APART = 200

#: Rows that a picture has room for; the table below it has the others.
ROOM = 60

_BLUE = "#3b82c4"
_COLOURS = ("#3b82c4", "#d9803a", "#4fa36b", "#c2556b", "#8a6fc0", "#9a8450", "#3fa3a8", "#b06fae", "#7f8c99")
_LEVELS = {
    "critical": "#b3364b",
    "high": "#d9643a",
    "medium": "#cfa035",
    "low": "#4fa36b",
    "informational": "#7f8c99",
}


def shown(text: object, width: int = 48) -> str:
    """A text from a log as part of a label: cut in its middle, and without anything Plotly acts on.

    >>> shown("<b>x")
    '&lt;b&gt;x'
    """
    whole = visible(" ".join(str(text).split()))
    if len(whole) > width:
        whole = f"{whole[: width // 2]}…{whole[-(width // 2 - 1) :]}"
    # Of names Plotly takes %{...} for a place to put something else into.
    return html.escape(whole).replace("%{", "%&#123;")


def spans(rows: Sequence[Row]) -> go.Figure:
    """Bars over time: rows of a name, first and last time, and number of events."""
    counts: Counter[str] = Counter()
    for name, _, _, events in rows:
        counts[name] += events
    kept = {name for name, _ in counts.most_common(ROOM)}
    chosen = [row for row in rows if row[0] in kept]
    names = sorted({row[0] for row in chosen}, key=str.lower)
    first = min(row[1] for row in chosen)
    last = max(row[2] for row in chosen)
    # What happened at one moment is a line that can still be seen.
    least = max((last - first).total_seconds() / 400, 1.0)
    bars = go.Bar(
        orientation="h",
        y=[names.index(row[0]) for row in chosen],
        base=[_time(row[1]) for row in chosen],
        x=[1000 * max((row[2] - row[1]).total_seconds(), least) for row in chosen],
        customdata=[[shown(row[0], 90), _time(row[1]), _time(row[2]), row[3]] for row in chosen],
        hovertemplate="%{customdata[0]}<br>%{customdata[1]} to %{customdata[2]}<br>"
        "%{customdata[3]:,} events<extra></extra>",
        marker={"color": _BLUE, "line": {"width": 0}},
    )
    figure = _figure([bars], 90 + 22 * len(names))
    figure.update_xaxes(type="date")
    _name_rows(figure, _without_common_folder(names))
    return figure


def strip(rows: Sequence[Row]) -> go.Figure:
    """A heat strip: rows of a day, an hour, and number of events."""
    days = sorted({row[0] for row in rows})
    sparse = (days[-1] - days[0]).days > MOST_DAYS
    if not sparse:
        days = [days[0] + datetime.timedelta(days=number) for number in range((days[-1] - days[0]).days + 1)]
    place = {day: number for number, day in enumerate(days)}
    cells: list[list[int | None]] = [[None] * len(days) for _ in range(24)]
    for day, hour, events in rows:
        cells[hour][place[day]] = events
    top = max(row[2] for row in rows)
    ticks = [10**power for power in range(int(math.log10(top)) + 1)]
    heat = go.Heatmap(
        x=[day.isoformat() for day in days],
        y=list(range(24)),
        z=[[None if cell is None else math.log10(cell) for cell in line] for line in cells],
        customdata=cells,
        hovertemplate="%{x} %{y}:00<br>%{customdata:,} events<extra></extra>",
        colorscale=[[0, "#9cc7ea"], [0.5, "#3b82c4"], [1, "#7a2f8f"]],
        zmin=0,
        zmax=max(math.log10(top), 1),
        xgap=0 if len(days) > DAYS_APART else 1,
        ygap=1,
        hoverongaps=False,
        colorbar={
            "thickness": 10,
            "outlinewidth": 0,
            "tickvals": [math.log10(tick) for tick in ticks],
            "ticktext": [f"{tick:,}" for tick in ticks],
        },
    )
    figure = _figure([heat], 340)
    # Cases of years have months without an event: only days that have some are shown then.
    figure.update_xaxes(type="category" if sparse or len(days) < FEW_DAYS else "date", nticks=8, tickangle=0)
    if sparse:
        figure.update_xaxes(title={"text": "days that have events, others left out", "font": {"size": 11}})
    figure.update_yaxes(
        tickvals=[0, 6, 12, 18, 23], ticktext=["00", "06", "12", "18", "23"], autorange="reversed"
    )
    return figure


def stacked(rows: Sequence[Row]) -> go.Figure:
    """Bars, one a name, stacked by computer: rows of a name, a computer, and a number."""
    sums: Counter[str] = Counter()
    totals: Counter[str] = Counter()
    for name, computer, number in rows:
        sums[name] += number
        totals[computer] += number
    names = [name for name, _ in sums.most_common(ROOM)]
    places = {name: place for place, name in enumerate(names)}
    computers = sorted(totals, key=lambda one: (-totals[one], str(one)))
    named = computers[: len(_COLOURS) - 1]
    groups = [*([one] for one in named), computers[len(named) :]]
    group_of = {computer: index for index, group in enumerate(groups) for computer in group}
    counts = [[0] * len(names) for _ in groups]
    for name, computer, number in rows:
        if name in places:
            counts[group_of[computer]][places[name]] += number
    traces = []
    for index, group in enumerate(groups):
        if group:
            label = shown(group[0]) if index < len(named) else f"{len(group)} other hosts"
            traces.append(_bars(counts[index], label, _COLOURS[index], [label] * len(names)))
    figure = _figure(traces, 110 + 30 * len(names), legend=len(traces) > 1)
    figure.update_layout(barmode="stack")
    _name_rows(figure, names)
    return figure


def failed(rows: Sequence[Row]) -> go.Figure:
    """Bars of the most failed logons: rows of account, address, computer and number first."""
    chosen = rows[:20]
    labels = [f"{row[0] or '-'} from {row[1] or '-'}" for row in chosen]
    bars = _bars([row[3] for row in chosen], "", "#c2556b", [shown(row[2] or "(none)") for row in chosen])
    figure = _figure([bars], 90 + 24 * len(chosen))
    _name_rows(figure, labels)
    return figure


def rules(rows: Sequence[Row]) -> go.Figure:
    """Bars of hits: rows of a rule, its level and the number of its hits first."""
    chosen = rows[:ROOM]
    colours = [_LEVELS.get(row[1], "#7f8c99") for row in chosen]
    bars = _bars([row[2] for row in chosen], "", colours, [shown(row[1] or "no level") for row in chosen])
    figure = _figure([bars], 90 + 24 * len(chosen))
    _name_rows(figure, [row[0] for row in chosen])
    return figure


PICTURES: dict[str, Callable[[Sequence[Row]], go.Figure]] = {
    "spans": spans,
    "strip": strip,
    "stacked": stacked,
    "failed": failed,
    "rules": rules,
}


def _bars(numbers: list[int], name: str, colour: str | list[str], notes: list[str]) -> go.Bar:
    return go.Bar(
        orientation="h",
        x=numbers,
        y=list(range(len(numbers))),
        name=name,
        marker={"color": colour, "line": {"width": 0}},
        customdata=notes,
        hovertemplate="%{x:,}<br>%{customdata}<extra></extra>",
    )


def _figure(traces: list[Any], height: int, legend: bool = False) -> go.Figure:
    figure = go.Figure(traces)
    figure.update_layout(
        template="none",
        height=height,
        margin={"l": 10, "r": 10, "t": 10, "b": 40},
        bargap=0.25,
        showlegend=legend,
        legend={"orientation": "h", "yanchor": "bottom", "y": 1.0, "x": 0},
        paper_bgcolor="rgba(0,0,0,0)",
        plot_bgcolor="rgba(0,0,0,0)",
    )
    figure.update_xaxes(automargin=True)
    figure.update_yaxes(automargin=True)
    most = max((max(trace.x) for trace in traces if trace.type == "bar" and trace.base is None), default=0)
    if 0 < most < 6:  # noqa: PLR2004 (no halves of events)
        figure.update_xaxes(dtick=1)
    return figure


def _name_rows(figure: go.Figure, names: Sequence[object]) -> None:
    """Rows are numbers to Plotly, so that no name is taken for a number or a date."""
    figure.update_yaxes(
        tickvals=list(range(len(names))),
        ticktext=[shown(name, 40) for name in names],
        range=[len(names) - 0.4, -0.6],
    )
    # What a phone has room for.
    figure.update_layout(meta={"short": [shown(Path(str(name)).name, 18) for name in names]})


def _without_common_folder(names: list[str]) -> list[str]:
    if len(names) < 2 or not all(os.sep in name for name in names):  # noqa: PLR2004
        return names
    common = os.path.commonpath(names)
    return [os.path.relpath(name, common) for name in names]


def _time(time: datetime.datetime) -> str:
    return time.isoformat(sep=" ", timespec="seconds")


def as_json(figure: go.Figure) -> Any:  # noqa: ANN401
    """A figure as what JSON can hold, for the page."""
    return json.loads(figure.to_json())
