#!/usr/bin/env python3
"""Holds docs/report-library.md to the library of reports.

Usage: check_report_library.py SOURCE_DIR [--write]

The page is made of the texts in reports/library, as they are built into the program, and of what their lines are
tested on: tests/reports/library_on_real_logs.txt names those that real logs have. --write makes it anew.
"""
import re
import sys

source = sys.argv[1]

HEAD = """# The report library

Reports that answer everyday questions, built into the program and written in its own
[language](report-language.md).

```text
tarnlex -report list                            a line for each: name, question, events, systems
tarnlex -report show rdp                        the lines of one, to copy into a command file and change
tarnlex -report rdp -log Security.evtx ...      runs it
tarnlex -report "rdp|services" -partition ...   runs several, one after the other
```

They go with every form, filter, `-stats` and `-hist`, and beside the [six reports](reports.md) that have options of
their own, which `-report` knows by the names of these options too. Each reads every log that it is given: its lines
ask for the provider of an event, not for the name of a file, so events that were forwarded or exported are found.

How to read the rows:

- An event is taken by the first line that fits, and written once in a report.
- Columns have the same names over events and generations. A column is empty where the event has no such value; in EVT
  rows "-" stands for a string that is not there.
- Beside those named, EVTX rows have "Provider Name" and "Computer", EVT rows "source name" and "computer name".
- EVTX rows show the level of an event where they have a column "Level", else "info".
- Codes such as %%1936 are texts of the system that wrote the log, which is not asked for them.
- With `-complete` a row gives everything that its line pulls; without it the [limits](limits.md) of tables hold.

What "tried on" says of a line: in how many real logs it was found to take what another reader finds there, or that it
was tried on an event built with the names that its maker documents.

"""


def read(path):
    with open(f"{source}/{path}", encoding="utf-8") as file:
        return file.read()


def names():
    listed = re.search(r"set\(TARNLEX_REPORTS\n(.*?)\)", read("reports/sources.cmake"), re.S)[1]
    return listed.split()


def real_logs():
    """For each (report, container, event, name of the line) the number of logs that it takes events of."""
    counts = {}
    for line in read("tests/reports/library_on_real_logs.txt").splitlines():
        log, report, event, name = line.split("\t")[:4]
        key = report, "EVT" if log.lower().endswith(".evt") else "EVTX", event, name
        counts[key] = counts.get(key, 0) + 1
    return counts


def head_of(text):
    """What the comments at the head say, by their keys, in order; the first is the title."""
    found = {}
    for line in text.splitlines():
        if line.startswith("//   "):
            found[key] += " " + line[5:]
        elif line.startswith("// "):
            key, _, found[key] = line[3:].partition(": ")
    return found


def options(line):
    pieces = [piece.strip() for piece in line.split(",")]
    found = []
    while pieces:
        option = pieces.pop(0)
        found.append((option, "" if option in ("-enum_evtxlog", "-enum_evtlog", "-all_data") else pieces.pop(0)))
    return found


def condition(option, value):
    field, bar, text = value.partition("|")
    words = f"{field} holds {text}" if bar else f"{field} has a text"
    return words if option == "-and" else f"not: {words}"


def columns(line):
    labels = dict(value.split("=", 1) for name, value in line if name == "-label")
    shown = [f"{labels[value]} ({value})" if value in labels else value
             for name, value in line if name == "-pull" and value != "Computer"]
    return "all strings" if ("-all_data", "") in line else ", ".join(shown)


def row(report, line, counts):
    found = dict(reversed(line))
    container = "EVTX" if "-enum_evtxlog" in found else "EVT"
    only_if = ", ".join(condition(name, value) for name, value in line if name in ("-and", "-not"))
    logs = counts.pop((report, container, found["-id"], found["-name"]), 0)
    tried = f"{logs} real log{'s' if logs > 1 else ''}" if logs else "a built event"
    cells = [container, found["-id"], found.get("-provider", ""), found["-name"], only_if, columns(line), tried]
    return "| " + " | ".join(cell.replace("|", "\\|").replace("*", "\\*") for cell in cells) + " |\n"


def escaped(text):
    return re.sub(r"([\\*_<>])", r"\\\1", text)


def page():
    counts = real_logs()
    index, sections = "", ""
    for name in names():
        text = read(f"reports/library/{name}.txt")
        head = head_of(text)
        lines = [options(line[5:]) for line in text.splitlines() if line.startswith("!cmd,")]
        index += f"- [{escaped(name)}](#{name}): {escaped(head['question'])}\n"
        sections += f"\n## {name}\n\n{escaped(head['question'])}\n\n"
        sections += f"- Why these events: {escaped(head['why'])}\n- Columns: {escaped(head['columns'])}\n"
        sections += f"- From which system on: {escaped(head['since'])}\n- Take care: {escaped(head['careful'])}\n"
        if "attack" in head:
            sections += f"- ATT&CK: {head['attack']}\n"
        sections += "\n| log | event | provider | name of the row | only if | columns | tried on |\n" \
                    "|---|---|---|---|---|---|---|\n"
        sections += "".join(row(name, line, counts) for line in lines)
    if counts:
        sys.exit(f"tried, but no line of the library: {sorted(counts)}")
    return HEAD + index + sections


def main():
    path = f"{source}/docs/report-library.md"
    wanted = page()
    if "--write" in sys.argv:
        with open(path, "w", encoding="utf-8") as file:
            file.write(wanted)
    elif read("docs/report-library.md") != wanted:
        sys.exit("docs/report-library.md is not that of reports/library; "
                 "tests/docs/check_report_library.py . --write makes it anew")
    print(f"{len(names())} reports")


main()
