#!/usr/bin/env python3
"""Compares -event_json with the reader whose shape it has, the Python package "evtx".

Every record of that reader must be there, in its order, and be deeply equal: members, types and
values. What may differ is written down below with its reason, and counted; anything else fails the
comparison. Records that only the program reads are counted too.

usage: compare_event_json.py TARNLEX LOG...
       compare_event_json.py --self-test TARNLEX LOG...    a change of any one value is found
"""
import collections
import json
import subprocess
import sys

import evtx

from comparing import Differences

MISSING = "(missing)"


def our_events(tarnlex, log):
    command = [tarnlex, "-log", log, "-event_json", "-quiet"]
    run = subprocess.run(command, capture_output=True, check=True)
    return [json.loads(line) for line in run.stdout.decode("utf-8").split("\n") if line]


def no_repeats(pairs):
    """An object of the other reader, which may write a member twice: the name numbered, as here."""
    members = {}
    for name, value in pairs:
        free, number = name, 0
        while free in members:
            number += 1
            free = f"{name}_{number}"
        members[free] = value
    return members


def their_events(log):
    """The other reader's events, and how many records and chunks it gave up."""
    events, given_up = [], 0
    records = iter(evtx.PyEvtxParser(log, number_of_threads=1).records_json())
    while True:
        try:
            events.append(json.loads(next(records)["data"], object_pairs_hook=no_repeats))
        except StopIteration:
            return events, given_up
        except RuntimeError:
            given_up += 1


def key(event):
    """What an event is found by: identifier, number and time."""
    system = event.get("Event", {}).get("System") or {}
    return json.dumps([system.get(name) for name in ("EventID", "EventRecordID", "TimeCreated")])


def differences(ours, theirs, path=""):
    """Yields path, our value and theirs wherever two values differ."""
    if isinstance(ours, dict) and isinstance(theirs, dict):
        for name in list(theirs) + [n for n in ours if n not in theirs]:
            yield from differences(
                ours.get(name, MISSING), theirs.get(name, MISSING), f"{path}/{name}")
    elif isinstance(ours, list) and isinstance(theirs, list) and len(ours) == len(theirs):
        for number, (our, their) in enumerate(zip(ours, theirs)):
            yield from differences(our, their, f"{path}/{number}")
    elif type(ours) is not type(theirs) or ours != theirs:
        yield path, ours, theirs


def explain(path, ours, theirs):
    """The reason why a difference is none of the program's, or None."""
    return None


class Comparison:
    def __init__(self):
        self.unexplained = Differences()
        self.explained = collections.Counter()
        self.records = 0
        self.only_ours = 0
        self.given_up = 0

    def event(self, log, ours, theirs):
        self.records += 1
        for path, our, their in differences(ours, theirs):
            reason = explain(path, our, their)
            if reason:
                self.explained[reason] += 1
            else:
                self.unexplained.note(path, f"{log}: {our!r} instead of {their!r}")

    def log(self, log, ours, theirs, given_up):
        self.given_up += given_up
        at = 0
        places = collections.defaultdict(collections.deque)
        for place, event in enumerate(ours):
            places[key(event)].append(place)
        for event in theirs:
            found = places[key(event)]
            while found and found[0] < at:
                found.popleft()
            if not found:
                self.unexplained.note("record lost", f"{log}: {key(event)}")
                continue
            self.only_ours += found[0] - at
            at = found[0] + 1
            self.event(log, ours[found[0]], event)
        self.only_ours += len(ours) - at


def values_of(event, path=()):
    if isinstance(event, dict):
        for name, value in event.items():
            yield from values_of(value, path + (name,))
    elif isinstance(event, list):
        for number, value in enumerate(event):
            yield from values_of(value, path + (number,))
    else:
        yield path, event


def changed(event, path, value):
    """A copy with one value changed."""
    copy = json.loads(json.dumps(event))
    inner = copy
    for step in path[:-1]:
        inner = inner[step]
    inner[path[-1]] = value
    return copy


def self_test(tarnlex, logs):
    """Changes one value after another; each change must be found, and nothing else."""
    tried = 0
    for log in logs:
        for event in our_events(tarnlex, log)[:5]:
            for path, value in values_of(event):
                other = f"{value}x" if isinstance(value, str) else f"{value}"
                for wrong in (other, MISSING):
                    comparison = Comparison()
                    comparison.event(log, changed(event, path, wrong), event)
                    if sum(comparison.unexplained.counts.values()) != 1:
                        raise SystemExit(f"{log}: {path} can be changed without being found")
                    tried += 1
    if tried == 0:
        raise SystemExit("nothing to change")
    print(f"{tried} changed values found")


def main():
    arguments = sys.argv[1:]
    if arguments[:1] == ["--self-test"]:
        self_test(arguments[1], arguments[2:])
        return 0
    if len(arguments) < 2:
        print(__doc__, file=sys.stderr)
        return 2
    comparison = Comparison()
    for log in arguments[1:]:
        theirs, given_up = their_events(log)
        comparison.log(log, our_events(arguments[0], log), theirs, given_up)
    comparison.unexplained.show()
    for reason, count in comparison.explained.items():
        print(f"  {count:6} explained: {reason}")
    print(f"{comparison.records} records equal but for that; {comparison.only_ours} more of ours; "
          f"the other reader gave up {comparison.given_up} records or chunks")
    return 1 if comparison.unexplained.counts else 0


if __name__ == "__main__":
    sys.exit(main())
