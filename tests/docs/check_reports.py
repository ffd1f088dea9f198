#!/usr/bin/env python3
"""Holds the tables of docs/reports.md to the built-in reports.

Usage: check_reports.py SOURCE_DIR [--write]

The tables stand between marks in the document; --write makes them anew from the program's own.
"""
import re
import sys

REPORTS = {"pw": "kPassword", "time": "kTime", "logon": "kLogon", "startstop": "kStartStop",
           "creds": "kCredentials", "usb": "kUsb"}
HEAD = "| log | event | name of the row | only if | columns |\n|---|---|---|---|---|\n"


def columns(pulls, all_data, seen, event):
    """The words for what a line takes; `seen` remembers lists that were spelled out before."""
    if all_data:
        return "all values"
    if not pulls:
        return "source name, computer name"
    if pulls in seen:
        return f"as {seen[pulls]}"
    seen[pulls] = event
    return ", ".join(f"{label.lower()} ({number})" if label else number
                     for number, _, label in (pull.partition("|") for pull in pulls.split(", ")))


def table(code, array):
    body = re.search(rf"constexpr BuiltinQuery {array}\[\] = {{\n(.*?)\n}};", code, re.S)[1]
    rows, seen = [], {}
    lines = [line for line in body.splitlines() if line.strip()]
    for line in lines:
        log, event, name, condition, taken, pulls = re.fullmatch(
            r'\s*{(kEvtx?), (\d+), "(.*?)", "(.*?)", (kAllData|kPulls), "(.*?)"},', line).groups()
        field, _, text = condition.partition("|")
        only_if = f"{field} holds {text}" if condition else ""
        rows.append(f"| {log[1:].upper()} | {event} | {name.strip()} | {only_if} | "
                    f"{columns(pulls, taken == 'kAllData', seen, event)} |\n")
    return HEAD + "".join(rows)


def main():
    source = sys.argv[1]
    with open(f"{source}/reports/builtin_reports.cpp", encoding="utf-8") as file:
        code = file.read()
    path = f"{source}/docs/reports.md"
    with open(path, encoding="utf-8") as file:
        text = file.read()
    arrays = set(re.findall(r"constexpr BuiltinQuery (\w+)\[\]", code))
    if arrays != set(REPORTS.values()):
        sys.exit(f"other reports than the document knows: {arrays ^ set(REPORTS.values())}")
    for report, array in REPORTS.items():
        mark = re.compile(rf"(<!-- table {report} -->\n).*?(<!-- end -->)", re.S)
        if len(mark.findall(text)) != 1:
            sys.exit(f"docs/reports.md has no marks for a table of -{report}")
        wanted = table(code, array)
        if "--write" in sys.argv:
            text = mark.sub(lambda found, rows=wanted: found[1] + rows + found[2], text)
        elif wanted not in text:
            sys.exit(f"the table of -{report} in docs/reports.md is not that of the program; "
                     "tests/docs/check_reports.py . --write makes it anew")
    if "--write" in sys.argv:
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)
    print(f"{len(REPORTS)} reports")


main()
