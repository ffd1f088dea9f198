#!/usr/bin/env python3
"""Counts with other readers what the reports of the library have to find in real logs.

Usage: count_library_events.py TARNLEX FOLDER_OF_LOGS [--check TABLE]

Writes a line for each line of a report that takes an event of a log: log, report, event, name of the line, how
many events it takes, the record of the first of them and the values of its columns, all behind a tab. The program
is asked for the lines of its reports and for nothing else: EVTX logs are read by the package "evtx" of PyPI, EVT
logs by evtexport. With --check the table is compared with a file, tests/reports/library_on_real_logs.txt, which
the tests hold the program to.
"""
import glob
import os
import re
import subprocess
import sys
import xml.etree.ElementTree

from evtx import PyEvtxParser

program, folder = sys.argv[1:3]


def reports():
    """Names of reports with their lines, each a list of (option, value)."""
    names = [line.split()[0] for line in run(program, "-report", "list").splitlines()]
    for name in names[6:]:  # the first six have options of their own, and tests of their own
        text = run(program, "-report", "show", name)
        yield name, [options(line[5:]) for line in text.splitlines() if line.startswith("!cmd,")]


def run(*command):
    return subprocess.run(command, capture_output=True, check=True).stdout.decode("utf-8", "replace")


def options(line):
    pieces = [piece.strip() for piece in line.split(",")]
    found = []
    while pieces:
        option = pieces.pop(0)
        takes_none = option in ("-enum_evtxlog", "-enum_evtlog", "-all_data")
        found.append((option, "" if takes_none else pieces.pop(0)))
    return found


def value_of(line, option):
    return next((value for name, value in line if name == option), None)


def holds(event, test):
    """Any value of a name will do, as in the program with -complete."""
    field, _, text = test.partition("|")
    values = [value for name, value in event["values"].items()
              if re.sub(r"_\d\d$", "", name).lower() == field.lower() or name.lower() == field.lower()]
    return any(value and text.lower() in value.lower() for value in values)


def takes(line, event):
    provider, channel = value_of(line, "-provider"), value_of(line, "-channel")
    return (("-enum_evtxlog", "") in line) == event["evtx"] \
        and value_of(line, "-id") == event["id"] \
        and (provider is None or provider.lower() == event["provider"].lower()) \
        and (channel is None or channel.lower() == event["channel"].lower()) \
        and all(holds(event, value) for name, value in line if name == "-and") \
        and not any(holds(event, value) for name, value in line if name == "-not")


def columns(line, event):
    labels = dict(value.split("=", 1) for name, value in line if name == "-label")
    found = {}
    for field in (value for name, value in line if name == "-pull"):
        value = event["values"].get(field, "")
        if value and labels.get(field, field) not in found:
            found[labels.get(field, field)] = value
    return found


def local(tag):
    return tag.rsplit("}", 1)[-1]


def add(values, name, text):
    base, number = name, 1
    while name in values:
        number += 1
        name = f"{base}_{number:02}"
    values[name] = text or ""


def evtx_event(record):
    text = re.sub("[\x00-\x08\x0b\x0c\x0e-\x1f\ufffe\uffff]", "", record["data"])
    root = xml.etree.ElementTree.fromstring(text)
    system = {local(element.tag): element for element in root[0]}
    provider = system["Provider"].get("Name") or ""
    values = {"Provider Name": provider}
    for name in ("Level", "Channel", "Computer"):
        add(values, name, system[name].text if name in system else "")
    unnamed = []  # one value in tables, as it is one in the log
    for element in (element for part in root[1:] for element in part.iter() if len(element) == 0):
        if local(element.tag) == "Data" and element.get("Name") is None:
            unnamed.append(element.text or "")
        else:
            add(values, element.get("Name") if local(element.tag) == "Data" else local(element.tag), element.text)
    if unnamed:
        values["Data"] = ", ".join(unnamed)
    return {"evtx": True, "id": system["EventID"].text.strip(), "provider": provider, "values": values,
            "channel": values["Channel"], "record": record["event_record_id"]}


def evtx_events(path):
    records = iter(PyEvtxParser(path).records())
    while True:
        try:
            yield evtx_event(next(records))
        except StopIteration:
            return
        except (RuntimeError, KeyError, IndexError, xml.etree.ElementTree.ParseError):
            continue  # a record that this reader does not read, or that has no identifier


def evt_events(path):
    for block in run("evtexport", path).split("\n\n"):
        fields = dict(re.findall(r"^(.*?)\t+: (.*)$", block, re.M))
        if "Event identifier" not in fields:
            continue
        strings = re.findall(r"^String: (\d+)\t+: (.*(?:\n(?!String: ).*)*)", block, re.M)
        values = {number: text for number, text in strings}
        values["string"] = "".join(text for _, text in strings)
        values["source_name"] = fields["Source name"]
        number = int(fields["Event identifier"].split()[0], 16) & 0xFFFF
        yield {"evtx": False, "id": str(number), "provider": fields["Source name"], "channel": "",
               "values": values, "record": int(fields["Event number"])}


def comparable(value):
    """What both readers write alike: one line, without what only their forms differ in."""
    value = re.sub(r"^(\d{4})-(\d\d)-(\d\d)[T ](\d\d:\d\d:\d\d\.\d{6})(Z| UTC)$", r"\2/\3/\1 \4", value)
    plain = len(value) <= 100 and re.fullmatch(r"[\x20-\x7e]+", value) and value == value.strip()
    return value if plain else None


def main():
    library = list(reports())
    rows = []
    paths = glob.glob(f"{folder}/**/*.evtx", recursive=True) + glob.glob(f"{folder}/**/*.Evt", recursive=True)
    for path in sorted(paths):
        events = list(evtx_events(path) if path.endswith("evtx") else evt_events(path))
        for name, lines in library:
            found = {}
            for event in events:
                line = next((line for line in lines if takes(line, event)), None)
                if line:
                    found.setdefault((event["id"], value_of(line, "-name")), []).append((line, event))
            for (number, title), taken in sorted(found.items(), key=lambda item: (int(item[0][0]), item[0][1])):
                line, first = taken[0]
                cells = [f"{header}={comparable(value)}" for header, value in columns(line, first).items()
                         if comparable(value)]
                rows.append("\t".join([os.path.relpath(path, folder), name, number, title, str(len(taken)),
                                       str(first["record"]), *cells]) + "\n")
    table = "".join(rows)
    if "--check" not in sys.argv:
        sys.stdout.write(table)
        return
    with open(sys.argv[-1], encoding="utf-8") as file:
        if file.read() != table:
            sys.exit(f"{sys.argv[-1]} is not what other readers find; without --check this makes it anew")
    print(f"{len(rows)} lines of reports over {len(paths)} logs")


main()
